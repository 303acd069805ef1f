#include "mcapinfo.h"

#include "fileerror.h"
#include "reply.h"

#include <mcaperror.h>
#include <mcapreader.h>

#include <QDateTime>

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>

namespace {

QString utc(std::uint64_t nanoseconds)
{
    return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(nanoseconds / 1000000), Qt::UTC)
        .toString(Qt::ISODateWithMs);
}

QString text(std::string const& value) { return QString::fromStdString(value); }

QString joined(zelmcap::StringMap const& map)
{
    QStringList entries;
    for (auto const& [key, value] : map)
        entries << text(key) + QLatin1Char('=') + text(value);
    return entries.join(QStringLiteral(", "));
}

} // namespace

int mcapInfo(Invocation& call)
{
    QString const path = call.args[0];
    std::map<std::uint16_t, std::uint64_t> counts;
    std::uint64_t first = UINT64_MAX;
    std::uint64_t last = 0;
    try {
        zelmcap::McapReader reader(path.toStdString());
        reader.scan([&](zelmcap::Message const& message) {
            first = std::min(first, message.logTime);
            last = std::max(last, message.logTime);
            ++counts[message.channelId];
            return true;
        });
        std::set<std::string> compressions;
        for (zelmcap::ChunkIndex const& index : reader.chunkIndexes())
            compressions.insert(index.compression.empty() ? "none" : index.compression);
        QStringList compression;
        for (std::string const& name : compressions)
            compression << text(name);
        out(QStringLiteral("file      %1").arg(path));
        out(QStringLiteral("size      %1 bytes").arg(reader.size()));
        out(QStringLiteral("library   %1 (profile %2)").arg(text(reader.library()), text(reader.profile())));
        out(QStringLiteral("messages  %1 in %2 chunks (compression %3)")
                .arg(reader.messagesScanned())
                .arg(reader.chunkIndexes().size())
                .arg(compression.isEmpty() ? QStringLiteral("none") : compression.join(QLatin1Char(','))));
        if (reader.messagesScanned() > 0)
            out(QStringLiteral("span      %1 .. %2 (%3 s)")
                    .arg(utc(first), utc(last))
                    .arg(double(last - first) / 1e9, 0, 'f', 3));
        out(QStringLiteral("channels"));
        for (auto const& [id, channel] : reader.channels())
            out(QStringLiteral("  %1  %2  %3  %4 messages  %5")
                    .arg(id)
                    .arg(text(channel.topic), text(channel.messageEncoding))
                    .arg(counts[id])
                    .arg(joined(channel.metadata)));
        for (zelmcap::Metadata const& metadata : reader.metadata())
            out(QStringLiteral("metadata  %1: %2").arg(text(metadata.name), joined(metadata.values)));
    } catch (zelmcap::McapError const& e) {
        return fileError(path, e);
    }
    return ExitSuccess;
}
