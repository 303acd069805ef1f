#pragma once

#include <zel/endpoints.h>
#include <zel/zel_export.h>
#include <zel/zelmsg/controlmessage.h>
#include <zel/zelmsg/processor.h>

#include <QString>
#include <QStringList>

#include <memory>
#include <string>

namespace zel {

class QtBridge;

// The control calls a program makes most, through a router's frontend: an embedded Environment's
// (getRouterFrontendAddress) or a zelhost's. Each sends one request and waits for its reply; false
// when the reply is no Success or none comes, and lastError() says why. Belongs to the thread that
// made it, as its socket does.
class ZEL_EXPORT SystemControl
{
public:
    explicit SystemControl(std::string const& frontendAddress, int timeoutMs = socketDefaultTimeout);
    ~SystemControl();

    SystemControl(SystemControl const&) = delete;
    SystemControl& operator=(SystemControl const&) = delete;

    bool createGroup(QString const& group);
    bool deleteGroup(QString const& group);
    // `type` bare ("QtBridge") or behind its plug-in's name ("demo.Generator").
    bool createProcessor(QString const& group, QString const& processor, QString const& type,
        zelmsg::Processor const& configuration = {});
    // Connects the processor's input to `stream`; without `address` the stream is resolved at the
    // group's name service. No `filters` takes every message.
    bool connect(QString const& group, QString const& processor, QString const& stream, QString address = {},
        QStringList const& filters = {});
    bool setParameter(QString const& group, QString const& processor, QString const& name, QString const& value);

    // "Error: <the system's text>", or "no answer from ... within ... ms".
    QString const& lastError() const { return error; }

    // The QtBridge `processor` of `group` in this process, or null: connect to its si_message.
    static QtBridge* qtBridge(QString const& group, QString const& processor);

private:
    class Client;

    bool ask(std::string const& identity, zelmsg::ControlMessage& record);

    std::unique_ptr<Client> client;
    QString error;
};

} // namespace zel
