#include "orvan/commands/Readings.h"

#include <limits>

#include <gtest/gtest.h>

namespace {

using orvan::Reading;
using orvan::Value;

constexpr Reading plain{ "value", "", 0, nullptr };
constexpr Reading voltage{ "vin", "V", 2, nullptr };

std::string json( const Reading &reading, const Value &value ) {
    rapidjson::StringBuffer buffer;
    orvan::JsonWriter writer( buffer );
    orvan::writeJson( writer, reading, value );
    return buffer.GetString();
}

TEST( Readings, AWholeNumberIsANumber ) {
    EXPECT_EQ( json( plain, Value::of( -7LL ) ), R"({"status":"ok","value":-7})" );
    EXPECT_EQ( json( plain, Value::of( 4294967296LL ) ), R"({"status":"ok","value":4294967296})" );
}

TEST( Readings, AFractionIsNotRoundedToTheDecimalsShown ) {
    EXPECT_EQ( json( voltage, Value::of( 12.0625 ) ),
               R"({"status":"ok","value":12.0625,"unit":"V"})" );
}

TEST( Readings, AFractionThatJsonCannotHoldIsNull ) {
    for ( const double value :
          { std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
            -std::numeric_limits<double>::infinity() } ) {
        EXPECT_EQ( json( voltage, Value::of( value ) ),
                   R"({"status":"ok","value":null,"unit":"V"})" );
    }
}

TEST( Readings, ATextIsAStringWithItsControlCharactersEscaped ) {
    EXPECT_EQ( json( plain, Value::of( std::string( "a\"b\n" ) ) ),
               R"({"status":"ok","value":"a\"b\n"})" );
    EXPECT_EQ( json( plain, Value::of( std::string( "a\0b", 3 ) ) ),
               R"({"status":"ok","value":"a\u0000b"})" );
}

TEST( Readings, NothingToShowIsNull ) {
    EXPECT_EQ( json( plain, Value() ), R"({"status":"ok","value":null})" );
}

TEST( Readings, AFailureHasItsStatusAndNoValue ) {
    EXPECT_EQ( json( voltage, Value::failed( PL_STATUS_NOT_PRESENT ) ),
               R"({"status":"not present","unit":"V"})" );
    EXPECT_EQ( json( plain, Value::failed( PL_STATUS_FAULT ) ), R"({"status":"fault"})" );
}

TEST( Readings, WhatTheLibraryThrewIsTheError ) {
    Value value = Value::failed( PL_STATUS_FAILED );
    value.exception = "std::out_of_range: map::at";
    EXPECT_EQ( json( plain, value ),
               R"({"status":"failed","error":"std::out_of_range: map::at"})" );
}

} // namespace
