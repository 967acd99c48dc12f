/** The whole switch as a person at the host program meets it. */
#include <map>

#include <gmock/gmock.h>
#include <rapidjson/document.h>

#include "tests/integration/BoardProgram.h"

namespace {

class SwitchProgram : public testing::Test, protected BoardProgram {
  protected:
    SwitchProgram() : BoardProgram( "mirelund" ) {}

    /** Every peripheral's readings, by name, as JSON. */
    rapidjson::Document shown() const {
        rapidjson::Document rows;
        rows.Parse( printed( { "show", "--json" } ) );
        return rows;
    }
};

TEST_F( SwitchProgram, EverythingComesUp ) {
    const rapidjson::Document rows = shown();
    std::map<std::string, int> kinds;
    for ( const auto &row : rows.GetArray() ) {
        EXPECT_FALSE( row.HasMember( "failure" ) ) << row[ "name" ].GetString();
        ++kinds[ row[ "kind" ].GetString() ];
    }
    EXPECT_EQ( kinds, ( std::map<std::string, int>{ { "fan", 7 },
                                                    { "gpio", 1 },
                                                    { "led", 7 },
                                                    { "psu", 2 },
                                                    { "slot", 6 },
                                                    { "system", 1 },
                                                    { "temp_sensor", 7 },
                                                    { "xcvr", 20 } } ) );
}

TEST_F( SwitchProgram, ModulesTraysAndSuppliesComeAndGo ) {
    for ( const char *unit : { "module1", "module49", "tray2-f2b", "supply2" } ) {
        ctl( { "unplug", unit } );
    }
    for ( const char *unit : { "module13", "module51", "tray2-b2f" } ) {
        ctl( { "plug", unit } );
    }
    const struct {
        const char *name, *reading, *value;
    } expected[] = {
        { "port1", "present", "0" },
        { "port2", "present", "1" },
        { "port13", "present", "1" },
        { "port49", "present", "0" },
        { "port50", "present", "1" },
        { "port51", "present", "1" },
        { "tray1", "airflow", "frontToBackAirflow" },
        { "tray2", "airflow", "backToFrontAirflow" },
        { "bay1", "present", "1" },
        { "bay2", "present", "0" },
    };
    for ( const auto &[ name, reading, value ] : expected ) {
        EXPECT_EQ( printed( { "get", name, reading } ), std::string( value ) + "\n" ) << name;
    }
}

TEST_F( SwitchProgram, AnythingThatCanBeSetIsSet ) {
    printed( { "set", "fan1", "rpm", "40%" } );
    EXPECT_THAT( ctl( { "read", "psoc", "60" } ), testing::HasSubstr( "0x0FA0" ) );
    printed( { "set", "port1", "txdisable", "on" } );
    EXPECT_EQ( printed( { "get", "port1", "txdisable" } ), "1\n" );
    printed( { "set", "port50", "lpmode", "on" } );
    EXPECT_EQ( printed( { "get", "port50", "lpmode" } ), "1\n" );
    printed( { "set", "psu2-led", "bad" } );
    // Bits 4 and 5 are red alone; EEPROMs are out of reset, the other LEDs as after power-on.
    EXPECT_THAT( ctl( { "read", "psu-expander", "3" } ), testing::HasSubstr( "0xEC" ) );
    printed( { "poweroff", "--yes" } );
    EXPECT_EQ( orvan( { "get", "fan1", "rpm" } ).exitCode, 1 );
}

} // namespace
