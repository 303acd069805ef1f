#pragma once

#include <zel/zel_export.h>
#include <zel/zelmsg/processor.h>

#include <string>

namespace zel {

// What a plug-in is told about the processor it is to make.
struct ZEL_EXPORT ProcessorInfo
{
    ProcessorInfo(zelmsg::Processor configuration, std::string processorType, std::string processorName,
        std::string groupName, std::string addressPrefix);

    zelmsg::Processor configuration; // from the Create message
    std::string processorType; // as written, bare or "plugin.Type"
    std::string processorName;
    std::string groupName;
    std::string addressPrefix;
};

} // namespace zel
