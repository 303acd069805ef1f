#include "recordtesting.h"

#include <zel/configtool.h>
#include <zel/controlmessagehelper.h>

using namespace zeltest;
using zel::ConfigTool;
using zel::ControlMessageHelper;

namespace {

QString const in = QStringLiteral("in");
using Names = QVector<QString>;

Processor withStreams(std::initializer_list<char const*> names)
{
    Processor config;
    for (char const* name : names) {
        DataStream stream;
        stream.SetName(QString::fromUtf8(name));
        config.AppendDataStream(stream);
    }
    return config;
}

} // namespace

TEST(ConfigToolSources, OncePerAddressAndFiltersOnlyGrowUntilAnEmptyListClearsThem)
{
    Processor config;
    EXPECT_FALSE(ConfigTool::addDataFilter(config, in, Names({ "a" })));
    EXPECT_TRUE(ConfigTool::addDataSource(config, in));
    EXPECT_FALSE(ConfigTool::addDataSource(config, in));
    EXPECT_EQ(ConfigTool::getDataSource(config, QStringLiteral("IN")), nullptr);

    EXPECT_TRUE(ConfigTool::addDataFilter(config, in, Names({ "a", "a" })));
    EXPECT_FALSE(ConfigTool::addDataFilter(config, in, Names({ "a" })));
    EXPECT_TRUE(ConfigTool::addDataFilter(config, in, Names({ "b", "a" })));
    EXPECT_EQ(ConfigTool::getDataFilter(config, in), Names({ "a", "b" }));
    EXPECT_TRUE(ConfigTool::addDataFilter(config, in, {}));
    EXPECT_FALSE(ConfigTool::getDataSource(config, in)->IsFilterSet());
}

TEST(ConfigToolStreams, FindExactlyAndRun)
{
    Processor config = withStreams({ "beta", "alpha", "Zulu" });
    EXPECT_EQ(ConfigTool::getDataStream(config, QStringLiteral("alpha")), &config.GetDataStream().at(1));
    EXPECT_EQ(ConfigTool::getDataStream(config, QStringLiteral("ALPHA")), nullptr);

    EXPECT_TRUE(ConfigTool::setStreamRunning(config, QStringLiteral("alpha"), true));
    EXPECT_TRUE(config.GetDataStream().at(1).GetRunning());
    EXPECT_FALSE(ConfigTool::setStreamRunning(config, QStringLiteral("gamma"), true));
}

TEST(ConfigToolText, AddressListAndRootElement)
{
    EXPECT_EQ(ConfigTool::getAddressList(Names({ "a", "b" }), QStringLiteral(";")), QStringLiteral("a;b"));
    EXPECT_EQ(ConfigTool::getAddressList(Names({ "", "a", "", "b" }), QStringLiteral(";")), QStringLiteral("a;;b"));

    EXPECT_EQ(ConfigTool::getRootElement(QStringLiteral("<?xml version=\"1.0\"?><x:Processor xmlns:x=\"u\"/>")),
        QStringLiteral("Processor"));
    EXPECT_TRUE(ConfigTool::getRootElement(QStringLiteral("no element")).isNull());
}

TEST(ConfigToolResults, WriteResultTypeAndTheirTextOnly)
{
    ControlMessage message;
    message.SetMessageText(QStringLiteral("from request"));
    ConfigTool::setResultSuccess(message);
    EXPECT_EQ(message.GetResultType(), ControlMessage::Success);
    EXPECT_EQ(message.GetMessageText(), QStringLiteral("from request"));

    ConfigTool::setResultSuccess(message, QString());
    EXPECT_TRUE(message.IsParameterSet());
    EXPECT_FALSE(message.GetParameter().isNull());

    ConfigTool::setWarningMessage(message, QStringLiteral("careful"));
    EXPECT_EQ(message.GetResultType(), ControlMessage::Warning);
}

TEST(ControlMessageFactories, EmptyValuesAreSet)
{
    EXPECT_TRUE(ControlMessageHelper::makeQueryProcessorGroupsMessage().IsGroupNameSet());
    EXPECT_FALSE(ControlMessageHelper::makeSetParameterMessage("gain", "").GetParameter().isNull());
    EXPECT_TRUE(ControlMessageHelper::makeConnectStreamMessage("s", "a", std::string()).GetMessageFilter().isEmpty());
    std::vector<std::string> const utf8 { "plain", "Grüße" };
    EXPECT_EQ(ControlMessageHelper::fromQStringVector(ControlMessageHelper::toQStringVector(utf8)), utf8);
}
