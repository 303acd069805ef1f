#pragma once

#include "support/zelctlrun.h"
#include "support/zelhostprocess.h"

#include <gtest/gtest.h>

#include <memory>

namespace zeltest {

// A zelhost of its own for each test, and zelctl calls against it: what a command lists is what
// the test made.
class ZelctlTest : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(host->startReady()); }

    ZelctlResult run(QStringList const& arguments) { return runZelctl(arguments, host->address); }

    // Runs a command that has to succeed, silently on stderr.
    ZelctlResult ok(QStringList const& arguments)
    {
        ZelctlResult const r = run(arguments);
        EXPECT_EQ(r.exitCode, 0) << arguments.join(' ').toStdString() << ": " << r;
        EXPECT_EQ(r.err, "") << arguments.join(' ').toStdString();
        return r;
    }

    std::unique_ptr<ZelhostProcess> host = ZelhostProcess::listeningAt();
};

} // namespace zeltest
