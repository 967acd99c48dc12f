#include "orvan/text/Status.h"

#include <gtest/gtest.h>

namespace {

using orvan::initFailureText;
using orvan::statusName;

TEST( Status, EveryStatusHasItsName ) {
    const char *names[] = { "ok",        "not present", "fault", "invalid",
                            "transport", "unsupported", "failed" };
    for ( int status = 0; status <= 6; ++status ) {
        EXPECT_EQ( statusName( status ), names[ status ] );
    }
}

TEST( Status, ANumberOutsideTheEnumerationIsShown ) {
    EXPECT_EQ( statusName( 7 ), "status 7" );
    EXPECT_EQ( statusName( -1 ), "status -1" );
}

TEST( Status, AFailedInitialisationIsExplained ) {
    EXPECT_EQ( initFailureText( 4, "/run/s.sock" ), "no SMBus service at /run/s.sock" );
    EXPECT_EQ( initFailureText( 3, "" ), "the topology is not JSON" );
    EXPECT_EQ( initFailureText( 6, "" ), "the topology could not be built" );
    EXPECT_EQ( initFailureText( 2, "" ), "no reason known" );
}

} // namespace
