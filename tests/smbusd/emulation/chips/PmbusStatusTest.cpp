#include "smbusd/emulation/chips/PmbusStatus.h"

#include <gtest/gtest.h>

#include "smbusd/emulation/chips/PmbusCommands.h"

namespace {

using namespace smbusd::pmbus;
using smbusd::PmbusStatus;

TEST( PmbusStatus, FaultsAddUpUntilTheyAreCleared ) {
    PmbusStatus status;
    EXPECT_EQ( status.faults( STATUS_FANS_1_2 ), 0 );
    status.add( STATUS_FANS_1_2, 0x80 );
    status.add( STATUS_FANS_1_2, 0x40 );
    EXPECT_EQ( status.faults( STATUS_FANS_1_2 ), 0xC0 );
    status.set( STATUS_FANS_1_2, 0x01 );
    EXPECT_EQ( status.faults( STATUS_FANS_1_2 ), 0x01 );
    status.clear();
    EXPECT_EQ( status.faults( STATUS_FANS_1_2 ), 0 );
}

TEST( PmbusStatus, EveryRegisterHasItsSummaryInTheWord ) {
    // PMBus 1.2, part II, table 15: the bits of STATUS_WORD.
    const std::vector<std::pair<uint8_t, uint16_t>> summaries = {
        { STATUS_VOUT, 0x8000 },     { STATUS_IOUT, 0x4000 },        { STATUS_INPUT, 0x2000 },
        { STATUS_FANS_1_2, 0x0400 }, { STATUS_TEMPERATURE, 0x0004 }, { STATUS_CML, 0x0002 },
    };
    for ( const auto &[ command, bit ] : summaries ) {
        PmbusStatus status;
        status.add( command, 0x01 );
        EXPECT_EQ( status.word( false, true ), bit ) << unsigned{ command };
    }
}

TEST( PmbusStatus, SomeFaultsHaveABitOfTheirOwnInTheLowByteToo ) {
    PmbusStatus status;
    status.add( STATUS_IOUT, PmbusStatus::ioutOverCurrent );
    EXPECT_EQ( status.word( false, true ), 0x4010 );
    status.clear();
    status.add( STATUS_INPUT, PmbusStatus::vinUnderVoltage );
    EXPECT_EQ( status.word( false, true ), 0x2008 );
}

TEST( PmbusStatus, OffAndPowerGoodAreOfTheMoment ) {
    const PmbusStatus status;
    EXPECT_EQ( status.word( false, true ), 0 );
    EXPECT_EQ( status.word( true, true ), 0x0040 );
    EXPECT_EQ( status.word( false, false ), 0x0800 );
    EXPECT_EQ( status.word( true, false ), 0x0840 );
}

} // namespace
