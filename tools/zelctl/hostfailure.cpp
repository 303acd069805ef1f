#include "hostfailure.h"

#include "identities.h"

#include <zel/controlmessagehelper.h>

std::optional<QString> hostKnownFailure(SystemClient& client, std::string const& processor)
{
    zelmsg::ControlMessage ask = zel::ControlMessageHelper::makeGetParameterMessage(processor);
    if (client.request(Identities::host(), ask) != Outcome::Success)
        return std::nullopt;
    return ask.GetParameter();
}
