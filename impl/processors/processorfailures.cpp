#include <zel/processorfailures.h>

#include <atomic>
#include <deque>
#include <mutex>
#include <utility>

namespace zel {

namespace {

// Processor threads write while a host's service thread reads: the one lock of the record.
struct Store
{
    std::atomic<bool> enabled { false };
    std::mutex mutex;
    std::deque<std::pair<std::string, std::string>> entries; // oldest first
};

Store& store()
{
    static Store instance;
    return instance;
}

void erase(Store& s, std::string const& identity)
{
    for (auto it = s.entries.begin(); it != s.entries.end();) {
        if (it->first == identity)
            it = s.entries.erase(it);
        else
            ++it;
    }
}

} // namespace

void ProcessorFailures::enable() { store().enabled = true; }

void ProcessorFailures::record(std::string const& identity, std::string const& reason)
{
    Store& s = store();
    if (!s.enabled)
        return;
    std::lock_guard<std::mutex> lock(s.mutex);
    erase(s, identity);
    s.entries.emplace_back(identity, reason);
    if (s.entries.size() > static_cast<size_t>(capacity))
        s.entries.pop_front();
}

void ProcessorFailures::forget(std::string const& identity)
{
    Store& s = store();
    if (!s.enabled)
        return;
    std::lock_guard<std::mutex> lock(s.mutex);
    erase(s, identity);
}

std::optional<std::string> ProcessorFailures::reasonFor(std::string const& identity)
{
    Store& s = store();
    std::lock_guard<std::mutex> lock(s.mutex);
    for (auto const& entry : s.entries) {
        if (entry.first == identity)
            return entry.second;
    }
    return std::nullopt;
}

} // namespace zel
