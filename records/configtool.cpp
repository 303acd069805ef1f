#include <zel/configtool.h>

#include <QXmlStreamReader>

#include <algorithm>
#include <utility>

namespace zel {

namespace {

template <class T, class Key> int indexOf(QVector<T> const& items, QString const& key, Key key_of)
{
    auto const found = std::find_if(items.cbegin(), items.cend(), [&](T const& item) { return key_of(item) == key; });
    return found == items.cend() ? -1 : static_cast<int>(found - items.cbegin());
}

int indexOfDataStream(zelmsg::Processor const& config, QString const& name)
{
    return indexOf(config.GetDataStream(), name, [](zelmsg::DataStream const& stream) { return stream.GetName(); });
}

} // namespace

ConfigTool::ConfigTool() = default;

ConfigTool::~ConfigTool() = default;

int ConfigTool::indexOfDataSource(zelmsg::Processor const& config, QString const& address)
{
    return indexOf(
        config.GetDataSource(), address, [](zelmsg::DataSource const& source) { return source.GetAddress(); });
}

bool ConfigTool::addDataSource(zelmsg::Processor& config, QString const& address)
{
    if (indexOfDataSource(config, address) >= 0)
        return false;
    zelmsg::DataSource source;
    source.SetAddress(address);
    config.AppendDataSource(source);
    return true;
}

bool ConfigTool::addDataFilter(zelmsg::Processor& config, QString const& address, QVector<QString> const& filters)
{
    int const index = indexOfDataSource(config, address);
    if (index < 0)
        return false;
    zelmsg::DataSource& source = config.GetDataSource()[index];
    if (filters.isEmpty()) {
        source.ResetFilter();
        return true;
    }
    bool appended = false;
    for (QString const& filter : filters) {
        if (std::as_const(source).GetFilter().contains(filter))
            continue;
        source.AppendFilter(filter);
        appended = true;
    }
    return appended;
}

QVector<QString> ConfigTool::getDataFilter(zelmsg::Processor& config, QString const& address)
{
    zelmsg::DataSource const* source = getDataSource(config, address);
    return source ? source->GetFilter() : QVector<QString>();
}

zelmsg::DataSource const* ConfigTool::getDataSource(zelmsg::Processor const& config, QString const& address)
{
    int const index = indexOfDataSource(config, address);
    return index < 0 ? nullptr : &config.GetDataSource().at(index);
}

zelmsg::DataStream const* ConfigTool::getDataStream(zelmsg::Processor const& config, QString const& name)
{
    int const index = indexOfDataStream(config, name);
    return index < 0 ? nullptr : &config.GetDataStream().at(index);
}

QStringList ConfigTool::getDataStreams(zelmsg::Processor const& config)
{
    QStringList names;
    for (zelmsg::DataStream const& stream : config.GetDataStream())
        names.append(stream.GetName());
    names.sort(Qt::CaseSensitive);
    return names;
}

bool ConfigTool::setStreamRunning(zelmsg::Processor& config, QString const& name, bool running)
{
    int const index = indexOfDataStream(config, name);
    if (index < 0)
        return false;
    config.GetDataStream()[index].SetRunning(running);
    return true;
}

QString ConfigTool::getAddressList(QVector<QString> const& addresses, QString const& separator)
{
    QString list;
    for (QString const& address : addresses) {
        if (!list.isEmpty())
            list += separator;
        list += address;
    }
    return list;
}

QString ConfigTool::getRootElement(QString const& xml)
{
    QXmlStreamReader reader(xml);
    return reader.readNextStartElement() ? reader.name().toString() : QString();
}

void ConfigTool::setResultSuccess(zelmsg::ControlMessage& message)
{
    message.SetResultType(zelmsg::ControlMessage::Success);
}

void ConfigTool::setResultSuccess(zelmsg::ControlMessage& message, QString const& value)
{
    message.SetResultType(zelmsg::ControlMessage::Success);
    message.SetParameter(RECORDMODEL::nonNullText(value));
}

void ConfigTool::setWarningMessage(zelmsg::ControlMessage& message, QString const& text)
{
    message.SetResultType(zelmsg::ControlMessage::Warning);
    message.SetMessageText(text);
}

void ConfigTool::setErrorMessage(zelmsg::ControlMessage& message, QString const& text)
{
    message.SetResultType(zelmsg::ControlMessage::Error);
    message.SetMessageText(text);
}

} // namespace zel
