#include "smbusd/emulation/VirtualBus.h"

#include <gtest/gtest.h>

#include "tests/support/TestBoard.h"

namespace {

using namespace std::chrono_literals;
using test::bytes;
using test::TestBoard;
using test::testBus;
using test::TransactionBuilder;
using Kind = smbusd::Fault::Kind;

/** Two expanders of one address behind different channels, and a second mux behind the first. */
const char *const muxed = R"(
    { "name": "mux", "type": "pca9548", "address": "0x70", "channels": {
      "0": [ { "name": "left", "type": "registers", "address": "0x20",
               "registers": { "5": "0xF1" } } ],
      "2": [ { "name": "right", "type": "registers", "address": "0x20",
               "registers": { "5": "0x3F" } },
             { "name": "inner", "type": "pca9548", "address": "0x71", "channels": {
               "7": [ { "name": "deep", "type": "registers", "address": "0x21",
                        "registers": { "0": "0x77" } } ] } } ] } },
    { "name": "direct", "type": "registers", "address": "0x22" })";

constexpr test::Place mux = testBus.at( 0x70 );
constexpr test::Place inner = testBus.at( 0x71 );
constexpr test::Place twin = testBus.at( 0x20 );
constexpr test::Place deep = testBus.at( 0x21 );
constexpr test::Place direct = testBus.at( 0x22 );

class VirtualBus : public testing::Test {
  protected:
    TestBoard test{ TestBoard::withChips( muxed ) };
};

TEST_F( VirtualBus, ChipsBehindAClosedChannelDoNotAnswer ) {
    const auto response = test.run( TransactionBuilder().read( twin, 5, 1 ).retries( 0 ) );
    EXPECT_TRUE( response.failed() );
    EXPECT_EQ( test.wire.front(), "S 20 W N P" );
}

TEST_F( VirtualBus, OpenChannelLeadsToItsChipAlone ) {
    const auto left = test.run( TransactionBuilder().sendByte( mux, 0x01 ).read( twin, 5, 1 ) );
    EXPECT_EQ( left.responses( 1 ).data(), bytes( 0xF1 ) );
    const auto right = test.run( TransactionBuilder().sendByte( mux, 0x04 ).read( twin, 5, 1 ) );
    EXPECT_EQ( right.responses( 1 ).data(), bytes( 0x3F ) );
}

TEST_F( VirtualBus, TwinsBehindTwoOpenChannelsAnswerTogether ) {
    const auto both = test.run( TransactionBuilder()
                                    .sendByte( mux, 0x05 )
                                    .read( twin, 5, 1 )
                                    .write( twin, 6, bytes( 0xAA ) ) );
    EXPECT_EQ( both.responses( 1 ).data(), bytes( 0x31 ) ); // 0xF1 and 0x3F pull together
    EXPECT_EQ( test.number( "left", 6 ), 0xAAu );
    EXPECT_EQ( test.number( "right", 6 ), 0xAAu );
}

TEST_F( VirtualBus, CascadedMuxesOpenFromTheRootOn ) {
    const auto response = test.run( TransactionBuilder()
                                        .sendByte( mux, 0x04 )
                                        .sendByte( inner, 0x80 )
                                        .read( deep, 0, 1 )
                                        .sendByte( inner, 0 )
                                        .sendByte( mux, 0 ) );
    ASSERT_FALSE( response.failed() ) << response.reason();
    EXPECT_EQ( response.responses( 2 ).data(), bytes( 0x77 ) );
    EXPECT_EQ( test.wire, ( std::vector<std::string>{ "S 70 W A 04 A P", "S 71 W A 80 A P",
                                                      "S 21 W A 00 A Sr 21 R A 77 N P",
                                                      "S 71 W A 00 A P", "S 70 W A 00 A P" } ) );
}

TEST_F( VirtualBus, InnerMuxBehindAClosedChannelCannotBeReached ) {
    EXPECT_TRUE( test.run( TransactionBuilder().sendByte( inner, 0x80 ).retries( 0 ) ).failed() );
}

TEST_F( VirtualBus, UnpluggedChipsAndAllBehindThemAreGone ) {
    test.run( TransactionBuilder().sendByte( mux, 0x01 ) );
    test.chip( "mux" ).plug( false );
    EXPECT_TRUE( test.run( TransactionBuilder().read( twin, 5, 1 ).retries( 0 ) ).failed() );
    EXPECT_TRUE( test.run( TransactionBuilder().sendByte( mux, 1 ).retries( 0 ) ).failed() );
    test.chip( "mux" ).plug( true );
    // Plugged in again it starts with every channel closed.
    EXPECT_TRUE( test.run( TransactionBuilder().read( twin, 5, 1 ).retries( 0 ) ).failed() );
    EXPECT_FALSE( test.run( TransactionBuilder().sendByte( mux, 1 ).read( twin, 5, 1 ) ).failed() );
}

TEST_F( VirtualBus, CountsAtTheBusAndAtTheChips ) {
    test.run( TransactionBuilder().read( direct, 0, 1 ).write( direct, 1, bytes( 2 ) ) );
    const smbusd::Counters &chip = test.chip( "direct" ).counters;
    EXPECT_EQ( chip.transactions, 1u );
    EXPECT_EQ( chip.operations, 2u );
    EXPECT_EQ( chip.acknowledges, 6u ); // S W A 00 A, Sr R A; S W A 01 A 02 A
    EXPECT_EQ( chip.retries, 0u );
    EXPECT_EQ( chip.errors, 0u );
    const smbusd::Counters &bus = test.hardware.buses()[ 0 ]->counters;
    EXPECT_EQ( bus.transactions, 1u );
    EXPECT_EQ( bus.operations, 2u );
    EXPECT_EQ( bus.acknowledges, 6u );
    EXPECT_EQ( test.chip( "mux" ).counters.transactions, 0u );
}

TEST_F( VirtualBus, CountsErrorsAndRetries ) {
    test.inject( Kind::Nack, "direct" );
    test.run( TransactionBuilder().read( direct, 0, 1 ).retries( 2 ) );
    const smbusd::Counters &chip = test.chip( "direct" ).counters;
    EXPECT_EQ( chip.transactions, 1u );
    EXPECT_EQ( chip.operations, 3u );
    EXPECT_EQ( chip.retries, 2u );
    EXPECT_EQ( chip.errors, 3u );
    EXPECT_EQ( chip.faults, 3u );
    EXPECT_EQ( chip.acknowledges, 0u );
}

TEST_F( VirtualBus, DelayedOperationTakesItsTime ) {
    smbusd::Fault fault;
    fault.kind = Kind::Delay;
    fault.target = "direct";
    fault.milliseconds = 200;
    fault.times = 1;
    test.hardware.faults.inject( fault );
    const auto transaction = test.submit( TransactionBuilder().write( direct, 3, bytes( 9 ) ) );
    test.scheduler.advance( 199ms );
    EXPECT_TRUE( test.finished.empty() );
    EXPECT_EQ( test.number( "direct", 3 ), 0u );
    test.scheduler.advance( 1ms );
    EXPECT_EQ( test.finished.size(), 1u );
    EXPECT_FALSE( transaction->response.failed() );
    EXPECT_EQ( test.number( "direct", 3 ), 9u );
}

TEST_F( VirtualBus, HeldClockTimesOutAndIsNotRepeated ) {
    smbusd::Fault fault;
    fault.kind = Kind::ClockHold;
    fault.target = "direct";
    fault.milliseconds = smbusd::clockHoldMilliseconds;
    test.hardware.faults.inject( fault );
    const auto transaction = test.submit( TransactionBuilder().read( direct, 3, 1 ) );
    EXPECT_TRUE( test.finished.empty() );
    test.scheduler.advance( 35ms );
    ASSERT_EQ( test.finished.size(), 1u );
    EXPECT_EQ( transaction->response.reason(),
               "request 1 of 1: read byte at register 0x03 of 0x22 on bus \"bus\" (SCD 0x00000300 "
               "accelerator 1 bus 2): timed out: the clock was held low" );
    EXPECT_EQ( test.wire.back(), "S 22 W A (clock held) P" );
}

TEST_F( VirtualBus, FaultOfAChipNeedsTheChipInReach ) {
    test.inject( Kind::Nack, "left", 1 );
    test.run( TransactionBuilder().sendByte( mux, 0x04 ).read( twin, 5, 1 ) );
    EXPECT_EQ( test.hardware.faults.faults().size(), 1u );
}

TEST_F( VirtualBus, FaultOfTheBusTakesEveryAddress ) {
    test.inject( Kind::Nack, "bus", 1 );
    EXPECT_TRUE( test.run( TransactionBuilder().read( direct, 0, 1 ).retries( 0 ) ).failed() );
    EXPECT_EQ( test.hardware.buses()[ 0 ]->counters.faults, 1u );
    EXPECT_FALSE( test.run( TransactionBuilder().read( direct, 0, 1 ) ).failed() );
}

TEST_F( VirtualBus, WithoutPowerNothingAnswers ) {
    test.hardware.powerOff();
    EXPECT_TRUE( test.run( TransactionBuilder().read( direct, 0, 1 ).retries( 0 ) ).failed() );
    EXPECT_EQ( test.chip( "direct" ).counters.operations, 0u );
    test.hardware.powerOn();
    EXPECT_FALSE( test.run( TransactionBuilder().read( direct, 0, 1 ) ).failed() );
}

} // namespace
