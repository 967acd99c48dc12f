#include "smbusd/board/FaultConfig.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "tests/support/TestBoard.h"

namespace {

using test::TestBoard;

const char *const expander = R"({ "name": "e", "type": "pca9555", "address": 32 })";

/** What is said of a fault in the configuration of a board with the chip "e". */
std::string faultMessage( const std::string &fault ) {
    try {
        TestBoard board( TestBoard::withChips( expander, R"(, "faults": [ )" + fault + " ]" ) );
    } catch ( const smbusd::ConfigError &error ) {
        return error.what();
    }
    return "no error";
}

TEST( FaultConfig, ReadsEveryParameter ) {
    TestBoard test( TestBoard::withChips( expander, R"(, "faults": [
        { "target": "e", "kind": "nack", "times": 2, "at": "data" },
        { "target": "bus", "kind": "clock-hold" },
        { "target": "bus", "kind": "flip-bit", "byte": 3, "bit": 7 },
        { "target": "bus", "kind": "delay", "ms": 5 },
        { "target": "e", "kind": "short-block", "missing": 4 } ])" ) );
    const auto &faults = test.hardware.faults.faults();
    ASSERT_EQ( faults.size(), 5u );
    EXPECT_EQ( faults[ 0 ].target, "e" );
    EXPECT_EQ( faults[ 0 ].kind, smbusd::Fault::Kind::Nack );
    EXPECT_EQ( faults[ 0 ].times, 2u );
    EXPECT_TRUE( faults[ 0 ].atData );
    EXPECT_EQ( faults[ 1 ].milliseconds, 35u );
    EXPECT_EQ( faults[ 1 ].times, 0u );
    EXPECT_EQ( faults[ 2 ].byte, 3u );
    EXPECT_EQ( faults[ 2 ].bit, 7u );
    EXPECT_EQ( faults[ 3 ].milliseconds, 5u );
    EXPECT_EQ( faults[ 4 ].missing, 4u );
}

TEST( FaultConfig, RefusesWrongValues ) {
    EXPECT_EQ( faultMessage( R"({ "target": "x", "kind": "nack" })" ),
               "hardware.json: at /faults/0/target: \"x\"; expected the name of a chip or a bus" );
    EXPECT_EQ( faultMessage( R"({ "target": "e", "kind": "fire" })" ),
               "hardware.json: at /faults/0/kind: \"fire\"; expected one of nack, bad-pec, "
               "short-block, clock-hold, stuck-bus, arbitration-lost, flip-bit, delay, "
               "drop-connection, stop-answering" );
    EXPECT_EQ( faultMessage( R"({ "target": "e", "kind": "nack", "ms": 5 })" ),
               "hardware.json: at /faults/0/ms: 5; expected no \"ms\" for the kind nack" );
    EXPECT_EQ( faultMessage( R"({ "target": "e", "kind": "delay" })" ),
               "hardware.json: at /faults/0: {\"target\":\"e\",\"kind\":\"delay\"}; expected an "
               "object with \"ms\"" );
    EXPECT_EQ( faultMessage( R"({ "target": "e", "kind": "nack", "times": 0 })" ),
               "hardware.json: at /faults/0/times: 0; expected a whole number from 1 to 4294967295 "
               "(or as text: \"0xFFFFFFFF\")" );
    EXPECT_EQ( faultMessage( R"({ "target": "e", "kind": "nack", "at": "start" })" ),
               "hardware.json: at /faults/0/at: \"start\"; expected \"address\" or \"data\"" );
    EXPECT_EQ(
        faultMessage( R"({ "target": "e", "kind": "flip-bit", "bit": 8 })" ),
        "hardware.json: at /faults/0/bit: 8; expected a whole number from 0 to 7 (or as text: "
        "\"0x7\")" );
}

TEST( FaultConfig, AParameterIsOnlyForTheKindsThatKnowIt ) {
    struct Parameter {
        std::string key;
        std::string value;
        std::vector<std::string_view> kinds;
    };
    const std::vector<Parameter> parameters = {
        { "at", "\"data\"", { "nack" } },      { "ms", "5", { "clock-hold", "delay" } },
        { "missing", "2", { "short-block" } }, { "byte", "0", { "flip-bit" } },
        { "bit", "7", { "flip-bit" } },
    };
    for ( const Parameter &parameter : parameters ) {
        for ( const std::string_view kind : smbusd::faultNames() ) {
            const std::string needed =
                kind == "delay" && parameter.key != "ms" ? ", \"ms\": 1" : "";
            const std::string message =
                faultMessage( fmt::format( R"({{ "target": "bus", "kind": "{}", "{}": {}{} }})",
                                           kind, parameter.key, parameter.value, needed ) );
            const bool known = std::find( parameter.kinds.begin(), parameter.kinds.end(), kind ) !=
                               parameter.kinds.end();
            EXPECT_EQ( message,
                       known ? "no error"
                             : fmt::format( "hardware.json: at /faults/0/{}: {}; expected no "
                                            "\"{}\" for the kind {}",
                                            parameter.key, parameter.value, parameter.key, kind ) );
        }
    }
}

TEST( FaultConfig, RangesEndWhereTheyShould ) {
    const std::vector<std::tuple<std::string, std::string, std::string>> lines = {
        { "delay", "ms", "86400000" },        { "clock-hold", "ms", "86400000" },
        { "short-block", "missing", "8192" }, { "flip-bit", "byte", "8191" },
        { "flip-bit", "bit", "7" },
    };
    for ( const auto &[ kind, key, most ] : lines ) {
        const auto messageOf = [ &, kind = kind, key = key ]( const std::string &value ) {
            return faultMessage(
                fmt::format( R"({{ "target": "e", "kind": "{}", "{}": {} }})", kind, key, value ) );
        };
        EXPECT_EQ( messageOf( most ), "no error" ) << kind;
        EXPECT_NE( messageOf( std::to_string( std::stoul( most ) + 1 ) ), "no error" ) << kind;
    }
    EXPECT_NE( faultMessage( R"({ "target": "e", "kind": "delay", "ms": 0 })" ), "no error" );
    EXPECT_NE( faultMessage( R"({ "target": "e", "kind": "short-block", "missing": 0 })" ),
               "no error" );
}

} // namespace
