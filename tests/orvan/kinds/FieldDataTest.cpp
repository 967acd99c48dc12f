#include "orvan/kinds/FieldData.h"

#include <gtest/gtest.h>

namespace {

using orvan::fieldData;
using Fields = std::map<std::string, std::string>;

TEST( FieldData, PlaceholdersAreReadBack ) {
    EXPECT_EQ( fieldData( R"({ "airflow": "frontToBack", "maxRpm": 25000 })",
                          R"({ "airflow": "{airflowDirection}", "maxRpm": {maxRpm} })" ),
               ( Fields{ { "airflowDirection", "frontToBack" }, { "maxRpm", "25000" } } ) );
}

TEST( FieldData, PlaceholdersMayStandAtBothEnds ) {
    EXPECT_EQ( fieldData( "F2B/9000", "{flow}/{rpm}" ),
               ( Fields{ { "flow", "F2B" }, { "rpm", "9000" } } ) );
    EXPECT_EQ( fieldData( "A1", "{serialNum}" ), ( Fields{ { "serialNum", "A1" } } ) );
}

TEST( FieldData, TheLastPlaceholderTakesAllUpToTheEndOfTheTemplate ) {
    EXPECT_EQ( fieldData( "sn=A;B;", "sn={serialNum};" ), ( Fields{ { "serialNum", "A;B" } } ) );
}

TEST( FieldData, ValuesMayBeEmpty ) {
    EXPECT_EQ( fieldData( "[]", "[{modelName}]" ), ( Fields{ { "modelName", "" } } ) );
}

TEST( FieldData, RepeatedPlaceholdersMustAgree ) {
    EXPECT_EQ( fieldData( "A1/A1", "{serialNum}/{serialNum}" ),
               ( Fields{ { "serialNum", "A1" } } ) );
    EXPECT_EQ( fieldData( "A1/A2", "{serialNum}/{serialNum}" ), std::nullopt );
}

TEST( FieldData, TemplateWithoutPlaceholdersIsTheText ) {
    EXPECT_EQ( fieldData( "fixed", "fixed" ), Fields{} );
    EXPECT_EQ( fieldData( "", "" ), Fields{} );
    EXPECT_EQ( fieldData( "fixed!", "fixed" ), std::nullopt );
    EXPECT_EQ( fieldData( "fix", "fixed" ), std::nullopt );
}

TEST( FieldData, TextThatDoesNotFitGivesNothing ) {
    EXPECT_EQ( fieldData( "", "a {b}" ), std::nullopt );
    EXPECT_EQ( fieldData( "x 1", "a {b}" ), std::nullopt );
    EXPECT_EQ( fieldData( "a 1", "a {b} c" ), std::nullopt );
    EXPECT_EQ( fieldData( "a 1 x 2", "a {b} c {d}" ), std::nullopt );
    // The end of the template must not be found within what is already taken.
    EXPECT_EQ( fieldData( "ab", "ab{x}b" ), std::nullopt );
}

TEST( FieldData, BracesThatAreNoPlaceholderAreText ) {
    EXPECT_EQ( fieldData( "{} { a } {-} {open 1", "{} { a } {-} {open {x}" ),
               ( Fields{ { "x", "1" } } ) );
}

} // namespace
