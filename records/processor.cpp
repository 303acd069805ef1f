#include "recorddefinition.h"

#include <zel/zelmsg/processor.h>

// The field table: name, tag in the binary form, and whether the field is always written.
#define ZELMSG_PROCESSOR_FIELDS(F, R)                                                                                  \
    F(R, String, ID, 0xC59FE1C0, Optional)                                                                             \
    F(R, String, ProcessorType, 0x4146CD0A, Optional)                                                                  \
    F(R, RecordList, DataSource, 0xEC119564, Optional)                                                                 \
    F(R, RecordList, DataStream, 0xCEFB96FD, Optional)

namespace zelmsg {

ZELMSG_DEFINE_RECORD(Processor, ZELMSG_PROCESSOR_FIELDS)

// A processor without anything configured is still a valid configuration.
bool Processor::HasData() const { return true; }

} // namespace zelmsg
