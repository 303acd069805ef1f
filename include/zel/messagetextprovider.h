#pragma once

#include <zel/zel_export.h>

#include <string>

namespace zelmsg {
class ControlMessage;
}

namespace zel {

// Remembers the human-readable text of the last answer. Unguarded: it belongs to the thread of the
// client that derives from it.
class ZEL_EXPORT MessageTextProvider
{
public:
    std::string getLastMessageText() const;

protected:
    void setLastMessageText(std::string const& text);
    // Takes the reply's MessageText (or clears the text) and tells whether the reply is a Success.
    bool checkMessageResult(zelmsg::ControlMessage const& record);

private:
    std::string lastMessageText;
};

} // namespace zel
