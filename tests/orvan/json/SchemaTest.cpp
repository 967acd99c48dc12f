#include "orvan/json/Schema.h"

#include <gtest/gtest.h>

namespace {

using orvan::JsonFile;
using orvan::Problems;
using orvan::Schema;

constexpr const char *schemaText = R"({
  "definitions": {
    "thing": {
      "description": "a thing", "type": "object", "required": [ "id", "size" ],
      "properties": {
        "id": { "description": "an integer from 0 to 7", "type": "integer", "minimum": 0, "maximum": 7 },
        "size": { "$ref": "#/definitions/size" },
        "name": { "description": "four digits", "type": "string", "pattern": "^\\d{4}$" }
      }
    },
    "size": { "description": "big or small", "enum": [ "big", "small" ] }
  }
})";

std::string problemsOf( const char *text ) {
    Schema schema( schemaText );
    JsonFile file;
    Problems problems;
    EXPECT_TRUE( orvan::parseJsonText( "f", text, file, problems ) );
    const bool good = schema.check( "thing", file, file.document, "/at", problems );
    EXPECT_EQ( good, !problems.hasErrors() );
    return problems.text();
}

TEST( Schema, AGoodValuePasses ) {
    EXPECT_EQ( problemsOf( R"({"id":7,"size":"big","name":"0815"})" ), "" );
}

TEST( Schema, ADeviationIsLocatedAndDescribed ) {
    EXPECT_EQ( problemsOf( R"({"id":8,"size":"big"})" ),
               "f: at /at/id: 8; expected an integer from 0 to 7\n" );
    EXPECT_EQ( problemsOf( R"({"id":1.5,"size":"big"})" ),
               "f: at /at/id: 1.5; expected an integer from 0 to 7\n" );
    EXPECT_EQ( problemsOf( R"({"id":1,"size":"huge"})" ),
               "f: at /at/size: \"huge\"; expected big or small\n" );
    EXPECT_EQ( problemsOf( "[]" ), "f: at /at: []; expected a thing\n" );
}

TEST( Schema, PatternsAreRealRegularExpressions ) {
    EXPECT_EQ( problemsOf( R"({"id":1,"size":"big","name":"12a4"})" ),
               "f: at /at/name: \"12a4\"; expected four digits\n" );
}

TEST( Schema, AMissingKeyIsNamedWithWhatItShouldHold ) {
    EXPECT_EQ( problemsOf( R"({"size":"big"})" ), "f: at /at: {\"size\":\"big\"}; expected the key "
                                                  "\"id\": an integer from 0 to 7\n" );
    EXPECT_EQ( problemsOf( R"({"id":1})" ),
               "f: at /at: {\"id\":1}; expected the key \"size\": big or small\n" );
}

TEST( Schema, AMistakeInASchemaIsAMistakeInTheProgram ) {
    EXPECT_THROW( Schema( "{" ), std::logic_error );
    EXPECT_THROW( Schema( "{}" ), std::logic_error );
    Schema schema( schemaText );
    JsonFile file;
    Problems problems;
    EXPECT_THROW( schema.check( "nothing", file, file.document, "", problems ), std::logic_error );
}

TEST( Schema, TheBoardsSchemasAreBuiltIn ) {
    JsonFile file;
    Problems problems;
    ASSERT_TRUE( orvan::parseJsonText( "f", "[]", file, problems ) );
    EXPECT_TRUE( orvan::topologySchema().check( "topology", file, file.document, "", problems ) );
    EXPECT_TRUE(
        orvan::peripheralsSchema().check( "peripherals", file, file.document, "", problems ) );
    EXPECT_EQ( &orvan::topologySchema(), &orvan::topologySchema() ) << "made once";
}

TEST( Schema, ANodeWithoutADescriptionIsToldByItsKeyword ) {
    Schema schema( R"({"definitions":{"bare":{"type":"object","required":["a","b"],
                       "properties":{"a":{"type":"integer"}}}}})" );
    const auto check = [ &schema ]( const char *text ) {
        JsonFile file;
        Problems problems;
        EXPECT_TRUE( orvan::parseJsonText( "f", text, file, problems ) );
        EXPECT_FALSE( schema.check( "bare", file, file.document, "", problems ) );
        return problems.text();
    };
    EXPECT_EQ( check( "7" ), "f: 7; expected what the schema's type asks for\n" );
    EXPECT_EQ( check( R"({"b":1})" ), "f: {\"b\":1}; expected the key \"a\"\n" );
    EXPECT_EQ( check( R"({"a":1})" ), "f: {\"a\":1}; expected the key \"b\"\n" );
}

} // namespace
