#include "smbusd/bus/AdapterSpec.h"

#include <gtest/gtest.h>

namespace {

using smbusd::AdapterSpec;
using By = smbusd::AdapterSpec::By;

AdapterSpec read( const std::string &json ) {
    const auto document = smbusd::parseJson( json, "text" );
    return smbusd::readAdapterSpec( smbusd::JsonView( document, "text" ) );
}

std::string message( const std::string &json ) {
    try {
        read( json );
    } catch ( const smbusd::ConfigError &error ) {
        return error.what();
    }
    return "";
}

TEST( AdapterSpec, ReadsNumbersHoweverTheyAreWritten ) {
    for ( const char *text : { "9", "\"9\"", "\"0x9\"", "\"i2c-9\"", "\"/dev/i2c-9\"" } ) {
        const AdapterSpec spec = read( text );
        EXPECT_EQ( spec.by, By::Number ) << text;
        EXPECT_EQ( spec.number, 9u );
        EXPECT_EQ( spec.describe(), "/dev/i2c-9" );
    }
    EXPECT_EQ( read( "1048575" ).number, smbusd::lastAdapterNumber );
}

TEST( AdapterSpec, ReadsNamesAndPaths ) {
    AdapterSpec spec = read( "\"SMBus I801 adapter at 0700\"" );
    EXPECT_EQ( spec.by, By::Name );
    EXPECT_EQ( spec.text, "SMBus I801 adapter at 0700" );
    EXPECT_EQ( spec.describe(), "\"SMBus I801 adapter at 0700\"" );
    EXPECT_EQ( read( "\"i2c-tiny-usb at bus 001 device 004\"" ).by, By::Name );
    EXPECT_EQ( read( "\"i2c-\"" ).by, By::Name );
    spec = read( "\"/dev/i2c-board\"" );
    EXPECT_EQ( spec.by, By::Path );
    EXPECT_EQ( spec.describe(), "/dev/i2c-board" );
}

TEST( AdapterSpec, RefusesWhatIsNone ) {
    const std::string expected =
        "expected a kernel adapter: its number, its name as in sysfs, or a "
        "device file such as \"/dev/i2c-1\"";
    EXPECT_EQ( message( "\"\"" ), "text: \"\"; " + expected );
    EXPECT_EQ( message( R"("a\nb")" ), R"(text: "a\nb"; )" + expected );
    EXPECT_EQ( message( "\"i2c-1048576\"" ),
               "text: \"i2c-1048576\"; expected a number from 0 to 1048575" );
    EXPECT_NE( message( "1048576" ), "" );
    EXPECT_NE( message( "-1" ), "" );
    EXPECT_NE( message( "true" ), "" );
}

TEST( AdapterSpec, TheSameWordsMeanTheSameAdapter ) {
    EXPECT_TRUE( read( "3" ).sameWords( read( "\"/dev/i2c-3\"" ) ) );
    EXPECT_FALSE( read( "3" ).sameWords( read( "4" ) ) );
    EXPECT_TRUE( read( "\"host\"" ).sameWords( read( "\"host\"" ) ) );
    EXPECT_FALSE( read( "\"host\"" ).sameWords( read( "\"/host\"" ) ) );
}

} // namespace
