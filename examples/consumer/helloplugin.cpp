// The smallest processor plug-in: "hello.Echo" publishes every message it receives on its own
// stream. Built outside ZEL's tree with zel_add_plugin(hello helloplugin.cpp).

#include <zel/plugin.h>
#include <zel/processorinfo.h>
#include <zel/streamprocessor.h>

namespace {

class Echo : public zel::StreamProcessor
{
public:
    using zel::StreamProcessor::StreamProcessor;

protected:
    void handleMessage(zel::ByteStreamMessage& message, zel::ZmqByteStreamInSocket*) override
    {
        if (runFlag)
            outputWrapper->sendMessage(message);
    }
};

} // namespace

class HelloPlugin : public zel::Plugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID ZEL_PLUGIN_IID)
    Q_INTERFACES(zel::Plugin)

public:
    QString getName() const override { return QStringLiteral("hello"); }
    QStringList getProcessorTypes() const override { return { QStringLiteral("Echo") }; }

    zel::ProcessorBase* createProcessor(zel::ProcessorInfo const& info) override
    {
        if (bareType(info.processorType) != QLatin1String("Echo"))
            return nullptr;
        return new Echo(info.configuration, info.processorName, info.groupName, info.addressPrefix);
    }
};

#include "helloplugin.moc"
