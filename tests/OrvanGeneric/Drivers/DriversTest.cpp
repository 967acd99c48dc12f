#include "OrvanGeneric/Drivers/Drivers.h"

#include <clocale>
#include <cstdlib>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include "tests/support/AssertionFailure.h"
#include "tests/support/FakeHost.h"

namespace {

using Drivers::DriverArgs;
using Drivers::insertDriverArg;
using Texts = std::map<std::string, std::string>;

constexpr char source[] = "OrvanGeneric/Drivers/Drivers.cpp";

/** A whole description with @p members behind the required ones. */
std::string description( const std::string &members = "" ) {
    return R"({ "did": 7, "driver": "Dummy", "address": { "address": 80 })" +
           ( members.empty() ? "" : ", " + members ) + " }";
}

/** The arguments read from @p json, which must outlive them. */
DriverArgs parsed( const std::string &json ) {
    DriverArgs args;
    EXPECT_TRUE( args.parseJSON( json.c_str() ) ) << json;
    return args;
}

/** The text that a driver argument of the JSON value @p json becomes. */
std::string argText( const std::string &json ) {
    const std::string text = description( R"("driverArgs": { "key": )" + json + " }" );
    return parsed( text ).driverArgs.at( "key" );
}

// Reading a description

TEST( DriverArgs, StartWithTheDefaults ) {
    const DriverArgs args;
    EXPECT_EQ( args.driver, "" );
    EXPECT_EQ( args.uid, 0xFFFFFFFFu );
    EXPECT_EQ( args.did, 0u );
    EXPECT_EQ( args.address.packed(), 0u );
    EXPECT_TRUE( args.driverArgs.empty() );
    EXPECT_EQ( args.jsonText, nullptr );
    EXPECT_FALSE( args.isMultiDevice );
    EXPECT_TRUE( args.multiDeviceArgs.empty() );
    EXPECT_TRUE( args.provideHam );
}

TEST( DriverArgs, RequiredMembersAlone ) {
    const std::string text = description();
    const DriverArgs args = parsed( text );
    EXPECT_EQ( args.driver, "Dummy" );
    EXPECT_EQ( args.uid, 0xFFFFFFFFu );
    EXPECT_EQ( args.did, 7u );
    EXPECT_EQ( args.address.packed(), 0x0200005000000000u );
    EXPECT_TRUE( args.driverArgs.empty() );
    EXPECT_EQ( args.jsonText, text.c_str() );
    EXPECT_FALSE( args.isMultiDevice );
    EXPECT_TRUE( args.multiDeviceArgs.empty() );
    EXPECT_TRUE( args.provideHam );
    EXPECT_TRUE( FakeHost::instance().traces.empty() );
}

TEST( DriverArgs, EveryMember ) {
    const std::string text = R"( { "name": "psu1", "colour": null, "uid": 4294967294,
        "provideHam": 0, "did": 4294967295, "driver": "Pmbus",
        "address": { "address": 85, "writeDelay": 1, "readDelay": 2, "busTimeout": 5,
                     "extraDelay": 1, "addrSize": 2, "accel": 42 },
        "isMultiDevice": true, "multiDeviceArgs": { "psu": "{ }", "slot": "" },
        "driverArgs": { "fanId": 1, "type": "pmbus" } } )";
    const DriverArgs args = parsed( text );
    EXPECT_EQ( args.driver, "Pmbus" );
    EXPECT_EQ( args.uid, 4294967294u );
    EXPECT_EQ( args.did, 4294967295u );
    EXPECT_EQ( args.address.packed(), 0x9D4A805500000000u );
    EXPECT_EQ( args.driverArgs, ( Texts{ { "fanId", "1" }, { "type", "pmbus" } } ) );
    EXPECT_TRUE( args.isMultiDevice );
    EXPECT_EQ( args.multiDeviceArgs, ( Texts{ { "psu", "{ }" }, { "slot", "" } } ) );
    EXPECT_FALSE( args.provideHam );
}

TEST( DriverArgs, AnyNumberButZeroAsksForAHam ) {
    EXPECT_TRUE( parsed( description( R"("provideHam": 1)" ) ).provideHam );
    EXPECT_TRUE( parsed( description( R"("provideHam": 4294967295)" ) ).provideHam );
    EXPECT_FALSE( parsed( description( R"("provideHam": 0)" ) ).provideHam );
}

TEST( DriverArgs, PlainDevicesIgnoreMultiDeviceArguments ) {
    EXPECT_FALSE( parsed( description( R"("isMultiDevice": false)" ) ).isMultiDevice );
    EXPECT_TRUE( parsed( description( R"("isMultiDevice": false, "multiDeviceArgs": 5)" ) )
                     .multiDeviceArgs.empty() );
    EXPECT_TRUE(
        parsed( description( R"("multiDeviceArgs": { "psu": "{}" })" ) ).multiDeviceArgs.empty() );
}

TEST( DriverArgs, AParsedValueLeavesNoText ) {
    rapidjson::Document document;
    document.Parse( description( R"("uid": 3)" ).c_str() );
    const std::shared_ptr<DriverArgs> args = DriverArgs::fromJSON( document );
    EXPECT_EQ( args->did, 7u );
    EXPECT_EQ( args->uid, 3u );
    EXPECT_EQ( args->jsonText, nullptr );
    EXPECT_EQ( args.use_count(), 1 );
}

TEST( DriverArgs, ReadingAgainKeepsArgumentsThatAreNotOverwritten ) {
    const std::string first = description( R"("uid": 3, "driverArgs": { "a": 1, "b": 2 })" );
    const std::string second = description( R"("driverArgs": { "b": 3 })" );
    DriverArgs args = parsed( first );
    EXPECT_TRUE( args.parseJSON( second.c_str() ) );
    EXPECT_EQ( args.driverArgs, ( Texts{ { "a", "1" }, { "b", "3" } } ) );
    EXPECT_EQ( args.uid, 0xFFFFFFFFu );
    EXPECT_EQ( args.jsonText, second.c_str() );
}

// The text of an argument

TEST( DriverArgText, Integers ) {
    EXPECT_EQ( argText( "3" ), "3" );
    EXPECT_EQ( argText( "0" ), "0" );
    EXPECT_EQ( argText( "-0" ), "0" );
    EXPECT_EQ( argText( "-1" ), "-1" );
    EXPECT_EQ( argText( "2147483647" ), "2147483647" );
    EXPECT_EQ( argText( "-2147483648" ), "-2147483648" );
    EXPECT_EQ( argText( "2147483648" ), "2147483648" );
    EXPECT_EQ( argText( "4000000000" ), "4000000000" );
    EXPECT_EQ( argText( "4294967295" ), "4294967295" );
}

TEST( DriverArgText, IntegersBeyond32BitsAreEmpty ) {
    EXPECT_EQ( argText( "4294967296" ), "" );
    EXPECT_EQ( argText( "5000000000" ), "" );
    EXPECT_EQ( argText( "-2147483649" ), "" );
    EXPECT_EQ( argText( "-3000000000" ), "" );
    EXPECT_EQ( argText( "18446744073709551615" ), "" );
}

TEST( DriverArgText, FloatingPointNumbersHaveSixDigits ) {
    EXPECT_EQ( argText( "0.5" ), "0.5" );
    EXPECT_EQ( argText( "-0.5" ), "-0.5" );
    EXPECT_EQ( argText( "1.0" ), "1" );
    EXPECT_EQ( argText( "-0.0" ), "-0" );
    EXPECT_EQ( argText( "3.14159265" ), "3.14159" );
    EXPECT_EQ( argText( "123456.0" ), "123456" );
    EXPECT_EQ( argText( "999999.5" ), "1e+06" );
    EXPECT_EQ( argText( "1234567.0" ), "1.23457e+06" );
    EXPECT_EQ( argText( "1e6" ), "1e+06" );
    EXPECT_EQ( argText( "0.0001" ), "0.0001" );
    EXPECT_EQ( argText( "0.00001" ), "1e-05" );
    EXPECT_EQ( argText( "1e300" ), "1e+300" );
    // Beyond 64 bits the JSON library itself turns to floating point.
    EXPECT_EQ( argText( "18446744073709551616" ), "1.84467e+19" );
}

TEST( DriverArgText, FloatingPointNumbersIgnoreTheLocale ) {
    for ( const char *name : { "de_DE.UTF-8", "fr_FR.UTF-8", "C.UTF-8" } ) {
        if ( std::setlocale( LC_ALL, name ) ) {
            break;
        }
    }
    EXPECT_EQ( argText( "1234567.5" ), "1.23457e+06" );
    EXPECT_EQ( argText( "0.5" ), "0.5" );
}

TEST( DriverArgText, TextsAndFlags ) {
    EXPECT_EQ( argText( R"("x")" ), "x" );
    EXPECT_EQ( argText( R"("")" ), "" );
    EXPECT_EQ( argText( R"("true")" ), "true" );
    EXPECT_EQ( argText( R"("a \"b\" \u00e4")" ), "a \"b\" \xC3\xA4" );
    EXPECT_EQ( argText( R"("a\u0000b")" ), std::string( "a\0b", 3 ) );
    EXPECT_EQ( argText( "true" ), "true" );
    EXPECT_EQ( argText( "false" ), "false" );
}

TEST( DriverArgText, AnythingElseIsEmpty ) {
    EXPECT_EQ( argText( "null" ), "" );
    EXPECT_EQ( argText( "{}" ), "" );
    EXPECT_EQ( argText( R"({ "a": 1 })" ), "" );
    EXPECT_EQ( argText( "[ 1 ]" ), "" );
}

TEST( DriverArgText, LastOfANameWins ) {
    const std::string text = description( R"("driverArgs": { "a": 1, "b": 2, "a": null })" );
    EXPECT_EQ( parsed( text ).driverArgs, ( Texts{ { "a", "" }, { "b", "2" } } ) );
}

// Texts that are not JSON

struct ParseErrorCase {
    const char *text;
    const char *report; ///< message and offset
};

constexpr ParseErrorCase parseErrors[] = {
    { "", "The document is empty. offset 0" },
    { "  ", "The document is empty. offset 2" },
    { "{} x", "The document root must not be followed by other values. offset 3" },
    { "psu", "Invalid value. offset 0" },
    { "[1,]", "Invalid value. offset 3" },
    { "{", "Missing a name for object member. offset 1" },
    { R"({"did":1,})", "Missing a name for object member. offset 9" },
    { R"({"did" 1})", "Missing a colon after a name of object member. offset 7" },
    { R"({"did":1 2})", "Missing a comma or '}' after an object member. offset 9" },
    { "[1 2]", "Missing a comma or ']' after an array element. offset 3" },
    { R"("\u00g0")", "Incorrect hex digit after \\u escape in string. offset 1" },
    { R"("\uD800")", "The surrogate pair in string is invalid. offset 1" },
    { R"("\z")", "Invalid escape character in string. offset 1" },
    { R"({"did)", "Missing a closing quotation mark in string. offset 5" },
    { "-1e400", "Number too big to be stored in double. offset 0" },
    { "0.", "Miss fraction part in number. offset 2" },
    { "0e", "Miss exponent in number. offset 2" },
};

TEST( DriverArgs, WhatIsNotJsonIsTracedAndLeavesTheFields ) {
    const std::string first = description( R"("uid": 3, "driverArgs": { "a": 1 })" );
    for ( const auto &[ text, report ] : parseErrors ) {
        DriverArgs args = parsed( first );
        FakeHost::instance().traces.clear();
        EXPECT_FALSE( args.parseJSON( text ) ) << text;
        EXPECT_EQ(
            FakeHost::instance().traces,
            ( Traces{ { 0, std::string( "failed to load device from json: " ) + report } } ) );
        EXPECT_EQ( args.driver, "Dummy" );
        EXPECT_EQ( args.uid, 3u );
        EXPECT_EQ( args.jsonText, first.c_str() );
        EXPECT_EQ( args.driverArgs, ( Texts{ { "a", "1" } } ) );
    }
}

TEST( DriverArgs, WholeDescriptionWithSomethingBehindItIsRejected ) {
    DriverArgs args;
    const std::string text = description() + ";";
    EXPECT_FALSE( args.parseJSON( text.c_str() ) );
    EXPECT_EQ( FakeHost::instance().texts( 0 ).at( 0 ),
               "failed to load device from json: The document root must not be followed by other "
               "values. offset " +
                   std::to_string( text.size() - 1 ) );
    EXPECT_EQ( args.jsonText, nullptr );
}

// Descriptions of the wrong shape

TEST( DriverArgsDeath, MissingMembersInTheirOrder ) {
    const auto parse = []( const char *text ) {
        DriverArgs args;
        args.parseJSON( text );
    };
    for ( const char *text : { "[]", "1", "null" } ) {
        EXPECT_DEATH( parse( text ), assertionFailure( source, "json.IsObject()" ) );
    }
    EXPECT_DEATH( parse( "{}" ), assertionFailure( source, "json.HasMember( \"did\" )" ) );
    // The identity's kind is looked at only after all else.
    EXPECT_DEATH( parse( R"({ "did": "1" })" ),
                  assertionFailure( source, "json.HasMember( \"driver\" )" ) );
    EXPECT_DEATH( parse( R"({ "did": "1", "driver": "Dummy" })" ),
                  assertionFailure( source, "json.HasMember( \"address\" )" ) );
    EXPECT_DEATH( parse( R"({ "did": "1", "driver": "Dummy", "isMultiDevice": true })" ),
                  assertionFailure( source, "json.HasMember( \"multiDeviceArgs\" )" ) );
    EXPECT_DEATH( parse( R"({ "did": 1, "driver": "Dummy", "address": 80 })" ),
                  assertionFailure( "OrvanGeneric/Topology.cpp", "value.IsObject()" ) );
    EXPECT_DEATH(
        parse( R"({ "did": 1, "driver": "Dummy", "address": {} })" ),
        assertionFailure( "OrvanGeneric/Topology.cpp", "value.HasMember( \"address\" )" ) );
}

TEST( DriverArgsDeath, MembersOfTheWrongKind ) {
    const auto parse = []( const std::string &text ) {
        DriverArgs args;
        args.parseJSON( text.c_str() );
    };
    for ( const char *text : {
              R"({ "did": "1", "driver": "Dummy", "address": { "address": 80 } })",
              R"({ "did": -1, "driver": "Dummy", "address": { "address": 80 } })",
              R"({ "did": 1.5, "driver": "Dummy", "address": { "address": 80 } })",
              R"({ "did": 4294967296, "driver": "Dummy", "address": { "address": 80 } })",
              R"({ "did": 1, "driver": null, "address": { "address": 80 } })",
              R"({ "did": 1, "driver": 5, "address": { "address": 80 } })",
          } ) {
        EXPECT_DEATH( parse( text ), jsonTypeFailure() ) << text;
    }
    for ( const char *member : {
              R"("isMultiDevice": 1)",
              R"("isMultiDevice": "true")",
              R"("isMultiDevice": null)",
              R"("isMultiDevice": true, "multiDeviceArgs": [])",
              R"("isMultiDevice": true, "multiDeviceArgs": { "psu": "{}", "slot": {} })",
              R"("provideHam": true)",
              R"("provideHam": false)",
              R"("provideHam": -1)",
              R"("provideHam": "1")",
              R"("uid": -1)",
              R"("uid": "1")",
              R"("driverArgs": [])",
              R"("driverArgs": null)",
          } ) {
        EXPECT_DEATH( parse( description( member ) ), jsonTypeFailure() ) << member;
    }
}

// Adding an argument

/** What insertDriverArg makes of @p text; fails the test when it makes nothing. */
std::string inserted( const std::string &text, const char *name, const char *value ) {
    char *out = nullptr;
    EXPECT_TRUE( insertDriverArg( text.c_str(), &out, name, value ) ) << text;
    std::string result = out ? out : "";
    std::free( out );
    return result;
}

TEST( InsertDriverArg, AppendsAndWritesCompactly ) {
    EXPECT_EQ( inserted( " { \"did\" : 1,\n\t\"driverArgs\" : { \"id\" : 2 } , \"x\": [ 1.5, null, "
                         "true ] } ",
                         "psuId", "3" ),
               R"({"did":1,"driverArgs":{"id":2,"psuId":"3"},"x":[1.5,null,true]})" );
    EXPECT_TRUE( FakeHost::instance().traces.empty() );
}

TEST( InsertDriverArg, IntoAnEmptyObject ) {
    EXPECT_EQ( inserted( R"({"driverArgs":{}})", "", "" ), R"({"driverArgs":{"":""}})" );
}

TEST( InsertDriverArg, KeepsAnArgumentOfTheSameName ) {
    const std::string text =
        inserted( description( R"("driverArgs": { "id": 1, "x": 5 })" ), "id", "2" );
    EXPECT_EQ( text, R"({"did":7,"driver":"Dummy","address":{"address":80},)"
                     R"("driverArgs":{"id":1,"x":5,"id":"2"}})" );
    EXPECT_EQ( parsed( text ).driverArgs, ( Texts{ { "id", "2" }, { "x", "5" } } ) );
}

TEST( InsertDriverArg, WritesPureAscii ) {
    // U+00E4, U+20AC and U+1F50C, which takes a surrogate pair.
    EXPECT_EQ( inserted( "{\"driverArgs\":{\"\xC3\xA4\":\"\\u00e4\"}}", "\xE2\x82\xAC",
                         "\xF0\x9F\x94\x8C" ),
               R"({"driverArgs":{"\u00E4":"\u00E4","\u20AC":"\uD83D\uDD0C"}})" );
}

TEST( InsertDriverArg, EscapesWhatJsonEscapes ) {
    EXPECT_EQ( inserted( R"({"driverArgs":{"z":"a\u0000b"}})", "a\"\\/", "\b\f\n\r\t\x01" ),
               "{\"driverArgs\":{\"z\":\"a\\u0000b\","
               "\"a\\\"\\\\/\":\"\\b\\f\\n\\r\\t\\u0001\"}}" );
}

TEST( InsertDriverArg, CopiesNameAndValue ) {
    std::string name = "name", value = "value";
    char *out = nullptr;
    ASSERT_TRUE( insertDriverArg( R"({"driverArgs":{}})", &out, name.c_str(), value.c_str() ) );
    name = value = "gone";
    EXPECT_STREQ( out, R"({"driverArgs":{"name":"value"}})" );
    std::free( out );
}

TEST( InsertDriverArg, GrowsWithTheText ) {
    const std::string value( 1'000'000, '\n' );
    const std::string text = inserted( R"({"driverArgs":{}})", "v", value.c_str() );
    EXPECT_EQ( text.size(), 2 * value.size() + std::string( R"({"driverArgs":{"v":""}})" ).size() );
}

TEST( InsertDriverArg, WhatIsNotJsonIsTraced ) {
    for ( const auto &[ text, report ] : parseErrors ) {
        FakeHost::instance().traces.clear();
        char untouched = 'u';
        char *out = &untouched;
        EXPECT_FALSE( insertDriverArg( text, &out, "id", "1" ) ) << text;
        EXPECT_EQ( out, &untouched );
        EXPECT_EQ( FakeHost::instance().traces,
                   ( Traces{ { 0, std::string( "failed to parse psu devArgs: " ) + report } } ) );
    }
}

TEST( InsertDriverArg, WhatHasNoUnicodeFormIsRefused ) {
    const auto refused = []( const char *text, const char *name, const char *value ) {
        FakeHost::instance().traces.clear();
        char untouched = 'u';
        char *out = &untouched;
        EXPECT_FALSE( insertDriverArg( text, &out, name, value ) ) << text;
        EXPECT_EQ( out, &untouched );
        EXPECT_EQ(
            FakeHost::instance().traces,
            ( Traces{ { 0, "failed to write psu devArgs: Invalid encoding in string." } } ) );
    };
    refused( "{\"driverArgs\":{},\"name\":\"\xFF\"}", "id", "1" );
    refused( R"({"driverArgs":{},"name":"\uDC00"})", "id", "1" ); // half a surrogate pair
    refused( R"({"driverArgs":{}})", "\xC3", "1" );
    refused( R"({"driverArgs":{}})", "id", "\xC0\x80" );
}

TEST( InsertDriverArgDeath, NeedsAnObjectOfArguments ) {
    const auto insert = []( const char *text ) {
        char *out = nullptr;
        insertDriverArg( text, &out, "id", "1" );
    };
    EXPECT_DEATH( insert( description().c_str() ),
                  assertionFailure( source, "document.HasMember( \"driverArgs\" )" ) );
    for ( const char *text : { R"({"driverArgs":[]})", R"({"driverArgs":null})", "[]" } ) {
        EXPECT_DEATH( insert( text ), jsonTypeFailure() ) << text;
    }
}

// Reading arguments

class DriverArgReaders : public testing::Test {
  protected:
    DriverArgReaders() {
        args_.driverArgs = { { "text", "pmbus" },    { "number", "12" }, { "negative", "-3" },
                             { "padded", " 7 rpm" }, { "empty", "" },    { "huge", "2147483648" },
                             { "on", "true" },       { "off", "false" }, { "one", "1" },
                             { "shout", "True" },    { "long", "true " } };
    }
    DriverArgs args_;
};

TEST_F( DriverArgReaders, RequiredArgument ) {
    EXPECT_EQ( requiredArg( args_, "text" ), "pmbus" );
    EXPECT_EQ( requiredArg( args_, "empty" ), "" );
    EXPECT_EQ( &requiredArg( args_, "text" ), &args_.driverArgs.at( "text" ) );
}

TEST_F( DriverArgReaders, OptionalArgument ) {
    EXPECT_EQ( optionalArg( args_, "text" ), &args_.driverArgs.at( "text" ) );
    EXPECT_EQ( optionalArg( args_, "empty" ), &args_.driverArgs.at( "empty" ) );
    EXPECT_EQ( optionalArg( args_, "none" ), nullptr );
    EXPECT_EQ( args_.driverArgs.count( "none" ), 0u );
}

TEST_F( DriverArgReaders, Texts ) {
    EXPECT_EQ( textArg( args_, "text", "other" ), "pmbus" );
    EXPECT_EQ( textArg( args_, "empty", "other" ), "" );
    EXPECT_EQ( textArg( args_, "none", "other" ), "other" );
    EXPECT_EQ( textArg( args_, "none" ), "" );
}

TEST_F( DriverArgReaders, Numbers ) {
    EXPECT_EQ( requiredIntArg( args_, "number" ), 12 );
    EXPECT_EQ( requiredIntArg( args_, "negative" ), -3 );
    EXPECT_EQ( requiredIntArg( args_, "padded" ), 7 );
    EXPECT_EQ( intArg( args_, "number", 5 ), 12 );
    EXPECT_EQ( intArg( args_, "none", 5 ), 5 );
}

TEST_F( DriverArgReaders, WhatIsNoNumberThrows ) {
    EXPECT_THROW( requiredIntArg( args_, "text" ), std::invalid_argument );
    EXPECT_THROW( requiredIntArg( args_, "empty" ), std::invalid_argument );
    EXPECT_THROW( requiredIntArg( args_, "huge" ), std::out_of_range );
    EXPECT_THROW( intArg( args_, "text", 5 ), std::invalid_argument );
    EXPECT_THROW( intArg( args_, "huge", 5 ), std::out_of_range );
}

TEST_F( DriverArgReaders, OnlyTheExactTextIsTrue ) {
    EXPECT_TRUE( flagArg( args_, "on", false ) );
    for ( const char *name : { "off", "one", "shout", "long", "empty" } ) {
        EXPECT_FALSE( flagArg( args_, name, true ) ) << name;
    }
    EXPECT_TRUE( flagArg( args_, "none", true ) );
    EXPECT_FALSE( flagArg( args_, "none", false ) );
}

TEST_F( DriverArgReaders, MissingRequiredArgumentAborts ) {
    EXPECT_DEATH( requiredArg( args_, "none" ),
                  assertionFailure( source, "it != args.driverArgs.end()" ) );
    EXPECT_DEATH( requiredIntArg( args_, "none" ),
                  assertionFailure( source, "it != args.driverArgs.end()" ) );
}

/** A description whose "further" member nests so deep that it reaches @p depth. */
std::string nestedDescription( size_t depth ) {
    return R"({"did":1,"driver":"Dummy","address":{"address":1},"driverArgs":{},"further":)" +
           std::string( depth - 1, '[' ) + std::string( depth - 1, ']' ) + "}";
}

TEST( Nesting, ADescriptionDeeperThanTheLimitIsNoJson ) {
    Drivers::DriverArgs args;
    EXPECT_TRUE( args.parseJSON( nestedDescription( 512 ).c_str() ) );
    FakeHost::instance().traces.clear();
    Drivers::DriverArgs untouched;
    EXPECT_FALSE( untouched.parseJSON( nestedDescription( 50000 ).c_str() ) );
    EXPECT_EQ( untouched.driver, "" );
    // 76 characters stand before the first of the 511 brackets that there is room for.
    EXPECT_EQ( FakeHost::instance().traces,
               ( Traces{ { 0, "failed to load device from json: Terminate parsing due to Handler "
                              "error. offset 587" } } ) );
}

TEST( Nesting, InsertDriverArgRefusesADescriptionDeeperThanTheLimit ) {
    char *out = nullptr;
    ASSERT_TRUE( Drivers::insertDriverArg( nestedDescription( 512 ).c_str(), &out, "a", "b" ) );
    std::free( out );
    out = nullptr;
    FakeHost::instance().traces.clear();
    EXPECT_FALSE( Drivers::insertDriverArg( nestedDescription( 50000 ).c_str(), &out, "a", "b" ) );
    EXPECT_EQ( out, nullptr );
    EXPECT_EQ(
        FakeHost::instance().traces,
        ( Traces{ { 0, "failed to parse psu devArgs: Terminate parsing due to Handler error. "
                       "offset 587" } } ) );
}

TEST( InsertDriverArg, CopiesALargeObjectWithoutRunningOutOfTheMemorySetAside ) {
    std::string text = R"({"driverArgs":{"a":0)";
    for ( int i = 0; i < 5000; ++i ) {
        text += R"(,"":0)";
    }
    text += "}}";
    char *out = nullptr;
    ASSERT_TRUE( Drivers::insertDriverArg( text.c_str(), &out, "name", "value" ) );
    EXPECT_EQ( std::string( out ), text.substr( 0, text.size() - 2 ) + R"(,"name":"value"}})" );
    std::free( out );
}

} // namespace
