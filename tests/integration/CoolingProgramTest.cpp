/** The cooling board as a person at the host program meets it. */
#include <map>
#include <string>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>
#include <rapidjson/document.h>

#include "common/Child.h"
#include "common/Descriptor.h"
#include "common/TemporaryFolder.h"
#include "tests/integration/EmulatedBoard.h"
#include "tests/support/Process.h"

namespace {

using testing::ElementsAre;

/** `orvan shell` on a copy of the board whose fans have no inertia; it waits for no timer. */
class OrvanShell {
  public:
    OrvanShell() {
        for ( const std::string name : { "topology.json", "peripherals.json", "hardware.json" } ) {
            std::string text = fileText( ORVAN_SOURCE_DIR "/boards/mirelund-cooling/" + name );
            if ( name == "hardware.json" ) {
                replaceIn( text, "\"spinUpMs\": 400", "\"spinUpMs\": 0" );
            }
            folder_.write( name, text );
        }
        common::ChildOptions options;
        options.descriptors = { { STDIN_FILENO, input_.readEnd.get() },
                                { STDOUT_FILENO, output_.writeEnd.get() } };
        child_ = common::Child( { ORVAN_BIN_DIR "/orvan", "--board", folder_.path(), "--emulate",
                                  "--control", control(), "--skip-waits", "shell", "--keep-going" },
                                options );
        output_.writeEnd.close();
    }
    ~OrvanShell() {
        if ( child_.pid() > 0 ) {
            end();
        }
    }

    /** Runs a command that prints that many lines. */
    std::vector<std::string> run( const std::string &command, size_t lines = 1 ) {
        const std::string text = command + "\n";
        EXPECT_EQ( ::write( input_.writeEnd.get(), text.data(), text.size() ),
                   static_cast<ssize_t>( text.size() ) );
        std::vector<std::string> printed;
        while ( printed.size() < lines ) {
            printed.push_back( line() );
        }
        return printed;
    }
    /** Runs a command that prints nothing. */
    void quietly( const std::string &command ) { run( command, 0 ); }

    /** Runs smbusctl, once what was asked for before has been done. */
    void ctl( const std::vector<std::string> &words ) {
        run( "get inlet alert" ); // its answer comes when all before it is done
        std::vector<std::string> command = { ORVAN_BIN_DIR "/smbusctl", "--control", control() };
        command.insert( command.end(), words.begin(), words.end() );
        EXPECT_EQ( test::runProgram( command ).exitCode, 0 );
    }

    /** Ends it. @return its exit code */
    int end() {
        input_.writeEnd.close();
        return child_.wait().exitCode;
    }

  private:
    std::string control() const { return folder_.file( "control.sock" ); }

    std::string line() {
        std::string text;
        for ( char c; ::read( output_.readEnd.get(), &c, 1 ) == 1; text += c ) {
            if ( c == '\n' ) {
                return text;
            }
        }
        ADD_FAILURE() << "the program has ended";
        return text;
    }

    common::TemporaryFolder folder_;
    common::Pipe input_ = common::makePipe();
    common::Pipe output_ = common::makePipe();
    common::Child child_;
};

TEST( CoolingProgram, FansAreShownAndSet ) {
    OrvanShell shell;
    EXPECT_THAT( shell.run( "get fan1", 4 ),
                 ElementsAre( "rpm 12500 rpm", "percent 50 %", "stalled no", "debug -" ) );
    shell.quietly( "set fan1 rpm 9000" );
    EXPECT_THAT( shell.run( "get fan1 rpm" ), ElementsAre( "9000 rpm" ) );
    EXPECT_THAT( shell.run( "get fan2 rpm" ), ElementsAre( "8892 rpm" ) );
    shell.quietly( "set fan1 rpm 40%" );
    EXPECT_THAT( shell.run( "get fan1", 4 ),
                 ElementsAre( "rpm 10000 rpm", "percent 40 %", "stalled no", "debug -" ) );
    EXPECT_EQ( shell.end(), 0 );
}

TEST( CoolingProgram, StalledFanIsShownWithinOnePeriod ) {
    OrvanShell shell;
    EXPECT_THAT( shell.run( "get fan3 stalled" ), ElementsAre( "no" ) );
    shell.ctl( { "set", "psoc", "fan3.blocked", "1" } );
    shell.quietly( "wait 1" );
    EXPECT_THAT( shell.run( "get fan3 stalled" ), ElementsAre( "yes" ) );
    EXPECT_THAT( shell.run( "get fan3 rpm" ), ElementsAre( "fault" ) );
    EXPECT_THAT( shell.run( "get fan4 stalled" ), ElementsAre( "no" ) );
    shell.ctl( { "set", "psoc", "fan3.blocked", "0" } );
    shell.quietly( "wait 1" );
    EXPECT_THAT( shell.run( "get fan3 stalled" ), ElementsAre( "no" ) );
}

TEST( CoolingProgram, TraysShowPresenceAirflowAndModel ) {
    OrvanShell shell;
    EXPECT_THAT( shell.run( "get tray2", 4 ),
                 ElementsAre( "present 1", "airflow frontToBackAirflow", "model FAN-7000",
                              R"(fdl { "airflow": "frontToBackAirflow", "maxRpm": 25000, )"
                              R"("model": "FAN-7000" })" ) );
}

// One tray for each module, since a slot's lines are taken as fresh for two seconds of real time.
TEST( CoolingProgram, OtherAndMissingModulesAreShown ) {
    OrvanShell shell;
    shell.ctl( { "unplug", "tray2-f2b" } );
    shell.ctl( { "unplug", "tray3-f2b" } );
    shell.ctl( { "plug", "tray3-b2f" } );
    EXPECT_THAT( shell.run( "get tray2", 4 ),
                 ElementsAre( "present 0", "airflow -", "model -", "fdl -" ) );
    EXPECT_THAT( shell.run( "get tray3 airflow" ), ElementsAre( "backToFrontAirflow" ) );
    EXPECT_THAT( shell.run( "get tray3 model" ), ElementsAre( "FAN-7000" ) );
}

TEST( CoolingProgram, SensorsShowValueAlertAndCritical ) {
    OrvanShell shell;
    EXPECT_THAT( shell.run( "get asic", 3 ),
                 ElementsAre( "temperature 61.0 C", "alert 85.0 C", "critical 100.0 C" ) );
}

TEST( CoolingProgram, LedsShowTheirLastSettingAndWhetherTheyBlink ) {
    OrvanShell shell;
    EXPECT_THAT( shell.run( "get fanled2", 2 ), ElementsAre( "setting -", "blinking -" ) );
    shell.quietly( "set fanled2 beacon" );
    EXPECT_THAT( shell.run( "get fanled2", 2 ), ElementsAre( "setting beacon", "blinking yes" ) );
    shell.quietly( "set fanled2 bad" );
    EXPECT_THAT( shell.run( "get fanled2", 2 ), ElementsAre( "setting bad", "blinking no" ) );
}

TEST( CoolingProgram, ShowListsTheWholeBoard ) {
    const test::Finished shown = test::runProgram(
        { ORVAN_BIN_DIR "/orvan", "--board", ORVAN_SOURCE_DIR "/boards/mirelund-cooling",
          "--emulate", "--skip-waits", "show", "--json" } );
    ASSERT_EQ( shown.exitCode, 0 ) << shown.errors;
    rapidjson::Document rows;
    rows.Parse( shown.output );
    ASSERT_FALSE( rows.HasParseError() );
    std::map<std::string, int> kinds;
    for ( const auto &row : rows.GetArray() ) {
        EXPECT_FALSE( row.HasMember( "failure" ) ) << row[ "name" ].GetString();
        ++kinds[ row[ "kind" ].GetString() ];
    }
    EXPECT_EQ( kinds, ( std::map<std::string, int>{
                          { "fan", 4 }, { "led", 4 }, { "slot", 4 }, { "temp_sensor", 5 } } ) );
}

} // namespace
