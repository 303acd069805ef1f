#include <gtest/gtest.h>

#include <QCoreApplication>

// Every test program has an application object: plug-ins are found beside it, and Qt's
// networking wants one.
int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
