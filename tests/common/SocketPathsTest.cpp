#include "common/SocketPaths.h"

#include <gtest/gtest.h>

namespace {

TEST( SocketPaths, TheControlSocketIsBesideTheClients ) {
    EXPECT_EQ( common::controlPathOf( "/run/x/smbusd.sock" ), "/run/x/smbusd.sock.control" );
    EXPECT_EQ( common::controlPathOf( common::defaultSocketPath ), "/run/smbusd.sock.control" );
    EXPECT_STREQ( common::socketVariable, "PL_SMBUS_SOCKET" );
}

} // namespace
