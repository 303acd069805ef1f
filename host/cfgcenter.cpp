#include <zel/host/cfgcenter.h>

#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QStringList>

namespace {

class IniCfg : public ICfg
{
public:
    explicit IniCfg(QString const& path)
        : m_settings(path, QSettings::IniFormat)
    { }

    QString GetValue(QString const& key, QString const& defaultValue, int) const override
    {
        QVariant const value = m_settings.value(key);
        if (!value.isValid())
            return defaultValue;
        // QSettings splits an unquoted value at commas; the setting is one text.
        if (value.type() == QVariant::StringList)
            return value.toStringList().join(QLatin1Char(','));
        return value.toString();
    }

    QStringList GetKeys() const override { return m_settings.allKeys(); }

private:
    QSettings m_settings;
};

} // namespace

ICfg::~ICfg() = default;

ICfg* CfgCenter::CreateCfg(QString name, ICfg::View, QString)
{
    QString const dir
        = qEnvironmentVariableIsSet("ZEL_CONFIG_DIR") ? qEnvironmentVariable("ZEL_CONFIG_DIR") : QDir::currentPath();
    QString const path = QDir(dir).filePath(name + QStringLiteral(".ini"));
    if (!QFileInfo(path).isFile())
        return nullptr;
    return new IniCfg(path);
}
