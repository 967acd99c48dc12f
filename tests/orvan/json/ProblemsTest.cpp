#include "orvan/json/Problems.h"

#include <gtest/gtest.h>

namespace {

using orvan::Problems;

TEST( Problems, EachIsOneLineWithFilePlaceValueAndExpectation ) {
    rapidjson::Document document;
    document.Parse( R"({"did":"7"})" );
    Problems problems;
    problems.error( "topology.json", "/0/did", &document[ "did" ], "an integer" );
    problems.error( "topology.json", "", nullptr, "an array" );
    problems.errorText( "p.json", "/1", "line 3", "JSON text" );
    problems.warning( "p.json", "/2/x", "unknown key" );
    EXPECT_EQ( problems.text(), "topology.json: at /0/did: \"7\"; expected an integer\n"
                                "topology.json: expected an array\n"
                                "p.json: at /1: line 3; expected JSON text\n"
                                "p.json: warning: at /2/x: unknown key\n" );
    EXPECT_TRUE( problems.hasErrors() );
    EXPECT_EQ( problems.all().size(), 4u );
}

TEST( Problems, WarningsAreNoErrors ) {
    Problems problems;
    EXPECT_FALSE( problems.hasErrors() );
    problems.warning( "f", "", "w" );
    EXPECT_FALSE( problems.hasErrors() );
}

TEST( Problems, CompactJsonIsAscii ) {
    rapidjson::Document document;
    document.Parse( "{ \"a\" : \"ü\" , \"b\" : [ 1 ] }" );
    EXPECT_EQ( orvan::compactJson( document ), R"({"a":"\u00FC","b":[1]})" );
}

} // namespace
