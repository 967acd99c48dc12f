#include "OrvanGeneric/Ham/IpmitoolHam.h"

#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Utils.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/FakeHost.h"

namespace {

constexpr const char *list = "FAN1_SPEED,5280,RPM,ok\n"
                             "PSU1_OK,03h,ok,10.1,Presence detected\n"
                             "AIRFLOWDIRECTION,1,unspecified,ok\n"
                             "PSU1_FRU,00h,ns,10.1\n";
constexpr const char *fruText = "FRU Device Description : PSU1_FRU (ID 1)\n"
                                " Product Name          : MPS-550\n"
                                " Product Serial        : S1\n";
const std::string end = " </dev/null 2>/dev/null";
const std::string listCommand = "ipmitool -c sdr elist all" + end;
const std::string airflowCommand = "ipmitool -c sensor reading 'AIRFLOWDIRECTION_1'" + end;
const std::string fruCommand = "ipmitool fru print" + end;

class IpmitoolHamTest : public testing::Test {
  protected:
    IpmitoolHamTest() {
        FakeTime::now = 1000;
        answers_[ listCommand ] = { PL_STATUS_OK, list };
        answers_[ fruCommand ] = { PL_STATUS_OK, fruText };
        // The tool fails for whatever one of the sensors it was asked for.
        answers_[ airflowCommand ] = { PL_STATUS_FAILED, "AIRFLOWDIRECTION_1,1\n" };
    }

    struct Answer {
        pl_status status;
        std::string output;
    };

    void configure( const std::map<std::string, std::string> &arguments ) {
        Drivers::DriverArgs args;
        args.driverArgs = arguments;
        ham_.configure( args );
    }

    /** The reading, or the status in angle brackets. */
    std::string sensor( const std::string &name ) {
        std::string value;
        const int status = ham_.getSensorVal( name, &value );
        return status ? "<" + std::to_string( status ) + ">" : value;
    }

    std::vector<std::string> takeCommands() { return std::exchange( commands_, {} ); }

    const FakeTime time_;
    std::map<std::string, Answer> answers_;
    double duration_ = 0; ///< of each run, seconds
    unsigned limit_ = 0;
    std::vector<std::string> commands_;
    Ham::IpmitoolHam ham_{ [ this ]( const char *command, std::string &output, unsigned limit ) {
        commands_.push_back( command );
        limit_ = limit;
        FakeTime::now += duration_;
        const Answer &answer = answers_[ command ];
        output = answer.output;
        return answer.status;
    } };
};

using Commands = std::vector<std::string>;

TEST_F( IpmitoolHamTest, NothingRunsBeforeTheFirstLookup ) {
    configure( {} );
    EXPECT_TRUE( commands_.empty() );
}

TEST_F( IpmitoolHamTest, OneListServesAllSensorsWhileItIsFresh ) {
    EXPECT_EQ( sensor( "fan1_speed" ), "5280" );
    EXPECT_EQ( sensor( "PSU1_OK" ), "1" );
    EXPECT_EQ( sensor( "NO_SUCH" ), "<4>" );
    FakeTime::now += 1.0;
    answers_[ listCommand ].output = "FAN1_SPEED,100,RPM,ok\n";
    EXPECT_EQ( sensor( "FAN1_SPEED" ), "5280" );
    EXPECT_EQ( takeCommands(), Commands{ listCommand } );
    EXPECT_EQ( limit_, 5u );
    FakeTime::now += 0.125;
    EXPECT_EQ( sensor( "FAN1_SPEED" ), "100" );
    EXPECT_EQ( sensor( "PSU1_OK" ), "<4>" );
    EXPECT_EQ( takeCommands(), Commands{ listCommand } );
}

TEST_F( IpmitoolHamTest, TheListsAgeCountsFromItsArrival ) {
    duration_ = 3;
    sensor( "FAN1_SPEED" );
    sensor( "PSU1_OK" );
    EXPECT_EQ( commands_.size(), 1u );
}

TEST_F( IpmitoolHamTest, ArgumentsSetCommandLimitAgeAndBackOff ) {
    configure( { { "ipmiCommand", "my tool -x" },
                 { "ipmiTimeout", "9" },
                 { "ipmiCacheAge", "250" },
                 { "ipmiBackOff", "2000" } } );
    const std::string command = "my tool -x -c sdr elist all" + end;
    answers_[ command ] = { PL_STATUS_OK, list };
    EXPECT_EQ( sensor( "FAN1_SPEED" ), "5280" );
    EXPECT_EQ( limit_, 9u );
    FakeTime::now += 0.5;
    answers_[ command ].output = "";
    EXPECT_EQ( sensor( "FAN1_SPEED" ), "<4>" );
    FakeTime::now += 1.5;
    EXPECT_EQ( sensor( "FAN1_SPEED" ), "<4>" );
    EXPECT_EQ( commands_.size(), 2u );
    FakeTime::now += 0.5;
    sensor( "FAN1_SPEED" );
    EXPECT_EQ( commands_.size(), 3u );
}

TEST_F( IpmitoolHamTest, ARemoteCommandIsBoundedUnlessItIsAlready ) {
    const std::pair<const char *, const char *> cases[] = {
        { "ipmitool -I lanplus -H bmc", "ipmitool -I lanplus -H bmc -N 1 -R 1" },
        { "ipmitool -Hbmc -N 3", "ipmitool -Hbmc -N 3 -R 1" },
        { "ipmitool -H bmc -R2 -N 3", "ipmitool -H bmc -R2 -N 3" },
        { "ipmitool -I open", "ipmitool -I open" },
    };
    for ( const auto &[ given, run ] : cases ) {
        configure( { { "ipmiCommand", given }, { "ipmiBackOff", "0" } } );
        sensor( "A" );
        EXPECT_EQ( commands_.back(), run + ( " -c sdr elist all" + end ) );
    }
}

TEST_F( IpmitoolHamTest, ArgumentsOutOfRangeAbort ) {
    EXPECT_DEATH( configure( { { "ipmiTimeout", "0" } } ), "ipmiTimeout >= 1" );
    EXPECT_DEATH( configure( { { "ipmiCacheAge", "-1" } } ), "ipmiCacheAge >= 0" );
    EXPECT_DEATH( configure( { { "ipmiBackOff", "-1" } } ), "ipmiBackOff >= 0" );
    EXPECT_THROW( configure( { { "ipmiTimeout", "soon" } } ), std::invalid_argument );
}

TEST_F( IpmitoolHamTest, AFailedRefreshKeepsTheCachesAndIsReportedUntilTheBackOffEnds ) {
    sensor( "FAN1_SPEED" );
    FakeTime::now += 2;
    answers_[ listCommand ] = { PL_STATUS_FAILED, "" };
    EXPECT_EQ( sensor( "FAN1_SPEED" ), "<4>" );
    EXPECT_EQ( ham_.status, 4 );
    EXPECT_EQ( ham_.sensors.at( "FAN1_SPEED" ), "5280" );
    EXPECT_TRUE( FakeHost::instance().traced( 0, "Error: ipmitool lists no sensors" ) );
    answers_[ listCommand ] = { PL_STATUS_OK, list };
    FakeTime::now += 4.875;
    EXPECT_EQ( sensor( "PSU1_OK" ), "<4>" );
    EXPECT_EQ( takeCommands(), ( Commands{ listCommand, listCommand } ) );
    FakeTime::now += 0.125;
    EXPECT_EQ( sensor( "PSU1_OK" ), "1" );
    EXPECT_EQ( ham_.status, 0 );
    EXPECT_EQ( takeCommands(), Commands{ listCommand } );
}

TEST_F( IpmitoolHamTest, WhatWasPrintedCountsNotTheExitCode ) {
    answers_[ listCommand ].status = PL_STATUS_FAILED;
    EXPECT_EQ( sensor( "FAN1_SPEED" ), "5280" );
}

TEST_F( IpmitoolHamTest, AToolThatWasKilledHasFailedWhateverItPrinted ) {
    answers_[ listCommand ].status = PL_STATUS_TRANSPORT;
    EXPECT_EQ( sensor( "FAN1_SPEED" ), "<4>" );
    EXPECT_TRUE( FakeHost::instance().traced( 0, "Error: ipmitool took longer than 5 s" ) );
}

TEST_F( IpmitoolHamTest, TextThatIsNoListIsAFailure ) {
    answers_[ listCommand ].output = "SDRR successfully erased\nErr in cmd get sensor sdr info\n";
    EXPECT_EQ( sensor( "FAN1_SPEED" ), "<4>" );
    EXPECT_EQ( ham_.status, 4 );
}

TEST_F( IpmitoolHamTest, ALongNameIsFetchedOnceAndThenWithEachList ) {
    EXPECT_EQ( sensor( "AIRFLOWDIRECTION_1" ), "backToFrontAirflow" );
    EXPECT_EQ( sensor( "AIRFLOWDIRECTION_1" ), "backToFrontAirflow" );
    EXPECT_EQ( takeCommands(), ( Commands{ listCommand, airflowCommand } ) );
    FakeTime::now += 2;
    answers_[ airflowCommand ].output = "AIRFLOWDIRECTION_1,0.000\n";
    EXPECT_EQ( sensor( "FAN1_SPEED" ), "5280" );
    EXPECT_EQ( sensor( "AIRFLOWDIRECTION_1" ), "frontToBackAirflow" );
    EXPECT_EQ( takeCommands(), ( Commands{ listCommand, airflowCommand } ) );
}

TEST_F( IpmitoolHamTest, AllLongNamesAreFetchedTogether ) {
    const std::string one = "ipmitool -c sensor reading 'AIRFLOWDIRECTION_it'\\''s'" + end;
    const std::string both =
        "ipmitool -c sensor reading 'AIRFLOWDIRECTION_1' 'AIRFLOWDIRECTION_it'\\''s'" + end;
    sensor( "AIRFLOWDIRECTION_1" );
    sensor( "AIRFLOWDIRECTION_it's" );
    EXPECT_EQ( takeCommands(), ( Commands{ listCommand, airflowCommand, one } ) );
    FakeTime::now += 2;
    answers_[ both ] = { PL_STATUS_OK, "AIRFLOWDIRECTION_1,1\nAIRFLOWDIRECTION_it's,0\n" };
    EXPECT_EQ( sensor( "AIRFLOWDIRECTION_it's" ), "frontToBackAirflow" );
    EXPECT_EQ( sensor( "AIRFLOWDIRECTION_1" ), "backToFrontAirflow" );
    EXPECT_EQ( takeCommands(), ( Commands{ listCommand, both } ) );
}

TEST_F( IpmitoolHamTest, ALongNameOfWhichTheListHasNotTheBeginningIsNotFetched ) {
    EXPECT_EQ( sensor( "SOMETHING_ELSE_ALTOGETHER" ), "<4>" );
    EXPECT_EQ( commands_, Commands{ listCommand } );
}

TEST_F( IpmitoolHamTest, ALongNameThatTheToolDoesNotPrintIsAbsent ) {
    answers_[ airflowCommand ] = { PL_STATUS_OK, "" };
    EXPECT_EQ( sensor( "AIRFLOWDIRECTION_1" ), "<4>" );
    EXPECT_EQ( ham_.status, 0 );
}

TEST_F( IpmitoolHamTest, ADiscreteSensorWithALongNameIsDescribed ) {
    const std::string command = "ipmitool -c sdr get 'AIRFLOWDIRECTION_1'" + end;
    answers_[ listCommand ].output = "AIRFLOWDIRECTION,04h,ok,10.1,State Asserted\n";
    answers_[ command ] = { PL_STATUS_OK, "AIRFLOWDIRECTION,04h,ok,10.1,State Deasserted\n" };
    EXPECT_EQ( sensor( "AIRFLOWDIRECTION_1" ), "frontToBackAirflow" );
    EXPECT_EQ( takeCommands(), ( Commands{ listCommand, command } ) );
    answers_[ command ].output = "";
    FakeTime::now += 2;
    EXPECT_EQ( sensor( "AIRFLOWDIRECTION_1" ), "<4>" );
    EXPECT_EQ( ham_.status, 0 );
}

TEST_F( IpmitoolHamTest, OtherLongNamesKeepTheirReading ) {
    answers_[ listCommand ].output = "POWERSUPPLY1_CUR,3,Amps,ok\n";
    answers_[ "ipmitool -c sensor reading 'POWERSUPPLY1_CURRENT_IN'" + end ] = {
        PL_STATUS_OK, "POWERSUPPLY1_CURRENT_IN,3.100\n" };
    EXPECT_EQ( sensor( "POWERSUPPLY1_CURRENT_IN" ), "3.100" );
}

TEST_F( IpmitoolHamTest, ANameAsLongAsTheListPrintsIsNotTakenForALongerOneThatBeginsSo ) {
    const std::string command = "ipmitool -c sensor reading 'PSU1_CURRENT_OUT'" + end;
    answers_[ listCommand ].output = "PSU1_CURRENT_OUT,9,Amps,ok\n";
    // The list's line is that of PSU1_CURRENT_OUTLET; the tool knows no sensor of the short name.
    answers_[ command ] = { PL_STATUS_OK, "" };
    EXPECT_EQ( sensor( "PSU1_CURRENT_OUT" ), "<4>" );
    EXPECT_EQ( takeCommands(), ( Commands{ listCommand, command } ) );
    FakeTime::now += 2;
    answers_[ command ].output = "PSU1_CURRENT_OUT,3.100\n";
    EXPECT_EQ( sensor( "PSU1_CURRENT_OUT" ), "3.100" );
}

TEST_F( IpmitoolHamTest, ANameAsLongAsTheListPrintsIsAskedForInTheListsLetterCase ) {
    answers_[ listCommand ].output = "Psu1_Current_Out,9,Amps,ok\n"
                                     "Psu1_Present_Now,02h,ok,10.1,Presence detected\n";
    answers_[ "ipmitool -c sensor reading 'Psu1_Current_Out'" + end ] = {
        PL_STATUS_OK, "Psu1_Current_Out,3.100\n" };
    answers_[ "ipmitool -c sdr get 'Psu1_Present_Now'" + end ] = {
        PL_STATUS_OK, "Psu1_Present_Now,02h,ok,10.1,Presence detected\n" };
    EXPECT_EQ( sensor( "PSU1_CURRENT_OUT" ), "3.100" );
    EXPECT_EQ( sensor( "psu1_present_now" ), "1" );
}

TEST_F( IpmitoolHamTest, ALongNameWhoseRunIsKilledMakesTheRefreshFail ) {
    answers_[ airflowCommand ].status = PL_STATUS_TRANSPORT;
    EXPECT_EQ( sensor( "AIRFLOWDIRECTION_1" ), "<4>" );
    EXPECT_EQ( sensor( "FAN1_SPEED" ), "<4>" );
    EXPECT_EQ( takeCommands(), ( Commands{ listCommand, airflowCommand } ) );
    FakeTime::now += 6;
    answers_[ airflowCommand ].status = PL_STATUS_OK;
    EXPECT_EQ( sensor( "FAN1_SPEED" ), "5280" );
    EXPECT_EQ( sensor( "AIRFLOWDIRECTION_1" ), "backToFrontAirflow" );
    EXPECT_EQ( takeCommands(), ( Commands{ listCommand, airflowCommand } ) );
}

TEST_F( IpmitoolHamTest, FrusAreReadOnceAskedForAndServeWhileFresh ) {
    std::string model;
    EXPECT_EQ( ham_.psuPresence( "psu1_fru", &model ), 0 );
    EXPECT_EQ( model, "MPS-550" );
    Ham::FruData data;
    EXPECT_EQ( ham_.getFruVal( "PSU1_FRU", data ), 0 );
    EXPECT_EQ( data.serial, "S1" );
    EXPECT_EQ( takeCommands(), ( Commands{ listCommand, fruCommand } ) );
    FakeTime::now += 2;
    answers_[ fruCommand ].output = "FRU Device Description : PSU1_FRU (ID 1)\n"
                                    " Device not present (Timeout)\n";
    EXPECT_EQ( ham_.psuPresence( "PSU1_FRU", &model ), 4 );
    EXPECT_EQ( ham_.status, 0 );
}

TEST_F( IpmitoolHamTest, TheBuiltinFruNeedsNoPlaceInTheList ) {
    answers_[ fruCommand ].output = "FRU Device Description : Builtin FRU Device (ID 0)\n"
                                    " Board Product : Mirelund\n";
    std::string model;
    EXPECT_EQ( ham_.psuPresence( "Builtin FRU Device", &model ), 0 );
    EXPECT_EQ( model, "Mirelund" );
}

TEST_F( IpmitoolHamTest, FrusThatCannotBeReadMakeTheRefreshFail ) {
    answers_[ fruCommand ].output = "";
    std::string model;
    EXPECT_EQ( ham_.psuPresence( "PSU1_FRU", &model ), 4 );
    EXPECT_EQ( ham_.status, 4 );
    EXPECT_EQ( sensor( "FAN1_SPEED" ), "<4>" );
    EXPECT_TRUE( FakeHost::instance().traced( 0, "Error: ipmitool lists no FRUs" ) );
    EXPECT_EQ( takeCommands(), ( Commands{ listCommand, fruCommand } ) );
    answers_[ fruCommand ].output = fruText;
    FakeTime::now += 6;
    EXPECT_EQ( ham_.psuPresence( "PSU1_FRU", &model ), 0 );
}

TEST_F( IpmitoolHamTest, IdentifiersComeFromTheCaches ) {
    EXPECT_EQ( ham_.psuId( "PSU1_FRU" ), "MPS-550" );
    EXPECT_EQ( ham_.fanId( "psu1_fru" ), "MPS-550" );
    EXPECT_EQ( ham_.fanId( "FAN1_FRU" ), "" );
    EXPECT_EQ( ham_.airflowId( "1" ), "backToFrontAirflow" );
    EXPECT_EQ( ham_.airflowId( "2" ), "" );
}

TEST( IpmitoolHam, RunsTheCommandForReal ) {
    const auto ham = Ham::IpmitoolHam::create();
    Drivers::DriverArgs args;
    args.driverArgs[ "ipmiCommand" ] = "printf 'FAN1,5280,RPM,ok\\n'; true";
    ham->configure( args );
    int rpm = 0;
    EXPECT_EQ( ham->getSensorVal( "fan1", &rpm ), 0 );
    EXPECT_EQ( rpm, 5280 );
}

TEST_F( IpmitoolHamTest, LookupsOfAFreshListDoNotAllocate ) {
    answers_[ listCommand ].output += "psu1_current_out,20,Amps,ok\n";
    answers_[ "ipmitool -c sensor reading 'psu1_current_out'" + end ] = { PL_STATUS_OK,
                                                                          "psu1_current_out,20\n" };
    const std::string name = "PSU1_Current_Out";
    float amperes = 0;
    std::string text;
    EXPECT_EQ( ham_.getSensorVal( name, &amperes ), 0 );
    int status;
    size_t allocations;
    {
        const support::AllocationCounter counter;
        status = ham_.getSensorVal( name, &amperes );
        status += ham_.getSensorVal( name, &text );
        allocations = counter.count();
    }
    EXPECT_EQ( status, 0 );
    EXPECT_EQ( amperes, 20 );
    EXPECT_EQ( text, "20" );
    EXPECT_EQ( allocations, 0u );
    EXPECT_EQ( commands_.size(), 2u );
}

} // namespace
