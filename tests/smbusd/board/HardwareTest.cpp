#include "smbusd/board/Hardware.h"

#include <gtest/gtest.h>

#include "tests/support/TestBoard.h"

namespace {

using namespace std::chrono_literals;
using test::bytes;
using test::TestBoard;
using test::testBus;
using test::TransactionBuilder;

const char *const chips = R"(
    { "name": "lines", "type": "pca9555", "address": "0x20" },
    { "name": "psu", "type": "registers", "address": "0x58", "registers": { "1": 7 } },
    { "name": "rom", "type": "eeprom", "address": "0x50" })";
const char *const units = R"(, "powerCycleMs": 250, "units": [ { "name": "supply",
    "chips": [ "psu", "rom" ], "inputs": [
      { "chip": "lines", "input": "p00", "plugged": 0, "unplugged": 1 },
      { "chip": "lines", "input": "p10", "plugged": 1, "unplugged": 0 } ] } ])";

/** Two supplies for one place, and the line that tells of its power. */
const char *const supplies = R"(
    { "name": "lines", "type": "pca9555", "address": "0x20" },
    { "name": "one", "type": "pmbus", "address": "0x58", "model": "M", "serial": "1" },
    { "name": "other", "type": "pmbus", "address": "0x58", "plugged": false,
      "model": "M", "serial": "2" })";
const char *const connection = R"(, "connections": [ { "from": [ "one", "other" ],
    "output": "powergood", "to": "lines", "input": "p00", "unplugged": 0 } ])";

TEST( BoardConnections, InputFollowsTheOutputOfWhicheverChipIsThere ) {
    TestBoard test( TestBoard::withChips( supplies, connection ) );
    const auto level = [ &test ] {
        const std::string data = test.data( TransactionBuilder().read( testBus.at( 0x20 ), 0, 1 ) );
        return data[ 0 ] & 1;
    };
    EXPECT_EQ( level(), 1 );
    test.chip( "one" ).setInput( "vin", 0 );
    EXPECT_EQ( level(), 0 );
    test.chip( "one" ).setInput( "vin", 230 );
    EXPECT_EQ( level(), 1 );
    test.chip( "one" ).plug( false );
    EXPECT_EQ( level(), 0 ) << "nobody drives it";
    test.chip( "other" ).plug( true );
    EXPECT_EQ( level(), 1 );
    // Off by the bus, which the line shows immediately.
    test.run( TransactionBuilder().write( testBus.at( 0x58 ), 0x01, bytes( 0 ) ) );
    EXPECT_EQ( level(), 0 );
}

TEST( BoardConnections, WhatAPersonSetsStaysUntilTheOutputChanges ) {
    TestBoard test( TestBoard::withChips( supplies, connection ) );
    test.chip( "lines" ).setInput( "p00", 0 );
    test.hardware.updateConnections();
    EXPECT_EQ( test.number( "lines", 0 ), 0xFEu );
    test.chip( "one" ).setInput( "vin", 0 );
    test.hardware.updateConnections();
    test.chip( "one" ).setInput( "vin", 230 );
    test.hardware.updateConnections();
    EXPECT_EQ( test.number( "lines", 0 ), 0xFFu );
}

class Board : public testing::Test {
  protected:
    TestBoard test{ TestBoard::withChips( chips, units ) };
};

TEST_F( Board, FindsByNameOrNotAtAll ) {
    EXPECT_EQ( test.hardware.findChip( "psu" )->name(), "psu" );
    EXPECT_EQ( test.hardware.findChip( "bus" ), nullptr );
    EXPECT_EQ( test.hardware.findBus( "bus" )->name(), "bus" );
    EXPECT_EQ( test.hardware.findBus( "psu" ), nullptr );
    EXPECT_EQ( test.hardware.findUnit( "supply" )->name, "supply" );
    EXPECT_EQ( test.hardware.findUnit( "psu" ), nullptr );
}

TEST_F( Board, AUnitComesAndGoesWithItsChipsAndLines ) {
    smbusd::Unit &supply = *test.hardware.findUnit( "supply" );
    EXPECT_EQ( test.number( "lines", 0 ), 0xFEu );
    EXPECT_EQ( test.number( "lines", 1 ), 0xFFu );
    test.run( TransactionBuilder().write( testBus.at( 0x58 ), 1, bytes( 99 ) ) );

    test.hardware.plug( supply, false );
    EXPECT_FALSE( supply.plugged );
    EXPECT_FALSE( test.chip( "psu" ).plugged() );
    EXPECT_FALSE( test.chip( "rom" ).plugged() );
    EXPECT_EQ( test.number( "lines", 0 ), 0xFFu );
    EXPECT_EQ( test.number( "lines", 1 ), 0xFEu );

    test.hardware.plug( supply, true );
    EXPECT_EQ( test.number( "lines", 0 ), 0xFEu );
    EXPECT_EQ( test.number( "psu", 1 ), 7u ); // it starts with its reset values
}

TEST_F( Board, PowerBringsBackResetValuesAndKeepsInputsAndMemories ) {
    test.run( TransactionBuilder()
                  .write( testBus.at( 0x20 ), 6, bytes( 0x0F ) )
                  .write( testBus.at( 0x50 ), 0, bytes( 0x42 ) ) );
    test.hardware.powerOff();
    EXPECT_FALSE( test.hardware.powered() );
    test.hardware.powerOn();
    EXPECT_TRUE( test.hardware.powered() );
    EXPECT_EQ( test.number( "lines", 6 ), 0xFFu );
    EXPECT_EQ( test.number( "lines", 0 ), 0xFEu );
    EXPECT_EQ( test.number( "rom", 0 ), 0x42u );
}

TEST_F( Board, APowerCycleTakesItsTime ) {
    test.run( TransactionBuilder().write( testBus.at( 0x58 ), 1, bytes( 99 ) ) );
    test.hardware.powerCycle();
    EXPECT_FALSE( test.hardware.powered() );
    test.scheduler.advance( 249ms );
    EXPECT_FALSE( test.hardware.powered() );
    test.scheduler.advance( 1ms );
    EXPECT_TRUE( test.hardware.powered() );
    EXPECT_EQ( test.number( "psu", 1 ), 7u );
}

TEST_F( Board, PowerOffOverrulesACycleUnderWay ) {
    test.hardware.powerCycle();
    test.scheduler.advance( 100ms );
    test.hardware.powerOff();
    test.scheduler.advance( 1s );
    EXPECT_FALSE( test.hardware.powered() );
}

} // namespace
