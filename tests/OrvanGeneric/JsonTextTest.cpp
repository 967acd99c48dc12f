#include "OrvanGeneric/JsonText.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using Json::ParsedText;

std::string nested( size_t depth ) {
    return std::string( depth, '[' ) + std::string( depth, ']' );
}

TEST( JsonText, ATextBecomesADocument ) {
    ParsedText text( "{\"a\":[1,\"a text of some length\",null,true,-2.5,5000000000,{}]}" );
    ASSERT_TRUE( text.valid() );
    const rapidjson::Value &list = text.document()[ "a" ];
    EXPECT_EQ( list[ 0 ].GetInt(), 1 );
    EXPECT_STREQ( list[ 1 ].GetString(), "a text of some length" );
    EXPECT_TRUE( list[ 2 ].IsNull() );
    EXPECT_TRUE( list[ 3 ].GetBool() );
    EXPECT_EQ( list[ 4 ].GetDouble(), -2.5 );
    EXPECT_EQ( list[ 5 ].GetUint64(), 5000000000u );
    EXPECT_TRUE( list[ 6 ].IsObject() );
}

TEST( JsonText, AnErrorIsToldInTheParsersWordsWithItsPlace ) {
    const ParsedText empty( "" );
    EXPECT_FALSE( empty.valid() );
    EXPECT_STREQ( empty.problem(), "The document is empty." );
    EXPECT_EQ( empty.offset(), 0 );
    const ParsedText comma( "[1,]" );
    EXPECT_STREQ( comma.problem(), "Invalid value." );
    EXPECT_EQ( comma.offset(), 3 );
    const ParsedText more( "[] x" );
    EXPECT_STREQ( more.problem(), "The document root must not be followed by other values." );
    EXPECT_EQ( more.offset(), 3 );
}

TEST( JsonText, NestingIsTakenUpToTheLimit ) {
    EXPECT_TRUE( ParsedText( nested( 512 ).c_str() ).valid() );
    const ParsedText deeper( nested( 513 ).c_str() );
    EXPECT_FALSE( deeper.valid() );
    EXPECT_STREQ( deeper.problem(), "Terminate parsing due to Handler error." );
    EXPECT_EQ( deeper.offset(), 512 );
}

TEST( JsonText, ObjectsAndArraysCountAlikeAndWhatIsClosedNoMore ) {
    std::string objects;
    for ( int i = 0; i < 256; ++i ) {
        objects += "[{\"a\":";
    }
    std::string ends;
    for ( int i = 0; i < 256; ++i ) {
        ends += "}]";
    }
    EXPECT_TRUE( ParsedText( ( objects + "1" + ends ).c_str() ).valid() );
    const ParsedText deeper( ( objects + "[]" + ends ).c_str() );
    EXPECT_FALSE( deeper.valid() );
    EXPECT_EQ( deeper.offset(), static_cast<ssize_t>( objects.size() ) );
    std::string wide = "[";
    for ( int i = 0; i < 1000; ++i ) {
        wide += nested( 511 ) + ",";
    }
    EXPECT_TRUE( ParsedText( ( wide + "\"[[[[\"]" ).c_str() ).valid() );
}

TEST( JsonText, AnErrorBeforeTheLimitIsTheOneThatCounts ) {
    const ParsedText text( ( "[x" + nested( 1000 ) ).c_str() );
    EXPECT_STREQ( text.problem(), "Invalid value." );
    EXPECT_EQ( text.offset(), 1 );
}

/** Each of these takes the most memory for its characters in another way. */
TEST( JsonText, TheMemorySetAsideIsEnoughForEveryKindOfText ) {
    const auto list = []( const std::string &element, const char *open, const char *close ) {
        std::string text = open + element;
        for ( int i = 0; i < 20000; ++i ) {
            text += "," + element;
        }
        return text + close;
    };
    for ( const std::string &text :
          { list( "0", "[", "]" ), list( "[0]", "[", "]" ), list( "{\"\":0}", "[", "]" ),
            list( "\"\":0", "{", "}" ), list( "\"0123456789abcdef\"", "[", "]" ),
            list( "\"0123456789abcdef\":\"0123456789abcdef\"", "{", "}" ), list( "[]", "[", "]" ),
            list( "{}", "[", "]" ) } ) {
        ParsedText parsed( text.c_str() );
        ASSERT_TRUE( parsed.valid() );
        // Half a value and a byte are there for each character, so the pool needs no second chunk.
        EXPECT_LE( parsed.document().GetAllocator().Size(),
                   ( sizeof( rapidjson::Value ) / 2 + 1 ) * text.size() )
            << text.substr( 0, 20 );
    }
}

} // namespace
