#pragma once

#include <QString>

#include <string>

// The routing identities zelctl addresses, with the system's internal prefix.
class Identities
{
public:
    static std::string manager();
    static std::string group(QString const& group);
    static std::string nameService(QString const& group);
    static std::string processor(QString const& group, QString const& processor);
    // zelhost's own service, which knows why a processor ended by a failure.
    static std::string host();
};
