#include <zel/messagetextprovider.h>

#include <zel/zelmsg/controlmessage.h>

namespace zel {

std::string MessageTextProvider::getLastMessageText() const { return lastMessageText; }

void MessageTextProvider::setLastMessageText(std::string const& text) { lastMessageText = text; }

bool MessageTextProvider::checkMessageResult(zelmsg::ControlMessage const& record)
{
    lastMessageText = record.IsMessageTextSet() ? record.GetMessageText().toStdString() : std::string();
    return record.GetResultType() == zelmsg::ControlMessage::Success;
}

} // namespace zel
