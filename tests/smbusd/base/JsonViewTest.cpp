#include "smbusd/base/JsonView.h"

#include <gtest/gtest.h>

namespace {

using smbusd::ConfigError;
using smbusd::JsonView;
using smbusd::parseJson;
using smbusd::parseNumber;

/** The message with which a use of a document fails. */
std::string message( const std::string &text, const std::function<void( const JsonView & )> &use ) {
    const rapidjson::Document document = parseJson( text, "f.json" );
    try {
        use( JsonView( document, "f.json" ) );
    } catch ( const ConfigError &error ) {
        return error.what();
    }
    return "no error";
}

TEST( JsonView, NumbersAreDecimalOrHexadecimal ) {
    EXPECT_EQ( parseNumber( "0" ), 0u );
    EXPECT_EQ( parseNumber( "32" ), 32u );
    EXPECT_EQ( parseNumber( "0x20" ), 32u );
    EXPECT_EQ( parseNumber( "0Xff" ), 255u );
    EXPECT_EQ( parseNumber( "4294967295" ), 0xFFFFFFFFu );
    for ( const char *wrong : { "", "0x", "4294967296", "-1", "1 ", " 1", "1.0", "ten", "0x1G" } ) {
        EXPECT_EQ( parseNumber( wrong ), std::nullopt ) << wrong;
    }
}

TEST( JsonView, ErrorsNameFilePlaceValueAndExpectation ) {
    EXPECT_EQ( message( R"({"buses":[{"bus":300}]})",
                        []( const JsonView &root ) {
                            root.at( "buses" ).forEachElement(
                                []( const JsonView &bus ) { bus.at( "bus" ).number( 0, 127 ); } );
                        } ),
               "f.json: at /buses/0/bus: 300; expected a whole number from 0 to 127 (or as text: "
               "\"0x7F\")" );
}

TEST( JsonView, PointersEscapeSlashAndTilde ) {
    EXPECT_EQ(
        message( R"({"a/b~c":1})", []( const JsonView &root ) { root.at( "a/b~c" ).text(); } ),
        "f.json: at /a~1b~0c: 1; expected text" );
}

TEST( JsonView, LongValuesAreCutShort ) {
    const std::string text = '"' + std::string( 200, 'x' ) + '"';
    EXPECT_EQ( message( text, []( const JsonView &root ) { root.boolean(); } ),
               "f.json: \"" + std::string( 56, 'x' ) + "...; expected true or false" );
}

TEST( JsonView, MissingMembersAreNamed ) {
    EXPECT_EQ( message( "{}", []( const JsonView &root ) { root.at( "name" ); } ),
               "f.json: {}; expected an object with \"name\"" );
}

TEST( JsonView, UnknownAndRepeatedKeysAreRefused ) {
    const auto known = []( const JsonView &root ) { root.expectObject( { "a", "b" }, { "c" } ); };
    EXPECT_EQ( message( R"({"a":1,"c":2})", known ), "no error" );
    EXPECT_EQ( message( R"({"d":1})", known ),
               "f.json: at /d: 1; expected no such key here, only a, b, c" );
    EXPECT_EQ( message( R"({"a":1,"a":2})", known ),
               "f.json: at /a: 2; expected each key once in an object" );
    EXPECT_EQ( message( "[]", known ), "f.json: []; expected an object" );
}

TEST( JsonView, TypesAreChecked ) {
    EXPECT_EQ(
        message( "{}", []( const JsonView &root ) { root.forEachElement( []( auto & ) {} ); } ),
        "f.json: {}; expected an array" );
    EXPECT_EQ( message( "true", []( const JsonView &root ) { root.real(); } ),
               "f.json: true; expected a number" );
    EXPECT_EQ( message( "-1", []( const JsonView &root ) { root.number( 0, 5 ); } ),
               "f.json: -1; expected a whole number from 0 to 5 (or as text: \"0x5\")" );
    EXPECT_EQ( message( "1.5", []( const JsonView &root ) { root.number( 0, 5 ); } ),
               "f.json: 1.5; expected a whole number from 0 to 5 (or as text: \"0x5\")" );
    EXPECT_EQ( message( "{\"x\":1}",
                        []( const JsonView &root ) {
                            root.forEachMember( []( std::string_view key, const JsonView &value ) {
                                value.keyNumber( key, 0, 7 );
                            } );
                        } ),
               "f.json: at /x: 1; expected a key from 0 to 7 (or \"0x7\")" );
}

TEST( JsonView, ReadsWhatIsThere ) {
    const rapidjson::Document document =
        parseJson( R"({"n":"0x10","m":7,"t":"text","b":true,"r":2.5})", "f.json" );
    const JsonView root( document, "f.json" );
    EXPECT_EQ( root.at( "n" ).number( 0, 255 ), 16u );
    EXPECT_EQ( root.at( "m" ).number( 7, 7 ), 7u );
    EXPECT_EQ( root.at( "t" ).text(), "text" );
    EXPECT_TRUE( root.at( "b" ).boolean() );
    EXPECT_EQ( root.at( "r" ).real(), 2.5 );
    EXPECT_FALSE( root.find( "z" ) );
}

TEST( JsonView, ParseErrorsNameLineAndColumn ) {
    try {
        parseJson( "{\n  \"a\": ?\n}", "f.json" );
        FAIL() << "parsed";
    } catch ( const ConfigError &error ) {
        EXPECT_EQ( std::string( error.what() ),
                   "f.json: line 2, column 8: Invalid value; expected JSON text" );
    }
}

TEST( JsonView, DeepNestingCostsNoStack ) {
    const std::string deep( 1000000, '[' );
    EXPECT_THROW( parseJson( deep, "f.json" ), ConfigError );
}

TEST( JsonView, ShowingADeeplyNestedValueCostsNoStack ) {
    const std::string text = std::string( 1000000, '[' ) + std::string( 1000000, ']' );
    EXPECT_EQ( message( text, []( const JsonView &root ) { root.text(); } ),
               "f.json: " + std::string( 57, '[' ) + "...; expected text" );
}

} // namespace
