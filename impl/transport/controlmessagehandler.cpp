#include <zel/controlmessagehandler.h>

namespace zel {

ControlMessageHandler::~ControlMessageHandler() = default;

} // namespace zel
