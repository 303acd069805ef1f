#include <zel/endpoints.h>

#include <gtest/gtest.h>

using zel::Endpoints;

TEST(Endpoints, ConstantsClientsAndWaitsRelyOn)
{
    EXPECT_EQ(zel::internalAddressPrefixDefault, "inproc://zel");
    EXPECT_EQ(zel::routerFrontendAddressDefault, "inproc://zel/__router__external__");
    EXPECT_EQ(zel::socketDefaultTimeout, 4000);
    EXPECT_EQ(zel::socketInfiniteTimeout, -1);
}

TEST(Endpoints, NamesWithTheSystemPrefix)
{
    std::string const& p = zel::internalAddressPrefixDefault;
    EXPECT_EQ(Endpoints::getInternalRouterEndpoint(p), "inproc://zel/__router__internal__");
    EXPECT_EQ(Endpoints::getGroupManagerEndpoint(p), "inproc://zel");
    EXPECT_EQ(Endpoints::getGroupEndpoint("g1", p), "inproc://zel/g1");
    EXPECT_EQ(Endpoints::getGroupBroadcastEndpoint("g1", p), "inproc://zel/g1/broadcast");
    EXPECT_EQ(Endpoints::getNameServiceEndpoint("g1", p), "inproc://zel/g1/nameservice");
    EXPECT_EQ(Endpoints::getInternalNameServiceEndpoint("g1", p), "inproc://zel/g1/__nameservice__internal__");
    EXPECT_EQ(Endpoints::getProcessorEndpoint("g1", "p1", p), "inproc://zel/g1/p1");
    EXPECT_EQ(Endpoints::getInprocStreamEndpoint("g1", "p1", "s1", p), "inproc://zel/g1/p1/s1");
}

TEST(Endpoints, PrefixComesLastAndIsTakenAsGiven)
{
    EXPECT_EQ(Endpoints::getGroupManagerEndpoint("tcp://x"), "tcp://x");
    EXPECT_EQ(Endpoints::getProcessorEndpoint("g", "p", "P"), "P/g/p");
    EXPECT_EQ(Endpoints::getInprocStreamEndpoint("g", "p", "s", ""), "/g/p/s");
}

TEST(Endpoints, NamesAreNeitherCheckedNorEscaped)
{
    std::string const& p = zel::internalAddressPrefixDefault;
    EXPECT_EQ(Endpoints::getGroupEndpoint("", p), "inproc://zel/");
    EXPECT_EQ(Endpoints::getNameServiceEndpoint("", p), "inproc://zel//nameservice");
    EXPECT_EQ(Endpoints::getProcessorEndpoint("", "p1", p), "inproc://zel//p1");
    // A processor named like the name service collides with it.
    EXPECT_EQ(Endpoints::getProcessorEndpoint("g1", "nameservice", p), Endpoints::getNameServiceEndpoint("g1", p));
    EXPECT_EQ(Endpoints::getGroupEndpoint("a/b", p), "inproc://zel/a/b");
}
