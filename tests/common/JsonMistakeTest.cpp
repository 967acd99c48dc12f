#include "common/JsonMistake.h"

#include <gtest/gtest.h>

namespace {

using common::JsonMistake;
using common::parseJson;
using common::pointerTo;
using common::shortJson;

rapidjson::Document parsed( std::string_view text ) {
    rapidjson::Document document;
    JsonMistake mistake;
    EXPECT_TRUE( parseJson( text, document, mistake ) ) << mistake.text();
    return document;
}

/** The line for a text that is no JSON. */
std::string mistakeIn( std::string_view text ) {
    rapidjson::Document document;
    JsonMistake mistake;
    mistake.document = "f.json";
    EXPECT_FALSE( parseJson( text, document, mistake ) );
    return mistake.text();
}

TEST( JsonMistake, IsOneLineOfThePartsThatAreThere ) {
    JsonMistake mistake;
    mistake.document = "f.json";
    mistake.expected = "an array";
    EXPECT_EQ( mistake.text(), "f.json: expected an array" );
    mistake.value = "300";
    EXPECT_EQ( mistake.text(), "f.json: 300; expected an array" );
    mistake.pointer = "/0/did";
    EXPECT_EQ( mistake.text(), "f.json: at /0/did: 300; expected an array" );
    mistake.position = { 3, 9 };
    EXPECT_EQ( mistake.text(), "f.json: at /0/did, line 3, column 9: 300; expected an array" );
    mistake.pointer.clear();
    EXPECT_EQ( mistake.text(), "f.json: line 3, column 9: 300; expected an array" );
}

TEST( JsonMistake, AWarningExpectsNothing ) {
    JsonMistake mistake;
    mistake.document = "f.json";
    mistake.pointer = "/2/x";
    mistake.expected = "unknown key";
    mistake.warning = true;
    EXPECT_EQ( mistake.text(), "f.json: warning: at /2/x: unknown key" );
}

TEST( JsonMistake, PositionsCountFromOne ) {
    const std::string text = "ab\n\ncd";
    const struct {
        size_t offset;
        size_t line;
        size_t column;
    } rows[] = { { 0, 1, 1 }, { 1, 1, 2 }, { 2, 1, 3 }, { 3, 2, 1 },
                 { 4, 3, 1 }, { 5, 3, 2 }, { 6, 3, 3 }, { 99, 3, 3 } };
    for ( const auto &row : rows ) {
        const common::TextPosition position = common::positionOf( text, row.offset );
        EXPECT_EQ( position.line, row.line ) << row.offset;
        EXPECT_EQ( position.column, row.column ) << row.offset;
    }
    EXPECT_EQ( common::positionOf( "", 0 ).column, 1u );
}

TEST( JsonMistake, PointersEscapeTildesAndSlashes ) {
    EXPECT_EQ( pointerTo( "/a", "b~c/d" ), "/a/b~0c~1d" ); // RFC 6901, section 3
    EXPECT_EQ( pointerTo( "", "" ), "/" );
    EXPECT_EQ( pointerTo( "", size_t{ 12 } ), "/12" );
}

TEST( JsonMistake, LongValuesAreCut ) {
    const rapidjson::Document document = parsed( R"( [ "aaaaaaaaaaaaaaaaaaaa" ] )" );
    EXPECT_EQ( shortJson( document ), R"(["aaaaaaaaaaaaaaaaaaaa"])" );
    EXPECT_EQ( shortJson( document, 24 ), R"(["aaaaaaaaaaaaaaaaaaaa"])" );
    EXPECT_EQ( shortJson( document, 23 ), R"(["aaaaaaaaaaaaaaaaaa...)" );
    EXPECT_EQ( shortJson( document, 10 ), R"(["aaaaa...)" );
    EXPECT_EQ( shortJson( parsed( '"' + std::string( 200, 'x' ) + '"' ) ),
               '"' + std::string( 56, 'x' ) + "..." );
}

TEST( JsonMistake, ValuesAreShownInAscii ) {
    EXPECT_EQ( shortJson( parsed( "\"\u00fc\"" ) ), R"("\u00FC")" );
}

TEST( JsonMistake, ShowingADeeplyNestedValueCostsNoStack ) {
    const std::string arrays = std::string( 1000000, '[' ) + std::string( 1000000, ']' );
    EXPECT_EQ( shortJson( parsed( arrays ) ), std::string( 57, '[' ) + "..." );
    std::string objects;
    for ( int i = 0; i < 200000; i++ ) {
        objects += R"({"a":)";
    }
    objects += '1' + std::string( 200000, '}' );
    EXPECT_EQ( shortJson( parsed( objects ), 13 ), R"({"a":{"a":...)" );
}

TEST( ParseJson, BadSyntaxIsLocatedByLineAndColumn ) {
    EXPECT_EQ( mistakeIn( "[\n  1,\n  ?]" ),
               "f.json: line 3, column 3: Invalid value; expected JSON text" );
    EXPECT_EQ( mistakeIn( "" ),
               "f.json: line 1, column 1: The document is empty; expected JSON text" );
    EXPECT_EQ( mistakeIn( "[] x" ), "f.json: line 1, column 4: The document root must not be "
                                    "followed by other values; expected JSON text" );
}

TEST( ParseJson, ANulCharacterIsRefused ) {
    EXPECT_EQ( mistakeIn( std::string_view( "[]\n\0", 4 ) ),
               "f.json: line 2, column 1: a NUL character; expected JSON text" );
}

TEST( ParseJson, DeepNestingCostsNoStack ) {
    EXPECT_EQ( mistakeIn( std::string( 1000000, '[' ) ).substr( 0, 34 ),
               "f.json: line 1, column 1000001: In" );
}

} // namespace
