#include "identities.h"

#include <zel/endpoints.h>

namespace {

std::string const& prefix() { return zel::internalAddressPrefixDefault; }

} // namespace

std::string Identities::manager() { return zel::Endpoints::getGroupManagerEndpoint(prefix()); }

std::string Identities::group(QString const& group)
{
    return zel::Endpoints::getGroupEndpoint(group.toStdString(), prefix());
}

std::string Identities::nameService(QString const& group)
{
    return zel::Endpoints::getNameServiceEndpoint(group.toStdString(), prefix());
}

std::string Identities::processor(QString const& group, QString const& processor)
{
    return zel::Endpoints::getProcessorEndpoint(group.toStdString(), processor.toStdString(), prefix());
}

std::string Identities::host() { return "zelhost"; }
