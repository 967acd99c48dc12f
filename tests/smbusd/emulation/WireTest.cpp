#include "smbusd/emulation/Wire.h"

#include <gtest/gtest.h>

#include "tests/support/ManualScheduler.h"

namespace {

/** The power of a board that nobody switches. */
class NoPower : public smbusd::PowerControl {
  public:
    void powerOff() override {}
    void powerCycle() override {}
};

/** Writes down what it sees; acknowledges and says what the test wants. */
class RecordingChip : public smbusd::Chip {
  public:
    using smbusd::Chip::Chip;

    bool start( bool read ) override {
        seen += read ? "R" : "W";
        return acknowledges;
    }
    bool write( uint8_t ) override {
        seen += "w";
        return acknowledges;
    }
    uint8_t read() override {
        seen += "r";
        return says;
    }
    void stop() override { seen += "P"; }
    void reset() override {}

    std::string seen;
    bool acknowledges = true;
    uint8_t says = 0xFF;
};

class Wire : public testing::Test {
  protected:
    smbusd::ChipContext context( const std::string &name, uint8_t address ) {
        return { name, "recording", address, scheduler, log, power };
    }

    Wire() {
        segment.add( a );
        segment.add( b );
        segment.add( other );
    }

    test::ManualScheduler scheduler;
    smbusd::Log log{ smbusd::LogLevel::Debug, []( smbusd::LogLevel, const std::string & ) {} };
    NoPower power;
    RecordingChip a{ context( "a", 0x20 ) };
    RecordingChip b{ context( "b", 0x20 ) };
    RecordingChip other{ context( "other", 0x21 ) };
    smbusd::Segment segment;
    smbusd::Wire wire{ segment };
};

TEST_F( Wire, OneChipThatPullsTheLineAcknowledges ) {
    a.acknowledges = false;
    EXPECT_TRUE( wire.start( 0x20, false ) );
    EXPECT_TRUE( wire.write( 0x55 ) );
    wire.stop();
    EXPECT_EQ( a.seen, "WP" ); // it did not acknowledge, so the byte is not for it; the STOP is
    EXPECT_EQ( b.seen, "WwP" );
    EXPECT_EQ( other.seen, "" );
    EXPECT_EQ( wire.trace().text(), "S 20 W A 55 A P" );
    EXPECT_EQ( wire.takeAcknowledges(), 2u );
    EXPECT_EQ( wire.takeAcknowledges(), 0u );
    EXPECT_EQ( a.counters.acknowledges, 0u );
    EXPECT_EQ( b.counters.acknowledges, 2u );
}

TEST_F( Wire, ChipsThatTalkTogetherAreHeardAsTheAndOfTheirBytes ) {
    a.says = 0xF0;
    b.says = 0x3C;
    EXPECT_TRUE( wire.start( 0x20, true ) );
    EXPECT_EQ( wire.read( false ), 0x30 );
    EXPECT_EQ( wire.read( true, 0x01 ), 0x31 );
    EXPECT_EQ( wire.trace().text(), "S 20 R A 30 A 31 N" );
}

TEST_F( Wire, WhereNobodyTalksTheLineIsHigh ) {
    EXPECT_FALSE( wire.start( 0x50, true ) );
    EXPECT_EQ( wire.read( true ), 0xFF );
    EXPECT_EQ( wire.trace().text(), "S 50 R N FF N" );
}

TEST_F( Wire, WhatIsUnheardReachesNoChip ) {
    EXPECT_FALSE( wire.startUnheard( 0x20, false ) );
    EXPECT_FALSE( wire.write( 0x01 ) );
    wire.stop();
    EXPECT_EQ( a.seen, "" );
    EXPECT_TRUE( wire.start( 0x20, false ) );
    EXPECT_FALSE( wire.writeUnheard( 0x02 ) );
    wire.stop();
    EXPECT_EQ( a.seen, "WP" );
    EXPECT_EQ( wire.trace().text(), "S 20 W N 01 N P S 20 W A 02 N P" );
}

TEST_F( Wire, ARepeatedStartToAnotherChipLeavesTheFirstWaitingForTheStop ) {
    EXPECT_TRUE( wire.start( 0x20, false ) );
    EXPECT_TRUE( wire.start( 0x21, true ) );
    EXPECT_TRUE( wire.start( 0x20, true ) );
    wire.stop();
    EXPECT_EQ( a.seen, "WRP" ); // told once
    EXPECT_EQ( other.seen, "RP" );
    EXPECT_EQ( wire.trace().text(), "S 20 W A Sr 21 R A Sr 20 R A P" );
    wire.trace().clear();
    wire.start( 0x21, false );
    EXPECT_EQ( wire.trace().text(), "S 21 W A" ); // after the STOP it is a START again
}

TEST_F( Wire, WithoutPowerNobodyAnswers ) {
    wire.setPowered( false );
    EXPECT_FALSE( wire.start( 0x20, false ) );
    wire.stop();
    wire.setPowered( true );
    EXPECT_EQ( a.seen, "" );
    EXPECT_TRUE( wire.start( 0x20, false ) );
}

TEST_F( Wire, ACountMayBeHeardTooSmallButNeverBelowZero ) {
    a.says = b.says = 5;
    wire.start( 0x20, true );
    EXPECT_EQ( wire.readCount( 0 ), 5 );
    EXPECT_EQ( wire.readCount( 2 ), 3 );
    EXPECT_EQ( wire.readCount( 6 ), 0 );
    EXPECT_EQ( wire.trace().text(), "S 20 R A 05 A 03 A 00 A" );
}

} // namespace
