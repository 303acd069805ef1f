#include <zel/processorinfo.h>

namespace zel {

ProcessorInfo::ProcessorInfo(zelmsg::Processor configuration, std::string processorType, std::string processorName,
    std::string groupName, std::string addressPrefix)
    : configuration(std::move(configuration))
    , processorType(std::move(processorType))
    , processorName(std::move(processorName))
    , groupName(std::move(groupName))
    , addressPrefix(std::move(addressPrefix))
{ }

} // namespace zel
