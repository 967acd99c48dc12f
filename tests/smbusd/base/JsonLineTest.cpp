#include "smbusd/base/JsonLine.h"

#include <gtest/gtest.h>

namespace {

using smbusd::JsonLine;

TEST( JsonLine, WritesEveryKindOfValueOnOneLine ) {
    JsonLine line;
    line.beginObject().member( "text", "a\n\"b\"" ).member( "flag", true );
    line.member( "small", uint32_t{ 4294967295u } );
    line.member( "large", uint64_t{ 18446744073709551615u } ).member( "real", 0.5 );
    line.key( "list" ).beginArray().value( 1u ).value( false ).endArray();
    line.key( "object" ).beginObject().endObject().endObject();
    EXPECT_EQ( line.text(), R"({"text":"a\n\"b\"","flag":true,"small":4294967295,)"
                            R"("large":18446744073709551615,"real":0.5,"list":[1,false],)"
                            R"("object":{}})" );
}

TEST( JsonLine, APointerToCharactersIsText ) {
    const char *text = "x";
    JsonLine line;
    line.beginObject().member( "t", text ).endObject();
    EXPECT_EQ( line.text(), R"({"t":"x"})" );
}

TEST( JsonLine, KeepsZeroBytesWithinATextApart ) {
    JsonLine line;
    line.beginArray().value( std::string_view( "a\0b", 3 ) ).endArray();
    EXPECT_EQ( line.text(), "[\"a\\u0000b\"]" );
}

} // namespace
