#include "OrvanGeneric/Status.h"

#include <gtest/gtest.h>

namespace {

TEST( Status, KeepsTheValue ) {
    EXPECT_EQ( Utils::hostStatus( 0 ), PL_STATUS_OK );
    EXPECT_EQ( Utils::hostStatus( 4 ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( Utils::hostStatus( 6 ), PL_STATUS_FAILED );
}

} // namespace
