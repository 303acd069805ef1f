#include "fuzztargets.h"

#include <zel/configtool.h>
#include <zel/host/recordexceptions.h>
#include <zel/zelmsg/processor.h>

#include <algorithm>

namespace zelfuzz {

namespace {

using zel::ConfigTool;

// Writes the configuration, reads it back validated as a configuration file is, and compares.
void expectRoundTrip(zelmsg::Processor const& config)
{
    QString const written = config.GetXmlString();
    zelmsg::Processor again;
    expect(again.SetXmlString(written, true), "the configuration's own XML does not read back");
    expect(again.GetXmlString() == written, "configuration XML differs after a round trip");
}

// What the lookups find must be what the configuration holds.
void expectLookups(zelmsg::Processor& config)
{
    auto const& sources = config.GetDataSource();
    for (int i = 0; i < sources.size(); ++i) {
        QString const address = sources.at(i).GetAddress();
        expect(ConfigTool::indexOfDataSource(config, address) <= i, "a source is not found by its address");
        expect(!ConfigTool::addDataSource(config, address), "a source is added twice");
    }
    QStringList const names = ConfigTool::getDataStreams(config);
    expect(names.size() == config.GetDataStream().size(), "stream names lost");
    expect(std::is_sorted(names.cbegin(), names.cend()), "stream names not sorted");
    for (QString const& name : names) {
        zelmsg::DataStream const* stream = ConfigTool::getDataStream(config, name);
        expect(stream && stream->GetName() == name, "a stream is not found by its name");
        expect(ConfigTool::setStreamRunning(config, name, true), "a stream cannot be started");
    }
}

} // namespace

void processorConfig(std::uint8_t const* data, std::size_t size)
{
    zelmsg::Processor config;
    try {
        if (!config.SetXmlString(utf8(data, size), true))
            return;
    } catch (RECORDMODEL::RecordException const&) {
        return;
    }
    expectRoundTrip(config);
    expectLookups(config);

    // A new source with repeated filters keeps each filter once.
    QString const address = QStringLiteral("tcp://127.0.0.1:1");
    bool const known = ConfigTool::indexOfDataSource(config, address) >= 0;
    expect(ConfigTool::addDataSource(config, address) != known, "addDataSource answers against what it did");
    if (!known) {
        expect(ConfigTool::addDataFilter(config, address, { QStringLiteral("a"), QStringLiteral("a") }),
            "filters not added to a new source");
        expect(ConfigTool::getDataFilter(config, address) == QVector<QString> { QStringLiteral("a") },
            "repeated filters not kept once");
    }
    expectRoundTrip(config);
}

} // namespace zelfuzz
