#include <zel/endpoints.h>

#include <gtest/gtest.h>

using zel::Endpoints;

TEST(Endpoints, NamesAreJoinedUncheckedOntoTheGivenPrefix)
{
    std::string const p = zel::internalAddressPrefixDefault;
    std::pair<std::string, std::string> const cases[] = {
        { zel::routerFrontendAddressDefault, "inproc://zel/__router__external__" },
        { Endpoints::getInternalRouterEndpoint(p), "inproc://zel/__router__internal__" },
        { Endpoints::getGroupManagerEndpoint(p), "inproc://zel" },
        { Endpoints::getGroupBroadcastEndpoint("g1", p), "inproc://zel/g1/broadcast" },
        { Endpoints::getInternalNameServiceEndpoint("g1", p), "inproc://zel/g1/__nameservice__internal__" },
        { Endpoints::getInprocStreamEndpoint("g1", "p1", "s1", p), "inproc://zel/g1/p1/s1" },
        { Endpoints::getProcessorEndpoint("g", "p", "P"), "P/g/p" },
        { Endpoints::getNameServiceEndpoint("", p), "inproc://zel//nameservice" },
        { Endpoints::getGroupEndpoint("a/b", p), "inproc://zel/a/b" },
        // A processor named like the name service collides with it.
        { Endpoints::getProcessorEndpoint("g1", "nameservice", p), Endpoints::getNameServiceEndpoint("g1", p) },
    };
    for (auto const& [actual, expected] : cases)
        EXPECT_EQ(actual, expected);
    EXPECT_EQ(zel::socketDefaultTimeout, 4000);
    EXPECT_EQ(zel::socketInfiniteTimeout, -1);
}
