#include <zel/qtbridge.h>

#include <zel/qtrepository.h>

namespace zel {

QtBridge::QtBridge(zelmsg::Processor const& configuration, std::string const& processorName,
    std::string const& groupName, std::string const& addressPrefix)
    : QObject(nullptr)
    , ProcessorBase(configuration, processorName, groupName, addressPrefix)
{ }

QtBridge::~QtBridge() { input.release(); }

QString QtBridge::getProcessorType() { return QStringLiteral("QtBridge"); }

QString QtBridge::getIdForQTRepository() const { return QString::fromStdString(getEndpointString()); }

bool QtBridge::initialize()
{
    if (!ProcessorBase::initialize())
        return false;
    input.create(this, reader);
    QtRepository::setQObject(getIdForQTRepository(), this);
    return true;
}

void QtBridge::release()
{
    QtRepository::removeQObject(getIdForQTRepository());
    input.release();
    ProcessorBase::release();
}

void QtBridge::checkDataEvents() { input.serve(reader); }

void QtBridge::handleMessage(ByteStreamMessage& message, ZmqByteStreamInSocket*)
{
    emit si_message(message.type, message.data);
}

bool QtBridge::connect(QString const&, QString const& streamAddress, QVector<QString> const& filters)
{
    input.connect(configuration, streamAddress, filters);
    return true;
}

bool QtBridge::start(QString const& streamName)
{
    input.start(streamName);
    return true;
}

bool QtBridge::stop(QString const& streamName)
{
    input.stop(streamName);
    return true;
}

bool QtBridge::setParameter(QString const&, QString const&) { return false; }

bool QtBridge::getParameter(QString const&, QString&) { return false; }

bool QtBridge::getParameterList(QStringList&) { return false; }

bool QtBridge::startNewRecording(QString&) { return false; }

} // namespace zel
