#include "OrvanGeneric/Ham/IpmiHam.h"

#include <stdexcept>

#include <gtest/gtest.h>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/NotImplementedException.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedIpmiHam.h"

namespace {

using Component::NotImplementedException;

/** A Ham that adds nothing. */
struct BareHam final : Ham::IpmiHam {};

template <typename Call>
std::string textOfWhatItThrows( Call call ) {
    try {
        call();
    } catch ( const NotImplementedException &exception ) {
        return exception.what();
    }
    return "nothing thrown";
}

class IpmiHamTest : public testing::Test {
  protected:
    ScriptedIpmiHam ham_;
    const FakeHost &host_ = FakeHost::instance();
};

TEST_F( IpmiHamTest, BaseVersionsOfTheIdentifiersThrow ) {
    BareHam ham;
    EXPECT_EQ( textOfWhatItThrows( [ & ] { ham.fanId( "x" ); } ), "Not implemented fanId" );
    EXPECT_EQ( textOfWhatItThrows( [ & ] { ham.psuId( "x" ); } ), "Not implemented psuId" );
    EXPECT_EQ( textOfWhatItThrows( [ & ] { ham.airflowId( "x" ); } ), "Not implemented airflowId" );
}

TEST_F( IpmiHamTest, BaseVersionsOfConfigureAndRefreshDoNothing ) {
    BareHam ham;
    ham.configure( Drivers::DriverArgs() );
    ham.refresh( "FAN1" );
    EXPECT_TRUE( ham.sensors.empty() );
    EXPECT_TRUE( ham.frus.empty() );
    EXPECT_EQ( ham.status, 0 );
}

TEST_F( IpmiHamTest, LookupsIgnoreTheCaseOfTheNameGiven ) {
    ham_.sensors[ "FAN1_SPEED" ] = "5280";
    ham_.frus[ "PSU1" ] = { "DPS", "S1" };
    std::string text;
    EXPECT_EQ( ham_.getSensorVal( "fan1_Speed", &text ), 0 );
    EXPECT_EQ( text, "5280" );
    Ham::FruData data;
    EXPECT_EQ( ham_.getFruVal( "psu1", data ), 0 );
    EXPECT_EQ( data.model, "DPS" );
    EXPECT_EQ( data.serial, "S1" );
}

TEST_F( IpmiHamTest, AnEntryUnderALowerCaseNameIsNotFound ) {
    ham_.sensors[ "fan1" ] = "1";
    std::string text = "before";
    EXPECT_EQ( ham_.getSensorVal( "fan1", &text ), 4 );
    EXPECT_EQ( text, "before" );
}

TEST_F( IpmiHamTest, WhatIsMissingGives4AndLeavesTheOutputAlone ) {
    ham_.status = 6;
    std::string text = "before";
    int number = 7;
    float fraction = 1.5f;
    Ham::FruData data = { "model", "serial" };
    std::string model = "before";
    EXPECT_EQ( ham_.getSensorVal( "X", &text ), 4 );
    EXPECT_EQ( ham_.getSensorVal( "X", &number ), 4 );
    EXPECT_EQ( ham_.getSensorVal( "X", &fraction ), 4 );
    EXPECT_EQ( ham_.getFruVal( "X", data ), 4 );
    EXPECT_EQ( ham_.psuPresence( "X", &model ), 4 );
    EXPECT_EQ( text, "before" );
    EXPECT_EQ( number, 7 );
    EXPECT_EQ( fraction, 1.5f );
    EXPECT_EQ( data.model, "model" );
    EXPECT_EQ( data.serial, "serial" );
    EXPECT_EQ( model, "before" );
}

TEST_F( IpmiHamTest, AFoundEntryIsReportedWithTheStatusOfTheLastFill ) {
    ham_.status = 4;
    ham_.sensors[ "FAN1" ] = "5280";
    ham_.frus[ "PSU1" ] = { "DPS", "S1" };
    std::string text;
    int number = 7;
    float fraction = 1.5f;
    Ham::FruData data;
    std::string model = "before";
    EXPECT_EQ( ham_.getSensorVal( "FAN1", &text ), 4 );
    EXPECT_EQ( text, "5280" );
    EXPECT_EQ( ham_.getSensorVal( "FAN1", &number ), 4 );
    EXPECT_EQ( number, 7 );
    EXPECT_EQ( ham_.getSensorVal( "FAN1", &fraction ), 4 );
    EXPECT_EQ( fraction, 1.5f );
    EXPECT_EQ( ham_.getFruVal( "PSU1", data ), 4 );
    EXPECT_EQ( data.model, "DPS" );
    EXPECT_EQ( ham_.psuPresence( "PSU1", &model ), 4 );
    EXPECT_EQ( model, "before" );
}

TEST_F( IpmiHamTest, IntegersSkipLeadingBlanksAndIgnoreWhatFollows ) {
    int value = 0;
    ham_.sensors[ "A" ] = "  -42 RPM";
    EXPECT_EQ( ham_.getSensorVal( "A", &value ), 0 );
    EXPECT_EQ( value, -42 );
    ham_.sensors[ "A" ] = "3.9";
    EXPECT_EQ( ham_.getSensorVal( "A", &value ), 0 );
    EXPECT_EQ( value, 3 );
}

TEST_F( IpmiHamTest, FloatsSkipLeadingBlanksAndIgnoreWhatFollows ) {
    float value = 0;
    ham_.sensors[ "A" ] = " 12.25 Volts";
    EXPECT_EQ( ham_.getSensorVal( "A", &value ), 0 );
    EXPECT_EQ( value, 12.25f );
}

TEST_F( IpmiHamTest, ReadingsThatAreNoNumbersThrow ) {
    int number;
    float fraction;
    for ( const char *reading : { "", "na", "RPM 12" } ) {
        ham_.sensors[ "A" ] = reading;
        EXPECT_THROW( ham_.getSensorVal( "A", &number ), std::invalid_argument ) << reading;
        EXPECT_THROW( ham_.getSensorVal( "A", &fraction ), std::invalid_argument ) << reading;
    }
}

TEST_F( IpmiHamTest, NumbersThatDoNotFitThrow ) {
    int number;
    float fraction;
    ham_.sensors[ "A" ] = "2147483648";
    EXPECT_THROW( ham_.getSensorVal( "A", &number ), std::out_of_range );
    ham_.sensors[ "A" ] = "1e50";
    EXPECT_THROW( ham_.getSensorVal( "A", &fraction ), std::out_of_range );
}

TEST_F( IpmiHamTest, EachLookupRefreshesFirstWithTheNameAsGiven ) {
    std::string text;
    int number;
    float fraction;
    Ham::FruData data;
    bool present;
    ham_.getSensorVal( "text", &text );
    ham_.getSensorVal( "Int", &number );
    ham_.getSensorVal( "float", &fraction );
    ham_.getFruVal( "fru", data );
    ham_.fanPresence( "fan", &present );
    ham_.psuPresence( "psu", &text );
    EXPECT_EQ( ham_.refreshed,
               ( std::vector<std::string>{ "text", "Int", "float", "fru", "fan", "psu" } ) );
}

TEST_F( IpmiHamTest, AFanIsPresentWhenItsSensorIsThere ) {
    ham_.sensors[ "FAN1" ] = "0";
    bool present = false;
    EXPECT_EQ( ham_.fanPresence( "fan1", &present ), 0 );
    EXPECT_TRUE( present );
    EXPECT_EQ( host_.traces, ( Traces{ { 6, "IpmiHam::fanPresence  'fan1' 0 1" } } ) );
}

TEST_F( IpmiHamTest, AFanIsAbsentWithoutASensorOrAGoodFill ) {
    bool present = true;
    EXPECT_EQ( ham_.fanPresence( "FAN1", &present ), 4 );
    EXPECT_FALSE( present );
    EXPECT_EQ( host_.traces.back(), ( Trace{ 6, "IpmiHam::fanPresence  'FAN1' 4 0" } ) );
    ham_.sensors[ "FAN1" ] = "5280";
    ham_.status = 6;
    present = true;
    EXPECT_EQ( ham_.fanPresence( "FAN1", &present ), 6 );
    EXPECT_FALSE( present );
    EXPECT_EQ( host_.traces.back(), ( Trace{ 6, "IpmiHam::fanPresence  'FAN1' 6 0" } ) );
}

TEST_F( IpmiHamTest, ASuppliesPresenceGivesItsModel ) {
    ham_.frus[ "PSU1" ] = { "DPS550", "S1" };
    std::string model;
    EXPECT_EQ( ham_.psuPresence( "Psu1", &model ), 0 );
    EXPECT_EQ( model, "DPS550" );
}

} // namespace
