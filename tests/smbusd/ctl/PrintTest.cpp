#include "smbusd/ctl/Print.h"

#include <gtest/gtest.h>

namespace {

rapidjson::Document parsed( const char *text ) {
    rapidjson::Document document;
    document.Parse( text );
    EXPECT_FALSE( document.HasParseError() ) << text;
    return document;
}

TEST( Print, ListShowsBusesChipsAndUnits ) {
    EXPECT_EQ( smbusd::printList( parsed( R"({ "powered": true,
        "buses": [ { "name": "b", "place": "I2C accelerator 0 bus 1", "backend": "virtual",
            "chips": [
                { "name": "mux", "type": "pca9548", "address": 112, "path": "b", "plugged": true },
                { "name": "psu", "type": "pmbus", "address": 88, "path": "b/mux:2",
                  "plugged": false } ] },
            { "name": "host", "place": "I2C accelerator 0 bus 2", "backend": "/dev/i2c-1",
              "chips": [] } ],
        "units": [ { "name": "supply", "plugged": false, "chips": [ "psu", "rom" ] },
                   { "name": "tray", "plugged": true, "chips": [] } ] })" ) ),
               "bus b: I2C accelerator 0 bus 1, virtual\n"
               "  0x70  mux                      pca9548      b\n"
               "  0x58  psu                      pmbus        b/mux:2  (unplugged)\n"
               "bus host: I2C accelerator 0 bus 2, /dev/i2c-1\n"
               "unit supply (unplugged): psu rom\n"
               "unit tray:\n" );
}

TEST( Print, ListSaysFirstThatThereIsNoPower ) {
    EXPECT_EQ( smbusd::printList( parsed( R"({ "powered": false, "buses": [], "units": [] })" ) ),
               "The board has no power.\n" );
}

TEST( Print, RegistersShowTheirWidthTheirNameAndWhatCannotBeWritten ) {
    EXPECT_EQ( smbusd::printRegisters( parsed( R"({ "registers": [
        { "register": 1, "width": 1, "readOnly": false, "value": 5 },
        { "register": 139, "width": 2, "readOnly": true, "name": "READ_VOUT", "value": 6144 },
        { "register": 3, "width": 0, "readOnly": false, "name": "MFR_ID",
          "block": [ 65, 31, 126, 127 ] } ] })" ) ),
               "0x01  0x05\n"
               "0x8B  0x1800  READ_VOUT  (read-only)\n"
               "0x03  41 1F 7E 7F  |A.~.|  MFR_ID\n" );
}

/** An answer with that many byte registers, from @p first on; their values are their numbers. */
rapidjson::Document memory( unsigned first, unsigned count, const std::string &more = "" ) {
    std::string text;
    for ( unsigned i = first; i < first + count; i++ ) {
        text += ( text.empty() ? "" : "," ) + std::string( R"({"register":)" ) +
                std::to_string( i ) + R"(,"width":1,"readOnly":false,"value":)" +
                std::to_string( i ) + more + "}";
    }
    return parsed( ( R"({"registers":[)" + text + "]}" ).c_str() );
}

TEST( Print, ALongRunOfPlainBytesIsAMemory ) {
    EXPECT_EQ( smbusd::printRegisters( memory( 62, 17 ) ),
               "0030:                                           3E 3F  |>?|\n"
               "0040: 40 41 42 43 44 45 46 47 48 49 4A 4B 4C 4D 4E  |@ABCDEFGHIJKLMN|\n" );
}

TEST( Print, SixteenBytesAreNoMemoryYet ) {
    const std::string text = smbusd::printRegisters( memory( 0, 16 ) );
    EXPECT_EQ( text.substr( 0, 22 ), "0x00  0x00\n0x01  0x01\n" );
}

TEST( Print, RegistersWithNamesAreNoMemory ) {
    const std::string text = smbusd::printRegisters( memory( 0, 17, R"(,"name":"n")" ) );
    EXPECT_EQ( text.substr( 0, 14 ), "0x00  0x00  n\n" );
}

TEST( Print, InputsShowNoMoreDigitsThanTheyHave ) {
    EXPECT_EQ( smbusd::printInputs( parsed( R"({ "inputs": [ { "name": "p00", "value": 1 },
                                            { "name": "vin", "value": 230.5 } ] })" ) ),
               "p00 1\nvin 230.5\n" );
    EXPECT_EQ( smbusd::printInputs( parsed( R"({ "inputs": [] })" ) ), "" );
}

TEST( Print, FaultsSayHowLongTheyLast ) {
    EXPECT_EQ( smbusd::printFaults( parsed( R"({ "faults": [
        { "fault": 1, "target": "psu", "kind": "nack", "hits": 3, "times": 2 },
        { "fault": 7, "target": "bus", "kind": "delay", "hits": 0 } ] })" ) ),
               "1  psu nack, 2 more time(s), took effect 3 time(s)\n"
               "7  bus delay, until cleared, took effect 0 time(s)\n" );
}

const char *const counters = R"({ "transactions": 12, "clients": 2,
    "buses": [ { "name": "b", "transactions": 1, "operations": 2, "acknowledges": 3, "retries": 4,
                 "errors": 5, "faults": 6 } ],
    "chips": [ { "name": "c", "transactions": 7, "operations": 8, "acknowledges": 9, "retries": 10,
                 "errors": 11, "faults": 12 } ] })";
const std::string head = "                         transactions   operations acknowledges  retries"
                         "   errors   faults\n";
const std::string rowOfChip = "c                                   7            8            9"
                              "       10       11       12\n";

TEST( Print, CountersAreATable ) {
    EXPECT_EQ( smbusd::printCounters( parsed( counters ), "" ),
               "12 transactions, 2 clients\n" + head +
                   "b                                   1            2            3        4"
                   "        5        6\n" +
                   rowOfChip );
}

TEST( Print, CountersOfOneChipLeaveTheOthersOut ) {
    EXPECT_EQ( smbusd::printCounters( parsed( counters ), "c" ), head + rowOfChip );
    EXPECT_EQ( smbusd::printCounters( parsed( counters ), "x" ), head );
}

TEST( Print, AnEventIsALineThatSaysWhatWentWrong ) {
    EXPECT_EQ( smbusd::printEvent( parsed( R"({ "event": "operation", "time": 12.0319071,
        "bus": "b", "client": 3, "wire": "S 58 W N P", "ok": false,
        "result": "address not acknowledged" })" ) ),
               "12.031907 b client 3: S 58 W N P  [address not acknowledged]\n" );
    EXPECT_EQ( smbusd::printEvent( parsed( R"({ "event": "operation", "time": 0, "bus": "b",
        "client": 1, "wire": "S 58 R A 01 N P", "ok": true, "result": "done" })" ) ),
               "0.000000 b client 1: S 58 R A 01 N P\n" );
    EXPECT_EQ( smbusd::printEvent( parsed( R"({ "event": "dropped", "operations": 9 })" ) ),
               "... 9 operation(s) left out: they came faster than they were read\n" );
}

} // namespace
