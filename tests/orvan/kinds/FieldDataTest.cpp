#include "orvan/kinds/FieldData.h"

#include <gmock/gmock.h>

namespace {

using orvan::fieldData;
using testing::Pair;
using testing::UnorderedElementsAre;

TEST( FieldData, WhatStandsForThePlaceholdersIsFound ) {
    const auto fields = fieldData( "air=f2b; rpm=25000", "air={airflow}; rpm={maxRpm}" );
    ASSERT_TRUE( fields );
    EXPECT_THAT( *fields,
                 UnorderedElementsAre( Pair( "airflow", "f2b" ), Pair( "maxRpm", "25000" ) ) );
}

TEST( FieldData, BracesThatHoldNoNameAreText ) {
    const auto fields = fieldData( "{ \"m\": \"X\" }", "{ \"m\": \"{model}\" }" );
    ASSERT_TRUE( fields );
    EXPECT_THAT( *fields, UnorderedElementsAre( Pair( "model", "X" ) ) );
}

TEST( FieldData, ATextThatCannotComeFromTheTemplateGivesNothing ) {
    EXPECT_FALSE( fieldData( "rpm=1", "air={airflow}" ) );
    EXPECT_FALSE( fieldData( "air=f2b, more", "air={airflow};" ) );
    EXPECT_FALSE( fieldData( "a=1 b=2", "a={x} b={x}" ) );
    EXPECT_FALSE( fieldData( "plain text", "plain" ) );
    EXPECT_TRUE( fieldData( "plain", "plain" ) );
    EXPECT_TRUE( fieldData( "a=1 b=1", "a={x} b={x}" ) );
}

} // namespace
