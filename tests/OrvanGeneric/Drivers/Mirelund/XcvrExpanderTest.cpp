#include "OrvanGeneric/Drivers/Mirelund/XcvrExpander.h"

#include <gtest/gtest.h>

#include "OrvanGeneric/Drivers/Mirelund/MirelundPCA9698.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedHam.h"

namespace {

using Log = std::vector<std::string>;

class XcvrExpanderTest : public testing::Test {
  protected:
    XcvrExpanderTest() { expander_.hamIs( &ham_ ); }

    FakeTime time_;
    ScriptedHam ham_;
    Drivers::MirelundPCA9698 expander_;
};

TEST_F( XcvrExpanderTest, PinWriteSavesAtOnce ) {
    ham_.bytes[ 10 ] = 0x80;
    EXPECT_EQ( expander_.writeRegisterBit( 2, 3, true ), PL_STATUS_OK );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "read8 0x0a", "execute", "prepare",
                                      "write8 0x0a 0x88", "execute" } ) );
    EXPECT_EQ( expander_.writeRegisterBit( 2, 7, false ), PL_STATUS_OK );
    EXPECT_EQ( ham_.bytes[ 10 ], 0x08 );
}

TEST_F( XcvrExpanderTest, PinReadGivesZeroOrOne ) {
    ham_.bytes[ 1 ] = 0x40;
    int value = -1;
    EXPECT_EQ( expander_.getRegisterBit( 1, 6, &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 1 );
    EXPECT_EQ( expander_.getRegisterBit( 1, 5, &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 0 );
}

TEST_F( XcvrExpanderTest, FailedPinReadLeavesTheOutput ) {
    ham_.statuses = { 4 };
    int value = -1;
    EXPECT_EQ( expander_.getRegisterBit( 1, 6, &value ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( value, -1 );
}

TEST_F( XcvrExpanderTest, ActiveLowNegatesOnSuccessOnly ) {
    int value = 0;
    EXPECT_EQ( expander_.activeLow( PL_STATUS_OK, &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 1 );
    value = 5;
    EXPECT_EQ( expander_.activeLow( PL_STATUS_OK, &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 0 );
    value = 5;
    EXPECT_EQ( expander_.activeLow( PL_STATUS_FAILED, &value ), PL_STATUS_FAILED );
    EXPECT_EQ( value, 5 );
}

} // namespace
