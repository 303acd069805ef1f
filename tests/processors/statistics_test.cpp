// The statistics every processor answers: how they are read, and that every other answer of the
// control protocol stays what it was.

#include "support/printers.h"

#include <zel/controlmessagehelper.h>
#include <zel/processorcontrolmessagehandler.h>
#include <zel/processorstatistics.h>

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

using zelmsg::ControlMessage;

// Answers like a processor with one parameter, "a", and one of every list.
class OneParameterProcessor : public zel::ProcessorControlInterface
{
public:
    bool connect(QString const&, QString const&, QVector<QString> const&) override { return true; }
    bool start(QString const&) override { return true; }
    bool stop(QString const& name) override { return name != QLatin1String("refused"); }
    bool setParameter(QString const& name, QString const&) override { return name == QLatin1String("a"); }
    bool getParameter(QString const& name, QString& value) override { return (value = "1", name == "a"); }
    bool getParameterList(QStringList& names) override { return (names << "a", true); }
    bool startNewRecording(QString&) override { return false; }
    bool querySources(QVector<zelmsg::DataSource>& sources) override { return (sources << zelmsg::DataSource(), true); }
    bool queryStreams(QVector<zelmsg::DataStream>& streams) override { return (streams << zelmsg::DataStream(), true); }
};

struct ReplySocket
{
    void sendMessage(zel::ControlMessage const& message) { reply = message; }
    zel::ControlMessage reply;
};

using Handler = zel::ProcessorControlMessageHandler<ReplySocket>;

QString replyTo(Handler& handler, ControlMessage const& request)
{
    zel::ControlMessage envelope { QByteArray("requester"), request.GetXmlString().toUtf8() };
    ReplySocket socket;
    handler.handleMessage(envelope, &socket);
    EXPECT_EQ(socket.reply.address, QByteArray("requester"));
    return QString::fromUtf8(socket.reply.payload);
}

ControlMessage request(int type, QString const& parameterName = QStringLiteral("a"))
{
    ControlMessage record;
    record.SetMessageType(static_cast<ControlMessage::MessageType>(type));
    record.SetStreamName(QStringLiteral("s"));
    record.SetParameterName(parameterName);
    record.SetParameter(QStringLiteral("v"));
    return record;
}

QJsonObject statisticsOf(zel::ProcessorStatistics const& statistics)
{
    return QJsonDocument::fromJson(statistics.toJson().toUtf8()).object();
}

TEST(ProcessorStatistics, LeaveEveryOtherAnswerAsItWas)
{
    OneParameterProcessor processor;
    zel::ProcessorStatistics statistics;
    Handler plain(&processor);
    Handler counting(&processor, &statistics);
    for (int type = ControlMessage::Created; type <= ControlMessage::DeleteGroup; ++type) {
        for (QString const& name : { QStringLiteral("a"), QStringLiteral("nosuch"), QStringLiteral("zel.other") })
            EXPECT_EQ(replyTo(counting, request(type, name)), replyTo(plain, request(type, name)))
                << "type " << type << ", parameter " << name.toStdString();
    }
    // Without statistics the reserved name is the processor's like any other.
    EXPECT_NE(replyTo(plain, request(ControlMessage::GetParameterMessage, zel::ProcessorStatistics::parameterName))
                  .indexOf(QStringLiteral("Cannot get parameter: zel.stats")),
        -1);
}

TEST(ProcessorStatistics, AnswerTheReservedNameWithTheirCounters)
{
    OneParameterProcessor processor;
    zel::ProcessorStatistics statistics;
    statistics.setType("demo.Relay");
    zel::StreamCounters input;
    zel::StreamCounters output;
    input.count({ QByteArray("t"), QByteArray(10, 'x') });
    input.count({ QByteArray("t"), QByteArray() });
    output.count({ QByteArray("out"), QByteArray(4, 'x') });
    statistics.addInput(input);
    statistics.addStream(QStringLiteral("relayed"), output);
    statistics.countWakeUp();
    statistics.countBatch(zel::ProcessorStatistics::now());
    Handler handler(&processor, &statistics);

    ControlMessage reply;
    ASSERT_TRUE(reply.SetXmlString(
        replyTo(handler, request(ControlMessage::GetParameterMessage, QStringLiteral("zel.stats"))), true));
    EXPECT_EQ(reply.GetResultType(), ControlMessage::Success);
    EXPECT_EQ(reply.GetParameterName(), QStringLiteral("zel.stats"));
    QJsonObject const json = QJsonDocument::fromJson(reply.GetParameter().toUtf8()).object();
    QJsonObject const in = json["inputs"].toArray().at(0).toObject();
    QJsonObject const out = json["streams"].toArray().at(0).toObject();
    EXPECT_EQ(json["type"].toString() + " " + json["state"].toString() + " " + out["name"].toString(),
        "demo.Relay running relayed");
    for (auto const& [value, expected] : { std::pair { in["messages"], 2 }, { in["bytes"], 12 }, { out["bytes"], 7 },
             { json["wakeUps"], 1 }, { json["batches"], 1 } })
        EXPECT_EQ(value.toDouble(), expected);
    EXPECT_GE(json["lastMessageAgoNs"].toDouble(), 0);

    statistics.clearStreams();
    EXPECT_TRUE(statisticsOf(statistics)["inputs"].toArray().isEmpty());
    EXPECT_TRUE(statisticsOf(statistics)["lastMessageAgoNs"].isDouble());
}

TEST(ProcessorStatistics, FollowWhatStartAndStopDid)
{
    OneParameterProcessor processor;
    zel::ProcessorStatistics statistics;
    Handler handler(&processor, &statistics);
    EXPECT_TRUE(statisticsOf(statistics)["lastMessageAgoNs"].isNull()); // nothing came yet
    replyTo(handler, request(ControlMessage::Stop));
    EXPECT_EQ(statisticsOf(statistics)["state"].toString(), "stopped");
    replyTo(handler, request(ControlMessage::Start));
    EXPECT_EQ(statisticsOf(statistics)["state"].toString(), "running");
    // A refused Stop changes nothing, and neither does a broadcast's parameter.
    ControlMessage refused = request(ControlMessage::Stop);
    refused.SetStreamName(QStringLiteral("refused"));
    replyTo(handler, refused);
    EXPECT_EQ(statisticsOf(statistics)["state"].toString(), "running");
}

} // namespace
