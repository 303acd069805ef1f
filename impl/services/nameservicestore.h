#pragma once

#include <QString>

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace zel {

// Who published a stream, and where.
struct NameServiceRecord
{
    QString processorName;
    std::vector<QString> addresses;
};

// Stream name to record, for one group. Names compare byte by byte. Failures are exceptions with
// the text "Error: 'NAME' REASON". Used on the name service's thread only.
template <class Map> class NameServiceStore
{
public:
    void registerStream(std::string const& name, NameServiceRecord const& record)
    {
        if (!entries.emplace(name, record).second)
            fail(name, "already exists");
    }

    void deregisterStream(std::string const& name)
    {
        if (entries.erase(name) == 0)
            fail(name, "does not exist");
    }

    NameServiceRecord resolveStream(std::string const& name) const
    {
        auto const it = entries.find(name);
        if (it == entries.end())
            fail(name, "does not exist");
        return it->second;
    }

private:
    [[noreturn]] static void fail(std::string const& name, char const* reason)
    {
        throw std::runtime_error("Error: '" + name + "' " + reason);
    }

    Map entries;
};

} // namespace zel
