#include "storeplugin.h"

#include <zel/processorbase.h>
#include <zel/processorinfo.h>

#include <QMap>

namespace testplugins {

namespace {

class Store : public zel::ProcessorBase
{
public:
    explicit Store(zel::ProcessorInfo const& info)
        : ProcessorBase(info.configuration, info.processorName, info.groupName, info.addressPrefix)
    {
        values.insert(QStringLiteral("origin"), QStringLiteral(STORE_PLUGIN_NAME));
    }

protected:
    bool connect(QString const&, QString const&, QVector<QString> const&) override { return false; }
    bool start(QString const&) override { return true; }
    bool stop(QString const&) override { return true; }
    bool startNewRecording(QString&) override { return false; }

    bool setParameter(QString const& name, QString const& value) override
    {
        values.insert(name, value);
        return true;
    }

    bool getParameter(QString const& name, QString& value) override
    {
        if (!values.contains(name))
            return false;
        value = values.value(name);
        return true;
    }

    bool getParameterList(QStringList& names) override
    {
        names = values.keys();
        return true;
    }

private:
    QMap<QString, QString> values;
};

} // namespace

QString StorePlugin::getName() const { return QStringLiteral(STORE_PLUGIN_NAME); }

QStringList StorePlugin::getProcessorTypes() const { return { QStringLiteral("Store") }; }

zel::ProcessorBase* StorePlugin::createProcessor(zel::ProcessorInfo const& info)
{
    QString const type = QString::fromStdString(info.processorType);
    if (type.mid(type.indexOf(QLatin1Char('.')) + 1) != QLatin1String("Store"))
        return nullptr;
    return new Store(info);
}

} // namespace testplugins
