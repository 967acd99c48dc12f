/** The bounds of every driver's arguments, worked out from what the drivers assert. */
#include "orvan/board/DriverTable.h"

#include <gmock/gmock.h>

namespace {

using orvan::ArgRule;
using orvan::ArgType;
using orvan::DriverRow;
using orvan::findDriver;
using orvan::Service;

TEST( DriverTable, NamesEveryDriverOfTheLibrary ) {
    std::vector<std::string> names;
    for ( const DriverRow &row : orvan::driverTable() ) {
        names.push_back( row.name );
    }
    EXPECT_THAT( names, testing::UnorderedElementsAre(
                            "Dummy", "GpioDriver", "SmbusProxyDriver", "GenericSmbusMux", "PCA9548",
                            "Pmbus", "PsuSlot", "MireQCPLD", "MultiSlot", "GenericPCA9555",
                            "MirelundPCA9555", "MirelundPsoc", "MirePsuPCA9555", "EmersonPmbus",
                            "MirelundSFP", "MireSPCA9555", "MireCLedCPLD", "MireYQSFP", "MireYCPLD",
                            "Ipmi" ) );
    EXPECT_EQ( findDriver( "dummy" ), nullptr );
}

struct Bounds {
    const char *driver;
    Service service;
    const char *argument;
    long minimum;
    long maximum;
};
/** For the test's name. */
void PrintTo( const Bounds &bounds, std::ostream *out ) {
    *out << bounds.driver << ' ' << orvan::serviceName( bounds.service ) << ' ' << bounds.argument;
}

class DriverBounds : public testing::TestWithParam<Bounds> {};

/** The rule that a description with @p value alone would be judged by. */
bool accepted( const Bounds &bounds, const std::string &value ) {
    const std::map<std::string, std::string> args = { { bounds.argument, value } };
    for ( const ArgRule &rule : findDriver( bounds.driver )->serviceRow( bounds.service )->args ) {
        if ( rule.name == std::string( bounds.argument ) && rule.applies( args ) ) {
            return rule.accepts( value );
        }
    }
    ADD_FAILURE() << bounds.driver << " has no rule for " << bounds.argument;
    return false;
}

TEST_P( DriverBounds, Hold ) {
    const Bounds &bounds = GetParam();
    EXPECT_TRUE( accepted( bounds, std::to_string( bounds.minimum ) ) );
    EXPECT_TRUE( accepted( bounds, std::to_string( bounds.maximum ) ) );
    EXPECT_FALSE( accepted( bounds, std::to_string( bounds.minimum - 1 ) ) );
    EXPECT_FALSE( accepted( bounds, std::to_string( bounds.maximum + 1 ) ) );
}

const Bounds allBounds[] = {
    { "Dummy", Service::Gpio, "bitpos", 0, 7 },
    { "GenericPCA9555", Service::Gpio, "bank", 0, 1 },
    { "GenericPCA9555", Service::Gpio, "bit", 0, 7 },
    { "Pmbus", Service::Fan, "fanId", 1, 2 },
    { "Pmbus", Service::TempSensor, "tempSensor", 1, 3 },
    { "PsuSlot", Service::Slot, "psuId", 1, 2 },
    { "MireQCPLD", Service::SfpXcvr, "id", 1, 48 },
    { "MireQCPLD", Service::QsfpXcvr, "id", 1, 32 },
    { "MireYCPLD", Service::SfpXcvr, "id", 1, 48 },
    { "MirelundSFP", Service::SfpXcvr, "id", 1, 48 },
    { "MireYQSFP", Service::QsfpXcvr, "id", 49, 56 },
    { "MireSPCA9555", Service::QsfpXcvr, "id", 49, 54 },
    { "MultiSlot", Service::Slot, "id", 1, 5 },
    { "MirelundPCA9555", Service::Led, "id", 1, 4 },
    { "MirelundPCA9555", Service::Slot, "fanId", 1, 4 },
    { "MirelundPsoc", Service::Fan, "fanId", 1, 4 },
    { "MirelundPsoc", Service::TempSensor, "register", 0, 255 },
    { "MirePsuPCA9555", Service::Led, "id", 1, 2 },
    { "EmersonPmbus", Service::Fan, "fanId", 1, 2 },
    { "Ipmi", Service::Psu, "psuId", 1, 2 },
    { "Ipmi", Service::Fan, "fanId", 1, 7 },
    { "Ipmi", Service::Slot, "fanId", 1, 8 },
};
INSTANTIATE_TEST_SUITE_P( All, DriverBounds, testing::ValuesIn( allBounds ) );

TEST( DriverTable, DriversServeWhatTheyMakeAndNoMore ) {
    EXPECT_EQ( findDriver( "MireYCPLD" )->serviceRow( Service::QsfpXcvr ), nullptr );
    EXPECT_EQ( findDriver( "MireYQSFP" )->serviceRow( Service::SfpXcvr ), nullptr );
    EXPECT_EQ( findDriver( "EmersonPmbus" )->serviceRow( Service::TempSensor ), nullptr );
    EXPECT_EQ( findDriver( "MultiSlot" )->serviceRow( Service::Gpio ), nullptr );
    EXPECT_EQ( orvan::driverNames( Service::Led ), "\"MirelundPCA9555\", \"MirePsuPCA9555\"" );
    EXPECT_EQ( orvan::driverNames( Service::SmbusProxy ), "\"SmbusProxyDriver\"" );
}

TEST( ArgRule, IntegersAreDecimalAndWhole ) {
    const ArgRule rule{ "id", true, ArgType::Integer, -3, 12 };
    EXPECT_EQ( rule.expected(), "an integer from -3 to 12" );
    for ( const char *good : { "-3", "0", "12", "007" } ) {
        EXPECT_TRUE( rule.accepts( good ) ) << good;
    }
    for ( const char *bad : { "", "-4", "13", "1x", " 1", "0x1", "1.0", "99999999999999999999" } ) {
        EXPECT_FALSE( rule.accepts( bad ) ) << bad;
    }
}

TEST( ArgRule, FlagsTextsAndTemplates ) {
    const ArgRule flag{ "f", false, ArgType::Flag };
    EXPECT_EQ( flag.expected(), "true or false" );
    EXPECT_TRUE( flag.accepts( "true" ) );
    EXPECT_TRUE( flag.accepts( "false" ) );
    EXPECT_FALSE( flag.accepts( "1" ) ) << "the library would take it as false";
    const ArgRule text{ "t", true, ArgType::Text };
    EXPECT_TRUE( text.accepts( "x" ) );
    EXPECT_FALSE( text.accepts( "" ) );
    const ArgRule choice{ "c", true, ArgType::OneOf, 0, 0, "multifan|psu" };
    EXPECT_EQ( choice.expected(), "one of \"multifan\", \"psu\"" );
    EXPECT_TRUE( choice.accepts( "psu" ) );
    EXPECT_FALSE( choice.accepts( "multifan|psu" ) );
    EXPECT_FALSE( choice.accepts( "fan" ) );
    const ArgRule holding{ "h", true, ArgType::Template, 0, 0, "a|b" };
    EXPECT_EQ( holding.expected(), "a text with the placeholders {a}, {b}" );
    EXPECT_TRUE( holding.accepts( "{b} and {a}" ) );
    EXPECT_FALSE( holding.accepts( "{a} and b" ) );
}

TEST( ArgRule, ConditionsSayWhenItHolds ) {
    ArgRule rule{ "x", true, ArgType::Text };
    EXPECT_TRUE( rule.applies( {} ) );
    rule.onlyWith = "y";
    EXPECT_FALSE( rule.applies( {} ) );
    EXPECT_TRUE( rule.applies( { { "y", "" } } ) );
    rule.onlyWith = "!y";
    EXPECT_TRUE( rule.applies( {} ) );
    EXPECT_FALSE( rule.applies( { { "y", "" } } ) );
    rule.onlyWith = "y=tool";
    EXPECT_FALSE( rule.applies( {} ) );
    EXPECT_FALSE( rule.applies( { { "y", "other" } } ) );
    EXPECT_TRUE( rule.applies( { { "y", "tool" } } ) );
}

} // namespace
