#pragma once

#include <zel/zelmsg/datasource.h>
#include <zel/zelmsg/datastream.h>
#include <zel/zelmsg/recordfields.h>

#define ZELMSG_PROCESSOR_FIELDS(F, R)                                                                                  \
    F(R, String, ID, 0xC59FE1C0, Optional)                                                                             \
    F(R, String, ProcessorType, 0x4146CD0A, Optional)                                                                  \
    F(R, RecordList, DataSource, 0xEC119564, Optional)                                                                 \
    F(R, RecordList, DataStream, 0xCEFB96FD, Optional)

namespace zelmsg {

// A processor's configuration: what it is, its inputs and its outputs.
class ZEL_EXPORT Processor : public RECORDMODEL::IRMObject
{
public:
    // GetId() is this constant; GetID() is the field.
    static constexpr qint64 id = 0x831E9FA2;

    ZELMSG_RECORD_MEMBERS(Processor)
    ZELMSG_PROCESSOR_FIELDS(ZELMSG_DECLARE_FIELD, Processor)
};

} // namespace zelmsg
