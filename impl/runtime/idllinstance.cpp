#include <zel/idllinstance.h>

namespace zel {

IDllInstance::IDllInstance(QString const& name)
    : instanceName(name)
{ }

IDllInstance::~IDllInstance() = default;

bool IDllInstance::Execute() { return true; }

void IDllInstance::Shutdown() { }

void IDllInstance::prepareShutdown() { }

} // namespace zel
