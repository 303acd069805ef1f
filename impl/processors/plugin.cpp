#include <zel/plugin.h>

namespace zel {

ProcessorBase* Plugin::createProcessor(ProcessorInfo const&) { return nullptr; }

} // namespace zel
