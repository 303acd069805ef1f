# cmake -P: install the build tree, configure, build and run the consumer and its plug-in against
# the install.
file(REMOVE_RECURSE ${WORK_DIR})
include(${CMAKE_CURRENT_LIST_DIR}/step.cmake)
step(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/prefix)
foreach(doc doc/zel/README.md doc/zel/protocol.md zel/examples/pipelines/demo.json zel/examples/pipelines/web.json
        zel/python/zelclient.py)
  if(NOT EXISTS ${WORK_DIR}/prefix/share/${doc})
    message(FATAL_ERROR "the prefix has no share/${doc}")
  endif()
endforeach()
step(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/build -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix)
step(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
step(${WORK_DIR}/build/zelconsumer)
step(${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${WORK_DIR}/prefix/lib/pkgconfig pkg-config --cflags --libs zel)
# The embedding example finds the demo plug-in in the prefix's plug-in folder.
step(${CMAKE_COMMAND} -S ${SOURCE_DIR}/../embedding -B ${WORK_DIR}/embedding -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix)
step(${CMAKE_COMMAND} --build ${WORK_DIR}/embedding)
step(${WORK_DIR}/embedding/zelembedding)
step(bash ${CMAKE_CURRENT_LIST_DIR}/hostplugin.sh ${WORK_DIR}/prefix ${WORK_DIR}/build)
