#pragma once

#include <zel/controlmessage.h>
#include <zel/zel_export.h>
#include <zel/zelmsg/controlmessage.h>

namespace zel {

// The record in an envelope's payload, read with validation off. A payload that is not a record gives a record
// without data, whose message type is -1; exceptions of reading pass through.
ZEL_EXPORT zelmsg::ControlMessage decodeControlRecord(zel::ControlMessage const& envelope);

} // namespace zel
