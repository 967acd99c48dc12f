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
    // PMBus 1.2, part II, section 17: what a bit of STATUS_BYTE does not name sets its bit 0, too.
    const std::vector<std::pair<uint8_t, uint16_t>> summaries = {
        { STATUS_VOUT, 0x8001 },     { STATUS_IOUT, 0x4001 },        { STATUS_INPUT, 0x2001 },
        { STATUS_FANS_1_2, 0x0401 }, { STATUS_TEMPERATURE, 0x0004 }, { STATUS_CML, 0x0002 },
    };
    for ( const auto &[ command, bit ] : summaries ) {
        PmbusStatus status;
        status.add( command, 0x01 );
        EXPECT_EQ( status.word( false, true ), bit ) << unsigned{ command };
    }
}

TEST( PmbusStatus, SomeFaultsHaveABitOfTheirOwnInTheLowByteToo ) {
    PmbusStatus status;
    status.add( STATUS_VOUT, PmbusStatus::voutOverVoltage );
    EXPECT_EQ( status.word( false, true ), 0x8020 );
    status.clear();
    status.add( STATUS_IOUT, PmbusStatus::ioutOverCurrent );
    EXPECT_EQ( status.word( false, true ), 0x4010 );
    status.clear();
    status.add( STATUS_INPUT, PmbusStatus::vinUnderVoltage );
    EXPECT_EQ( status.word( false, true ), 0x2008 );
    // Beside the one that is named, one that is not.
    status.add( STATUS_INPUT, PmbusStatus::offForInsufficientInput );
    EXPECT_EQ( status.word( false, true ), 0x2009 );
}

TEST( PmbusStatus, SomeBitsOfARegisterAreCleared ) {
    PmbusStatus status;
    status.add( STATUS_INPUT, 0x18 );
    status.add( STATUS_VOUT, 0x18 );
    status.clear( STATUS_INPUT, 0x90 );
    EXPECT_EQ( status.faults( STATUS_INPUT ), 0x08 );
    EXPECT_EQ( status.faults( STATUS_VOUT ), 0x18 );
    status.clear( STATUS_CML, 0xFF );
    EXPECT_EQ( status.faults( STATUS_CML ), 0 );
}

TEST( PmbusStatus, OffAndPowerGoodAreOfTheMoment ) {
    const PmbusStatus status;
    EXPECT_EQ( status.word( false, true ), 0 );
    EXPECT_EQ( status.word( true, true ), 0x0040 );
    EXPECT_EQ( status.word( false, false ), 0x0800 );
    EXPECT_EQ( status.word( true, false ), 0x0840 );
}

} // namespace
