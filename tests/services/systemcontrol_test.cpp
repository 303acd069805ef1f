#include "support/zelhostprocess.h"

#include <zel/environment.h>
#include <zel/qtbridge.h>
#include <zel/systemcontrol.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;
using testing::StartsWith;

// The helper embedders make their control calls with: Success is true, anything else false with a
// text that says why.
TEST(SystemControlTest, CallsSucceedOrSayWhy)
{
    zel::Environment environment;
    zel::SystemControl control(environment.getRouterFrontendAddress());
    ASSERT_TRUE(control.createGroup("g")) << control.lastError().toStdString();
    EXPECT_EQ(control.lastError(), QString());
    EXPECT_FALSE(control.createGroup("g"));
    EXPECT_EQ(control.lastError(), QStringLiteral("Error: A group with the name 'g' already exists."));

    ASSERT_TRUE(control.createProcessor("g", "bridge", "QtBridge")) << control.lastError().toStdString();
    EXPECT_NE(zel::SystemControl::qtBridge("g", "bridge"), nullptr);
    EXPECT_EQ(zel::SystemControl::qtBridge("g", "nosuch"), nullptr);
    EXPECT_FALSE(control.connect("g", "bridge", "unregistered")) << "nothing to resolve";
    EXPECT_THAT(control.lastError().toStdString(), StartsWith("Error: "));
    EXPECT_FALSE(control.setParameter("g", "bridge", "rate", "1"));
    EXPECT_THAT(control.lastError().toStdString(), HasSubstr("rate"));
    EXPECT_TRUE(control.deleteGroup("g"));
    EXPECT_EQ(zel::SystemControl::qtBridge("g", "bridge"), nullptr);

    zel::SystemControl nobody(zeltest::freeLoopbackAddress().toStdString(), 200);
    EXPECT_FALSE(nobody.createGroup("g"));
    EXPECT_THAT(nobody.lastError().toStdString(), StartsWith("Socket timeout 200ms: tcp://127.0.0.1:"));
}
