#include <zel/host/iabstractterminationtarget.h>

#include <algorithm>
#include <mutex>
#include <vector>

namespace {

struct Registry
{
    std::mutex mutex;
    std::vector<IAbstractTerminationTarget*> targets;
};

Registry& registry()
{
    static Registry instance;
    return instance;
}

} // namespace

IAbstractTerminationTarget::IAbstractTerminationTarget()
{
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.targets.push_back(this);
}

IAbstractTerminationTarget::~IAbstractTerminationTarget()
{
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.targets.erase(std::remove(r.targets.begin(), r.targets.end(), this), r.targets.end());
}

void IAbstractTerminationTarget::terminateAll()
{
    std::vector<IAbstractTerminationTarget*> targets;
    {
        Registry& r = registry();
        std::lock_guard<std::mutex> lock(r.mutex);
        targets = r.targets;
    }
    // Called without the lock: a target may block, e.g. until its sockets are closed.
    for (auto it = targets.rbegin(); it != targets.rend(); ++it)
        (*it)->aboutToTerminate();
}
