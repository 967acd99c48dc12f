#include "smbusd/control/Control.h"

#include <gtest/gtest.h>

#include "tests/support/TestBoard.h"

namespace {

using test::bytes;
using test::TestBoard;
using test::testBus;
using test::TransactionBuilder;

const char *const chips = R"(
    { "name": "lines", "type": "pca9555", "address": "0x20" },
    { "name": "psu", "type": "commands", "address": "0x58", "commands": {
      "0x79": { "word": "0x2C4B", "readOnly": true }, "0x9A": { "block": "AC" } } },
    { "name": "mux", "type": "pca9548", "address": "0x70", "channels": {
      "3": [ { "name": "file", "type": "registers", "address": "0x40", "count": 4 } ] } })";
const char *const units = R"(, "units": [ { "name": "supply", "chips": [ "psu" ] } ])";

class Control : public testing::Test {
  protected:
    std::string ask( const std::string &request ) { return control.answer( request ).line; }

    TestBoard test{ TestBoard::withChips( chips, units ) };
    smbusd::Control control{ test.hardware, test.dispatcher, [] { return size_t{ 3 }; } };
};

TEST_F( Control, ListsBusesChipsWithTheirPathsAndUnits ) {
    EXPECT_EQ( ask( R"({"command":"list"})" ),
               R"({"ok":true,"powered":true,"buses":[{"name":"bus",)"
               R"("place":"SCD 0x00000300 accelerator 1 bus 2","backend":"virtual","chips":[)"
               R"({"name":"lines","type":"pca9555","address":32,"path":"bus","plugged":true},)"
               R"({"name":"psu","type":"commands","address":88,"path":"bus","plugged":true},)"
               R"({"name":"mux","type":"pca9548","address":112,"path":"bus","plugged":true},)"
               R"({"name":"file","type":"registers","address":64,"path":"bus/mux:3",)"
               R"("plugged":true}]}],"units":[{"name":"supply","plugged":true,)"
               R"("chips":["psu"]}]})" );
}

TEST_F( Control, ReadsRegisters ) {
    EXPECT_EQ( ask( R"({"command":"read","chip":"psu"})" ),
               R"({"ok":true,"registers":[{"register":121,"width":2,"readOnly":true,)"
               R"("value":11339},{"register":154,"width":0,"readOnly":false,"block":[65,67]}]})" );
    EXPECT_EQ( ask( R"({"command":"read","chip":"lines","register":"0x06"})" ),
               R"({"ok":true,"registers":[{"register":6,"width":1,"readOnly":false,)"
               R"("name":"config0","value":255}]})" );
    EXPECT_EQ( ask( R"({"command":"read","chip":"file","register":1,"count":2})" ),
               R"({"ok":true,"registers":[{"register":1,"width":1,"readOnly":false,"value":0},)"
               R"({"register":2,"width":1,"readOnly":false,"value":0}]})" );
    EXPECT_EQ( ask( R"({"command":"read","chip":"file","register":4})" ),
               R"({"ok":false,"error":"registers \"file\" has no register 0x04"})" );
}

TEST_F( Control, WritesRegisters ) {
    EXPECT_EQ( ask( R"({"command":"write","chip":"psu","register":121,"value":"0x1234"})" ),
               R"({"ok":true})" );
    EXPECT_EQ( test.number( "psu", 0x79 ), 0x1234u );
    EXPECT_EQ( ask( R"({"command":"write","chip":"psu","register":154,"block":[72,"0x49"]})" ),
               R"({"ok":true})" );
    EXPECT_EQ( test.data( TransactionBuilder().blockRead( testBus.at( 0x58 ), 0x9A ) ), "HI" );
    EXPECT_EQ( ask( R"({"command":"write","chip":"file","register":0,"value":256})" ),
               R"({"ok":false,"error":"register 0x00 of registers \"file\" has 8 bits; 0x100 does )"
               R"(not fit"})" );
}

TEST_F( Control, ListsAndSetsInputs ) {
    EXPECT_EQ( ask( R"({"command":"set","chip":"lines","input":"p02","value":0})" ),
               R"({"ok":true})" );
    EXPECT_EQ( test.number( "lines", 0 ), 0xFBu );
    const std::string inputs = ask( R"({"command":"inputs","chip":"lines"})" );
    EXPECT_NE( inputs.find( R"({"name":"p02","value":0.0},{"name":"p03","value":1.0})" ),
               std::string::npos )
        << inputs;
    EXPECT_EQ( ask( R"({"command":"set","chip":"psu","input":"ac","value":0})" ),
               R"({"ok":false,"error":"commands \"psu\" has no input \"ac\"; it has none"})" );
}

TEST_F( Control, PlugsUnitsAndChips ) {
    EXPECT_EQ( ask( R"({"command":"unplug","name":"supply"})" ), R"({"ok":true})" );
    EXPECT_FALSE( test.chip( "psu" ).plugged() );
    EXPECT_FALSE( test.hardware.findUnit( "supply" )->plugged );
    EXPECT_EQ( ask( R"({"command":"plug","name":"psu"})" ), R"({"ok":true})" );
    EXPECT_TRUE( test.chip( "psu" ).plugged() );
    EXPECT_EQ(
        ask( R"({"command":"plug","name":"fan"})" ),
        R"({"ok":false,"error":"request: at /name: \"fan\"; expected the name of a unit or a )"
        R"(chip"})" );
}

TEST_F( Control, SwitchesThePower ) {
    EXPECT_EQ( ask( R"({"command":"power","state":"off"})" ), R"({"ok":true})" );
    EXPECT_FALSE( test.hardware.powered() );
    ask( R"({"command":"power","state":"on"})" );
    EXPECT_TRUE( test.hardware.powered() );
    ask( R"({"command":"power","state":"cycle"})" );
    EXPECT_FALSE( test.hardware.powered() );
    test.scheduler.advance( smbusd::Hardware::defaultPowerCycle );
    EXPECT_TRUE( test.hardware.powered() );
    EXPECT_EQ( ask( R"({"command":"power","state":"up"})" ),
               R"({"ok":false,"error":"request: at /state: \"up\"; expected \"on\", \"off\" or )"
               R"(\"cycle\""})" );
}

TEST_F( Control, InjectsListsAndClearsFaults ) {
    EXPECT_EQ( ask( R"({"command":"inject","fault":{"target":"psu","kind":"nack","times":2}})" ),
               R"({"ok":true,"fault":1})" );
    EXPECT_EQ( ask( R"({"command":"inject","fault":{"target":"bus","kind":"stuck-bus"}})" ),
               R"({"ok":true,"fault":2})" );
    EXPECT_EQ( ask( R"({"command":"inject","fault":{"target":"bus","kind":"flip-bit"}})" ),
               R"({"ok":true,"fault":3})" );
    test.run( TransactionBuilder().read( testBus.at( 0x58 ), 0x79, 2 ).retries( 0 ) );
    EXPECT_EQ(
        ask( R"({"command":"faults"})" ),
        R"({"ok":true,"faults":[{"fault":1,"target":"psu","kind":"nack","hits":1,"times":1},)"
        R"({"fault":2,"target":"bus","kind":"stuck-bus","hits":1},)"
        R"({"fault":3,"target":"bus","kind":"flip-bit","hits":1}]})" );
    EXPECT_EQ( ask( R"({"command":"clear","fault":1})" ), R"({"ok":true,"cleared":1})" );
    EXPECT_EQ( ask( R"({"command":"clear","fault":1})" ),
               R"({"ok":false,"error":"request: at /fault: 1; expected the number of a fault in )"
               R"(force"})" );
    EXPECT_EQ( ask( R"({"command":"clear","target":"psu"})" ), R"({"ok":true,"cleared":0})" );
    EXPECT_EQ(
        ask( R"({"command":"clear","target":"x"})" ),
        R"({"ok":false,"error":"request: at /target: \"x\"; expected the name of a chip or a )"
        R"(bus"})" );
    EXPECT_EQ( ask( R"({"command":"clear"})" ), R"({"ok":true,"cleared":2})" );
}

TEST_F( Control, PrintsCounters ) {
    test.run( TransactionBuilder().read( testBus.at( 0x58 ), 0x79, 2 ) );
    const std::string counters = ask( R"({"command":"counters"})" );
    EXPECT_EQ( counters.substr( 0, counters.find( R"("chips")" ) ),
               R"({"ok":true,"transactions":1,"clients":3,"buses":[{"name":"bus",)"
               R"("transactions":1,"operations":1,"acknowledges":3,"retries":0,"errors":0,)"
               R"("faults":0}],)" );
    EXPECT_NE( counters.find( R"({"name":"psu","transactions":1,"operations":1,"acknowledges":3,)"
                              R"("retries":0,"errors":0,"faults":0})" ),
               std::string::npos )
        << counters;
}

TEST_F( Control, FollowsAllBusesOrOne ) {
    const smbusd::ControlAnswer all = control.answer( R"({"command":"follow"})" );
    EXPECT_TRUE( all.follows );
    EXPECT_EQ( all.followedBus, "" );
    EXPECT_EQ( all.line, R"({"ok":true})" );
    const smbusd::ControlAnswer one = control.answer( R"({"command":"follow","bus":"bus"})" );
    EXPECT_TRUE( one.follows );
    EXPECT_EQ( one.followedBus, "bus" );
    EXPECT_FALSE( control.answer( R"({"command":"follow","bus":"x"})" ).follows );
    EXPECT_FALSE( control.answer( R"({"command":"list"})" ).follows );
}

TEST_F( Control, RefusesWhatIsNoRequest ) {
    EXPECT_EQ(
        ask( "hello" ),
        R"({"ok":false,"error":"request: line 1, column 1: Invalid value; expected JSON text"})" );
    EXPECT_EQ( ask( "[1]" ),
               R"({"ok":false,"error":"request: [1]; expected an object with a \"command\""})" );
    EXPECT_EQ( ask( "{}" ),
               R"({"ok":false,"error":"request: {}; expected an object with \"command\""})" );
    EXPECT_EQ(
        ask( R"({"command":"explode"})" ),
        R"({"ok":false,"error":"request: at /command: \"explode\"; expected one of list, read, )"
        R"(write, inputs, set, plug, unplug, power, inject, clear, faults, counters, )"
        R"(follow"})" );
    EXPECT_EQ( ask( R"({"command":"list","all":1})" ),
               R"({"ok":false,"error":"request: at /all: 1; expected no such key here, only )"
               R"(command"})" );
    EXPECT_EQ( ask( R"({"command":"read","chip":"x"})" ),
               R"({"ok":false,"error":"request: at /chip: \"x\"; expected the name of a chip"})" );
}

} // namespace
