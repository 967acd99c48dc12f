#include "orvan/board/DriverRules.h"

#include <climits>

#include <gmock/gmock.h>

namespace {

using orvan::accepts;
using orvan::applies;
using orvan::ArgType;
using orvan::Argument;
using orvan::Condition;
using orvan::DriverRow;
using orvan::expected;
using orvan::findDriver;
using orvan::Service;
using orvan::serviceRow;

TEST( DriverRules, FindsEveryDriverByItsExactName ) {
    std::string names;
    for ( const DriverRow &row : orvan::driverTable() ) {
        EXPECT_EQ( findDriver( row.name ), &row );
        names += ( names.empty() ? "\"" : ", \"" ) + std::string( row.name ) + "\"";
    }
    EXPECT_EQ( orvan::driverNames(), names );
    EXPECT_EQ( findDriver( "dummy" ), nullptr );
    EXPECT_EQ( findDriver( "" ), nullptr );
}

TEST( DriverRules, DriversServeWhatTheyMakeAndNoMore ) {
    EXPECT_EQ( serviceRow( *findDriver( "MireYCPLD" ), Service::QsfpXcvr ), nullptr );
    EXPECT_EQ( serviceRow( *findDriver( "MireYQSFP" ), Service::SfpXcvr ), nullptr );
    EXPECT_EQ( serviceRow( *findDriver( "EmersonPmbus" ), Service::TempSensor ), nullptr );
    EXPECT_EQ( serviceRow( *findDriver( "MultiSlot" ), Service::Gpio ), nullptr );
    EXPECT_EQ( orvan::driverNames( Service::Led ), "\"MirelundPCA9555\", \"MirePsuPCA9555\"" );
    EXPECT_EQ( orvan::driverNames( Service::SmbusProxy ), "\"SmbusProxyDriver\"" );
}

TEST( DriverRules, IntegersAreDecimalAndWhole ) {
    const Argument rule{ .name = "id", .text = "", .minimum = -3, .maximum = 12 };
    EXPECT_EQ( expected( rule ), "an integer from -3 to 12" );
    for ( const char *good : { "-3", "0", "12", "007" } ) {
        EXPECT_TRUE( accepts( rule, good ) ) << good;
    }
    for ( const char *bad : { "", "-4", "13", "1x", " 1", "0x1", "1.0", "99999999999999999999" } ) {
        EXPECT_FALSE( accepts( rule, bad ) ) << bad;
    }
}

TEST( DriverRules, IntegersWithoutABoundEndWithTheLibrarysOwn ) {
    const Argument rule{ .name = "rpm", .text = "", .minimum = 1, .maximum = INT_MAX };
    EXPECT_EQ( expected( rule ), "an integer of at least 1" );
    EXPECT_TRUE( accepts( rule, "2147483647" ) );
    EXPECT_FALSE( accepts( rule, "2147483648" ) );
    EXPECT_FALSE( accepts( rule, "0" ) );
}

TEST( DriverRules, FlagsAndTexts ) {
    const Argument flag{ .name = "f", .text = "", .type = ArgType::Flag };
    EXPECT_EQ( expected( flag ), "true or false" );
    EXPECT_TRUE( accepts( flag, "true" ) );
    EXPECT_TRUE( accepts( flag, "false" ) );
    EXPECT_FALSE( accepts( flag, "1" ) ) << "the library would take it as false";
    const Argument text{ .name = "t", .text = "", .type = ArgType::Text };
    EXPECT_EQ( expected( text ), "a text that is not empty" );
    EXPECT_TRUE( accepts( text, "x" ) );
    EXPECT_FALSE( accepts( text, "" ) );
    const Argument any{ .name = "a", .text = "", .type = ArgType::AnyText };
    EXPECT_EQ( expected( any ), "a text" );
    EXPECT_TRUE( accepts( any, "x" ) );
    EXPECT_TRUE( accepts( any, "" ) );
}

TEST( DriverRules, ChoicesAndTemplates ) {
    const Argument choice{
        .name = "c", .text = "", .type = ArgType::OneOf, .choices = { "multifan", "psu" } };
    EXPECT_EQ( expected( choice ), "one of \"multifan\", \"psu\"" );
    EXPECT_TRUE( accepts( choice, "psu" ) );
    EXPECT_FALSE( accepts( choice, "multifan|psu" ) );
    EXPECT_FALSE( accepts( choice, "fan" ) );
    const Argument holding{
        .name = "h", .text = "", .type = ArgType::Template, .choices = { "a", "b" } };
    EXPECT_EQ( expected( holding ), "a text with the placeholders {a}, {b}" );
    EXPECT_TRUE( accepts( holding, "{b} and {a}" ) );
    EXPECT_FALSE( accepts( holding, "{a} and b" ) );
}

TEST( DriverRules, ConditionsSayWhenTheyHold ) {
    EXPECT_TRUE( applies( {}, {} ) );
    const Condition given{ Condition::Given, "y" };
    EXPECT_FALSE( applies( given, {} ) );
    EXPECT_TRUE( applies( given, { { "y", "" } } ) );
    const Condition notGiven{ Condition::NotGiven, "y" };
    EXPECT_TRUE( applies( notGiven, {} ) );
    EXPECT_FALSE( applies( notGiven, { { "y", "" } } ) );
    const Condition hasText{ Condition::HasText, "y", "tool" };
    EXPECT_FALSE( applies( hasText, {} ) );
    EXPECT_FALSE( applies( hasText, { { "y", "other" } } ) );
    EXPECT_TRUE( applies( hasText, { { "y", "tool" } } ) );
}

} // namespace
