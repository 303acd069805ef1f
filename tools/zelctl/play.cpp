#include "play.h"

#include "fileerror.h"
#include "identities.h"
#include "interruption.h"
#include "player.h"
#include "reply.h"

#include <framepair.h>
#include <mcaperror.h>
#include <mcapreader.h>

#include <zel/controlmessagehelper.h>

#include <cmath>
#include <cstdio>

namespace {

struct PlayedStream
{
    std::uint16_t channel;
    std::string topic;
    std::string group;
    std::string stream;
};

bool parseOptions(Invocation& call, Player::Options& options)
{
    bool speedOk = true;
    options.speed = call.line.value(QStringLiteral("--speed"), QStringLiteral("1")).toDouble(&speedOk);
    bool waitOk = true;
    options.waitSubscriptions = call.line.value(QStringLiteral("--wait"), QStringLiteral("0")).toInt(&waitOk);
    options.loop = call.line.has(QStringLiteral("--loop"));
    if (!speedOk || options.speed < 0 || !std::isfinite(options.speed) || !waitOk || options.waitSubscriptions < 0) {
        err(QStringLiteral("--speed takes a factor (0: as fast as possible), --wait a number of subscriptions"));
        return false;
    }
    return true;
}

// Every message has to be a type and a data frame before any is published.
void checkMessages(zelmcap::McapReader& reader)
{
    std::string type;
    std::string data;
    reader.scan([&](zelmcap::Message const& message) {
        if (reader.channels().at(message.channelId).messageEncoding == zelmcap::FramePair::encoding
            && !zelmcap::FramePair::decode(message.data, message.size, type, data))
            throw zelmcap::McapError(message.offset, "a message that is not a type frame and a data frame");
        return true;
    });
}

std::string value(zelmcap::StringMap const& map, std::string const& key, std::string const& fallback)
{
    auto const found = map.find(key);
    return found == map.end() || found->second.empty() ? fallback : found->second;
}

// The recorded streams to play: all of ZEL's, or those --streams names (by stream or topic).
bool selectStreams(Invocation& call, zelmcap::McapReader const& reader, std::vector<PlayedStream>& played)
{
    QStringList const wanted = call.line.value(QStringLiteral("--streams")).split(QLatin1Char(','), Qt::SkipEmptyParts);
    QStringList unmatched = wanted;
    for (auto const& [id, channel] : reader.channels()) {
        std::string::size_type const slash = channel.topic.find('/');
        std::string const group = value(channel.metadata, "group", channel.topic.substr(0, slash));
        std::string const stream = value(
            channel.metadata, "stream", slash == std::string::npos ? channel.topic : channel.topic.substr(slash + 1));
        bool const named
            = wanted.contains(QString::fromStdString(stream)) || wanted.contains(QString::fromStdString(channel.topic));
        unmatched.removeAll(QString::fromStdString(stream));
        unmatched.removeAll(QString::fromStdString(channel.topic));
        if (call.line.has(QStringLiteral("--streams")) && !named)
            continue;
        if (channel.messageEncoding != zelmcap::FramePair::encoding) {
            if (named) {
                err(QStringLiteral("%1: channel %2 holds %3, not ZEL messages")
                        .arg(call.args[0], QString::fromStdString(channel.topic),
                            QString::fromStdString(channel.messageEncoding)));
                return false;
            }
            continue;
        }
        played.push_back({ id, channel.topic,
            call.line.value(QStringLiteral("--group"), QString::fromStdString(group)).toStdString(), stream });
    }
    if (!unmatched.isEmpty()) {
        err(QStringLiteral("%1 has no stream %2").arg(call.args[0], unmatched.join(QLatin1Char(','))));
        return false;
    }
    if (played.empty()) {
        err(QStringLiteral("%1 holds no ZEL stream to play").arg(call.args[0]));
        return false;
    }
    return true;
}

std::string nameService(PlayedStream const& stream)
{
    return Identities::nameService(QString::fromStdString(stream.group));
}

void deregister(Invocation& call, std::vector<PlayedStream> const& streams, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        zelmsg::ControlMessage message = zel::ControlMessageHelper::makeDeregisterStreamMessage(streams[i].stream);
        if (call.client.request(nameService(streams[i]), message) != Outcome::Success)
            err(QStringLiteral("could not deregister %1/%2")
                    .arg(QString::fromStdString(streams[i].group), QString::fromStdString(streams[i].stream)));
    }
}

// Registers every stream, or none: a failure takes back the ones before it.
int registerStreams(Invocation& call, std::vector<PlayedStream> const& streams, Player const& player)
{
    for (std::size_t i = 0; i < streams.size(); ++i) {
        zelmsg::ControlMessage message = zel::ControlMessageHelper::makeRegisterStreamMessage(
            streams[i].stream, "zelctl-play", player.endpoint(streams[i].channel));
        Outcome const outcome = call.client.request(nameService(streams[i]), message);
        if (outcome != Outcome::Success) {
            deregister(call, streams, i);
            return conclude(call, nameService(streams[i]), outcome, message, printNothing);
        }
        out(QStringLiteral("playing %1 as %2/%3 at %4")
                .arg(QString::fromStdString(streams[i].topic), QString::fromStdString(streams[i].group),
                    QString::fromStdString(streams[i].stream),
                    QString::fromStdString(player.endpoint(streams[i].channel))));
    }
    std::fflush(stdout); // someone waits for these lines
    return ExitSuccess;
}

} // namespace

int play(Invocation& call)
{
    Player::Options options;
    if (!parseOptions(call, options))
        return ExitUsage;
    std::string const bind
        = call.line.value(QStringLiteral("--bind"), QStringLiteral("tcp://127.0.0.1:*")).toStdString();
    std::unique_ptr<zelmcap::McapReader> reader;
    std::vector<PlayedStream> streams;
    try {
        reader = std::make_unique<zelmcap::McapReader>(call.args[0].toStdString());
        checkMessages(*reader);
    } catch (zelmcap::McapError const& e) {
        return fileError(call.args[0], e);
    }
    if (!selectStreams(call, *reader, streams))
        return ExitUsage;
    std::vector<std::uint16_t> channels;
    for (PlayedStream const& stream : streams)
        channels.push_back(stream.channel);
    std::unique_ptr<Player> player;
    try {
        player = std::make_unique<Player>(*reader, channels, bind, options);
    } catch (zmq::error_t const& e) {
        err(QStringLiteral("cannot bind %1: %2").arg(QString::fromStdString(bind), QString::fromUtf8(e.what())));
        return ExitUsage;
    }
    catchInterruption();
    if (int const registered = registerStreams(call, streams, *player); registered != ExitSuccess)
        return registered;
    bool finished = false;
    try {
        finished = player->run();
    } catch (zelmcap::McapError const& e) {
        deregister(call, streams, streams.size());
        return fileError(call.args[0], e);
    }
    deregister(call, streams, streams.size());
    out(QStringLiteral("played %1 messages%2")
            .arg(player->played())
            .arg(finished ? QString() : QStringLiteral(" (interrupted)")));
    return ExitSuccess;
}
