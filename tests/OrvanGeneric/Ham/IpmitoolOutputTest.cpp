#include "OrvanGeneric/Ham/IpmitoolOutput.h"

#include <gtest/gtest.h>

namespace {

using Readings = std::map<std::string, std::string>;
using Names = std::set<std::string>;

TEST( IpmitoolSensorList, ReadsEveryKindOfLine ) {
    // As ipmitool 1.8.19 prints it.
    const Ham::SensorList list = Ham::parseSensorList( "FAN1_SPEED,10000,RPM,ok\n"
                                                       "PSU1_OK,03h,ok,10.1,Presence detected\n"
                                                       "FAN2_SPEED,,,ns\n"
                                                       "PSU2_OK,06h,ns,10.1,No Reading\n"
                                                       "PSU3_OK,07h,ok,10.1,\n"
                                                       "PSU1_CURRENT_OUT,3.100,Amps,ok\n"
                                                       "PSU1_FRU,00h,ns,10.1\n" );
    EXPECT_TRUE( list.recognised() );
    EXPECT_EQ( list.readings, ( Readings{ { "FAN1_SPEED", "10000" },
                                          { "PSU1_OK", "1" },
                                          { "PSU3_OK", "0" },
                                          { "PSU1_CURRENT_OUT", "3.100" } } ) );
    EXPECT_EQ( list.analog, ( Names{ "FAN1_SPEED", "FAN2_SPEED", "PSU1_CURRENT_OUT" } ) );
    EXPECT_EQ( list.discrete, ( Names{ "PSU1_OK", "PSU2_OK", "PSU3_OK" } ) );
    EXPECT_EQ( list.frus, ( Names{ "PSU1_FRU" } ) );
}

TEST( IpmitoolSensorList, KeepsCommasInNames ) {
    const Ham::SensorList list = Ham::parseSensorList( "Ambient, left,42,degrees C,ok\n"
                                                       "PSU, rear,0Ah,ok,10.1,State Asserted\n"
                                                       "Last,,-3.5,Volts,nc\n" );
    EXPECT_EQ(
        list.readings,
        ( Readings{ { "Ambient, left", "42" }, { "PSU, rear", "1" }, { "Last,", "-3.5" } } ) );
}

TEST( IpmitoolSensorList, StatesThatSpeakOfAFaultOrOfAbsenceAre0 ) {
    const std::pair<const char *, const char *> cases[] = {
        { "", "0" },
        { "Presence detected", "1" },
        { "State Asserted", "1" },
        { "State Deasserted", "0" },
        { "Device Present", "1" },
        { "Device Absent", "0" },
        { "Device Disabled", "0" },
        { "Present", "1" },
        { "Absent", "0" },
        { "Disabled", "0" },
        { "Limit Exceeded", "0" },
        { "Limit Not Exceeded", "1" },
        { "Predictive Failure Deasserted", "1" },
        { "Presence detected, Failure detected", "0" },
        { "Presence detected, Predictive failure", "0" },
        { "Presence detected, Power Supply AC lost", "0" },
        { "Presence detected, AC lost or out-of-range", "0" },
        { "AC out-of-range, but present", "0" },
        { "Config Error: Vendor Mismatch", "0" },
        { "Power Supply Inactive", "0" },
        { "Presence detected, Thermal Trip", "0" },
        { "Identify Status, Device Installed", "1" },
    };
    for ( const auto &[ states, reading ] : cases ) {
        EXPECT_EQ( Ham::parseSensorList( std::string( "S,01h,ok,10.1," ) + states ).readings,
                   ( Readings{ { "S", reading } } ) )
            << states;
    }
}

TEST( IpmitoolSensorList, EveryThresholdStatusIsAReading ) {
    for ( const char *status :
          { "ok", "nc", "cr", "nr", "lnc", "lcr", "lnr", "unc", "ucr", "unr" } ) {
        EXPECT_EQ( Ham::parseSensorList( std::string( "T,90,degrees C," ) + status ).readings,
                   ( Readings{ { "T", "90" } } ) )
            << status;
    }
}

TEST( IpmitoolSensorList, AnAnalogSensorWithoutANumberHasNoReading ) {
    for ( const char *line :
          { "F,,,ns", "F,12,RPM,ns", "F,,RPM,ok", "F,disabled,,ns", "F,nan,RPM,ok", "F,inf,RPM,ok",
            "F,1e99,RPM,ok", "F,12x,RPM,ok", "F,1e-40,RPM,ok", "F,-1e-40,RPM,ok",
            "F,2147483648,RPM,ok", "F,-2147483648,RPM,ok" } ) {
        const Ham::SensorList list = Ham::parseSensorList( line );
        EXPECT_EQ( list.readings, Readings() ) << line;
        EXPECT_EQ( list.analog, Names{ "F" } ) << line;
    }
}

TEST( IpmitoolSensorList, TheGreatestAndTheLeastNumbersThatTheLookUpsConvert ) {
    // The last float before 2^31, the least normal one, and 0 itself.
    EXPECT_EQ(
        Ham::parseSensorList( "A,2147483520,RPM,ok\nB,1.17549435e-38,V,ok\nC,0,V,ok\n"
                              "D,-0.000,V,ok\n" )
            .readings,
        ( Readings{
            { "A", "2147483520" }, { "B", "1.17549435e-38" }, { "C", "0" }, { "D", "-0.000" } } ) );
}

TEST( IpmitoolSensorList, OfEqualNamesTheFirstReadingCounts ) {
    EXPECT_EQ( Ham::parseSensorList( "A,,,ns\nA,2,RPM,ok\nA,3,RPM,ok\n" ).readings,
               ( Readings{ { "A", "2" } } ) );
}

TEST( IpmitoolSensorList, TakesLinesThatEndAsDosDoesAndALastOneWithoutAnEnd ) {
    EXPECT_EQ( Ham::parseSensorList( "A,1,RPM,ok\r\nB,2,RPM,ok" ).readings,
               ( Readings{ { "A", "1" }, { "B", "2" } } ) );
}

TEST( IpmitoolSensorList, OtherTextIsNoList ) {
    const std::string rubbish( "\x00\xFF\x01,,,,\n\x80,\n,,,ns\n\n,01h,ok,10.1,x\n", 33 );
    for ( const std::string &text :
          { std::string(), rubbish, std::string( "\n\n\n" ), std::string( ",,,,,,," ),
            std::string( "SDRR successfully erased\nErr in cmd get sensor sdr info\n" ),
            std::string( "A,1,RPM" ), std::string( "A,1,ok" ), std::string( "A,1,RPM,what" ),
            std::string( "A\x01,1,RPM,ok" ), std::string( "A,01h,ok,10,x" ),
            std::string( "A,01h,ok,.1,x" ), std::string( "A,01h,ok,10.,x" ),
            std::string( "A,01h,ok" ) } ) {
        EXPECT_FALSE( Ham::parseSensorList( text ).recognised() ) << text;
    }
}

TEST( IpmitoolSensorList, ALineLongerThanAnyIsPassedOver ) {
    const std::string longest( 1024 - 9, 'x' );
    EXPECT_TRUE( Ham::parseSensorList( longest + ",1,RPM,ok\n" ).recognised() );
    EXPECT_EQ( Ham::parseSensorList( longest + "x,1,RPM,ok\nA,1,RPM,ok\n" ).readings,
               ( Readings{ { "A", "1" } } ) );
}

TEST( IpmitoolSensorList, OfAMillionLinesAsManyAreKeptAsABmcCanHaveRecords ) {
    std::string output;
    for ( int i = 0; i < 1000000; ++i ) {
        output += std::to_string( i ) + ",1,RPM,ok\n";
    }
    EXPECT_EQ( Ham::parseSensorList( output ).readings.size(), 65534u );
}

TEST( IpmitoolSensorReadings, TakesWholeNamesAndNumbersOnly ) {
    EXPECT_EQ( Ham::parseSensorReadings( "AIRFLOWDIRECTION_1,1\nAmbient, left,42\n"
                                         "PSU1_CURRENT_OUT,3.100\nno comma\n,5\nA,\nB,na\n" ),
               ( Readings{ { "AIRFLOWDIRECTION_1", "1" },
                           { "Ambient, left", "42" },
                           { "PSU1_CURRENT_OUT", "3.100" } } ) );
    EXPECT_TRUE( Ham::parseSensorReadings( "" ).empty() );
}

TEST( IpmitoolFruList, ReadsTheProductElseTheBoard ) {
    // As ipmitool 1.8.19 prints it.
    const Ham::FruList list =
        Ham::parseFruList( "FRU Device Description : Builtin FRU Device (ID 0)\n"
                           " Board Mfg Date        : Mon Jan  1 00:00:00 1996 UTC\n"
                           " Board Product         : Switch board\n"
                           " Board Serial          : B1\n"
                           "\n"
                           "FRU Device Description : PSU1_FRU (ID 1)\n"
                           " Board Product         : Converter\n"
                           " Board Serial          : B2\n"
                           " Product Manufacturer  : Mirelund\n"
                           " Product Name          : Power, supply: 550\n"
                           " Product Part Number   : MPS-550\n"
                           " Product Serial        : GTVD1615001656\n"
                           "\n" );
    EXPECT_TRUE( list.recognised );
    ASSERT_EQ( list.frus.size(), 2u );
    EXPECT_EQ( list.frus.at( "Builtin FRU Device" ).model, "Switch board" );
    EXPECT_EQ( list.frus.at( "Builtin FRU Device" ).serial, "B1" );
    EXPECT_EQ( list.frus.at( "PSU1_FRU" ).model, "Power, supply: 550" );
    EXPECT_EQ( list.frus.at( "PSU1_FRU" ).serial, "GTVD1615001656" );
}

TEST( IpmitoolFruList, AUnitThatIsNotThereIsNamedButNotKept ) {
    const Ham::FruList list =
        Ham::parseFruList( "FRU Device Description : PSU (left) (ID 3)\n"
                           " Device not present (Invalid data field in request)\n\n"
                           "FRU Device Description : PSU (right) (ID 4)\n Product Serial : S\n" );
    EXPECT_TRUE( list.recognised );
    ASSERT_EQ( list.frus.size(), 1u );
    EXPECT_EQ( list.frus.at( "PSU (right)" ).model, "" );
    EXPECT_EQ( list.frus.at( "PSU (right)" ).serial, "S" );
}

TEST( IpmitoolFruList, OtherTextIsNoList ) {
    for ( const char *text : { "", "\n:\n::\n", " Product Name : nobody's\n", "\xFF\x80 : x",
                               "FRU Device Description :\n Product Name : x\n" } ) {
        const Ham::FruList list = Ham::parseFruList( text );
        EXPECT_FALSE( list.recognised ) << text;
        EXPECT_TRUE( list.frus.empty() ) << text;
    }
}

} // namespace
