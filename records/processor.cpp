#include "recordengine.h"

#include <zel/zelmsg/processor.h>

namespace zelmsg {

ZELMSG_DEFINE_RECORD(Processor, ZELMSG_PROCESSOR_FIELDS)

// A processor without anything configured is still a valid configuration.
bool Processor::HasData() const { return true; }

} // namespace zelmsg
