#include "agent/HTTPRequest.h"

#include <gtest/gtest.h>

using namespace kelmo;

TEST(HTTPRequest, isLocalHostsOnlyLoopbackOnesAre)
{
    for (const char* host : {"127.0.0.1", "127.0.0.1:7799", "localhost", "LocalHost:1", "[::1]", "[::1]:65535"}) {
        HTTPRequest request;
        request.hosts = {host};
        EXPECT_TRUE(request.isLocal()) << host;
    }
    for (const char* host : {"", "evil.example", "localhost.evil.example", "127.0.0.1.evil.example",
             "evil.example:7799", "localhost:", "localhost:80x", "localhost:123456", "localhost@evil.example",
             "127.0.0.2", "[::2]", "::1", "0.0.0.0", "localhost evil.example", "localhost,evil.example"}) {
        HTTPRequest request;
        request.hosts = {host};
        EXPECT_FALSE(request.isLocal()) << host;
        request.hosts = {"localhost", host};
        EXPECT_FALSE(request.isLocal()) << "second: " << host;
    }
    EXPECT_TRUE(HTTPRequest().isLocal());
}

TEST(HTTPRequest, isLocalOriginsOnlyLoopbackOnesAre)
{
    for (const char* origin : {"http://localhost", "http://127.0.0.1:3000", "https://[::1]:8443", "HTTP://LOCALHOST"}) {
        HTTPRequest request;
        request.origins = {origin};
        EXPECT_TRUE(request.isLocal()) << origin;
    }
    for (const char* origin : {"", "null", "localhost", "http://evil.example", "http://localhost.evil.example",
             "http://localhost:80/", "http://user@localhost", "file://", "ftp://localhost", "http:///localhost",
             "http://localhost, http://evil.example"}) {
        HTTPRequest request;
        request.hosts = {"localhost"};
        request.origins = {"http://localhost", origin};
        EXPECT_FALSE(request.isLocal()) << origin;
    }
}
