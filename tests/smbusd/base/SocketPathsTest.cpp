#include "smbusd/base/SocketPaths.h"

#include <gtest/gtest.h>

namespace {

TEST( SocketPaths, TheControlSocketIsBesideTheClients ) {
    EXPECT_EQ( smbusd::controlPathOf( "/run/x/smbusd.sock" ), "/run/x/smbusd.sock.control" );
    EXPECT_EQ( smbusd::controlPathOf( smbusd::defaultSocketPath ), "/run/smbusd.sock.control" );
    EXPECT_STREQ( smbusd::socketVariable, "PL_SMBUS_SOCKET" );
}

} // namespace
