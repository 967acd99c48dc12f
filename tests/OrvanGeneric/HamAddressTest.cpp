#include "OrvanGeneric/HamAddress.h"

#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include "OrvanGeneric/Topology.h"
#include "tests/support/AssertionFailure.h"

namespace {

using Topology::HamAddress;

/** The address that @p json describes, read over an address whose every bit is set. */
HamAddress addressOf( const std::string &json ) {
    rapidjson::Document document;
    document.Parse( json.c_str() );
    EXPECT_FALSE( document.HasParseError() ) << json;
    HamAddress address;
    std::memset( &address, 0xFF, sizeof( address ) );
    Topology::fillAddressFromJSON( document, address );
    return address;
}

uint32_t highWord( const HamAddress &address ) {
    return static_cast<uint32_t>( address.packed() >> 32 );
}

// The packed form

TEST( HamAddress, IsTwoWords ) {
    static_assert( sizeof( HamAddress ) == 8 );
    EXPECT_EQ( HamAddress{}.packed(), 0u );
}

TEST( HamAddress, RegisterIsTheLowWord ) {
    HamAddress address{};
    address.reg = 0x89ABCDEF;
    EXPECT_EQ( address.packed(), 0x0000000089ABCDEFu );
}

TEST( HamAddress, EachFieldHasItsBitsOfTheHighWord ) {
    const auto with = []( auto set ) {
        HamAddress address{};
        set( address );
        EXPECT_EQ( address.reg, 0u );
        return highWord( address );
    };
    EXPECT_EQ( with( []( HamAddress &a ) { a.address = 0x7F; } ), 0x0000007Fu );
    EXPECT_EQ( with( []( HamAddress &a ) { a.bus = 0x7F; } ), 0x00003F80u );
    EXPECT_EQ( with( []( HamAddress &a ) { a.accelerator = 0x7F; } ), 0x001FC000u );
    EXPECT_EQ( with( []( HamAddress &a ) { a.flag = 1; } ), 0x00200000u );
    EXPECT_EQ( with( []( HamAddress &a ) { a.busTimeout = 7; } ), 0x01C00000u );
    EXPECT_EQ( with( []( HamAddress &a ) { a.addrSize = 3; } ), 0x06000000u );
    EXPECT_EQ( with( []( HamAddress &a ) { a.extraDelay = 1; } ), 0x08000000u );
    EXPECT_EQ( with( []( HamAddress &a ) { a.writeDelay = 3; } ), 0x30000000u );
    EXPECT_EQ( with( []( HamAddress &a ) { a.readDelay = 3; } ), 0xC0000000u );
}

TEST( HamAddress, FieldsBeginAtTheirLowestBit ) {
    const auto with = []( auto set ) {
        HamAddress address{};
        set( address );
        return highWord( address );
    };
    EXPECT_EQ( with( []( HamAddress &a ) { a.address = 1; } ), 1u << 0 );
    EXPECT_EQ( with( []( HamAddress &a ) { a.bus = 1; } ), 1u << 7 );
    EXPECT_EQ( with( []( HamAddress &a ) { a.accelerator = 1; } ), 1u << 14 );
    EXPECT_EQ( with( []( HamAddress &a ) { a.flag = 1; } ), 1u << 21 );
    EXPECT_EQ( with( []( HamAddress &a ) { a.busTimeout = 1; } ), 1u << 22 );
    EXPECT_EQ( with( []( HamAddress &a ) { a.addrSize = 1; } ), 1u << 25 );
    EXPECT_EQ( with( []( HamAddress &a ) { a.extraDelay = 1; } ), 1u << 27 );
    EXPECT_EQ( with( []( HamAddress &a ) { a.writeDelay = 1; } ), 1u << 28 );
    EXPECT_EQ( with( []( HamAddress &a ) { a.readDelay = 1; } ), 1u << 30 );
}

// Reading it

TEST( HamAddress, AddressAloneLeavesTheDefaults ) {
    EXPECT_EQ( addressOf( R"({ "address": 80 })" ).packed(), 0x0200005000000000u );
}

TEST( HamAddress, EveryFieldTogether ) {
    const HamAddress address = addressOf( R"({ "address": 85, "writeDelay": 1, "readDelay": 2,
        "busTimeout": 5, "extraDelay": 1, "addrSize": 2, "accel": 42 })" );
    EXPECT_EQ( address.packed(), 0x9D4A805500000000u );
}

struct FieldCase {
    const char *member;
    uint32_t highWord; ///< beside "address": 0
};

void PrintTo( const FieldCase &fieldCase, std::ostream *out ) {
    *out << fieldCase.member;
}

class HamAddressField : public testing::TestWithParam<FieldCase> {};

TEST_P( HamAddressField, IsCutToItsWidth ) {
    const std::string json = std::string( R"({ "address": 0, )" ) + GetParam().member + " }";
    const HamAddress address = addressOf( json );
    EXPECT_EQ( highWord( address ), GetParam().highWord );
    EXPECT_EQ( address.reg, 0u );
}

INSTANTIATE_TEST_SUITE_P(
    All, HamAddressField,
    testing::Values(
        FieldCase{ "\"writeDelay\": 1", 0x12000000 }, FieldCase{ "\"writeDelay\": 3", 0x32000000 },
        FieldCase{ "\"writeDelay\": 5", 0x12000000 },
        FieldCase{ "\"writeDelay\": 4294967295", 0x32000000 },
        FieldCase{ "\"readDelay\": 3", 0xC2000000 }, FieldCase{ "\"readDelay\": 6", 0x82000000 },
        FieldCase{ "\"readDelay\": 3, \"writeDelay\": 1", 0xD2000000 },
        FieldCase{ "\"busTimeout\": 7", 0x03C00000 }, FieldCase{ "\"busTimeout\": 9", 0x02400000 },
        FieldCase{ "\"extraDelay\": 1", 0x0A000000 }, FieldCase{ "\"extraDelay\": 2", 0x02000000 },
        FieldCase{ "\"addrSize\": 1", 0x02000000 }, FieldCase{ "\"addrSize\": 2", 0x04000000 },
        FieldCase{ "\"addrSize\": 5", 0x02000000 }, FieldCase{ "\"addrSize\": 6", 0x04000000 },
        FieldCase{ "\"accel\": 127", 0x021FC000 }, FieldCase{ "\"accel\": 128", 0x02000000 },
        FieldCase{ "\"accel\": 130", 0x02008000 },
        // What only the Ham fills is not read.
        FieldCase{ "\"bus\": 1, \"flag\": 1, \"reg\": 1", 0x02000000 } ) );

TEST( HamAddress, DeviceAddressIsCutToSevenBits ) {
    EXPECT_EQ( highWord( addressOf( R"({ "address": 208 })" ) ), 0x02000050u );
    EXPECT_EQ( highWord( addressOf( R"({ "address": 4294967295 })" ) ), 0x0200007Fu );
}

// What aborts

TEST( HamAddressDeath, WhatIsNoObject ) {
    for ( const char *json : { "[]", "80", "null", "\"80\"" } ) {
        EXPECT_DEATH( addressOf( json ),
                      assertionFailure( "OrvanGeneric/Topology.cpp", "value.IsObject()" ) );
    }
}

TEST( HamAddressDeath, MissingAddress ) {
    EXPECT_DEATH(
        addressOf( R"({ "Address": 80 })" ),
        assertionFailure( "OrvanGeneric/Topology.cpp", "value.HasMember( \"address\" )" ) );
}

TEST( HamAddressDeath, AddressSizesOfTheWrongLowBits ) {
    for ( const char *size : { "0", "3", "4", "7", "8" } ) {
        EXPECT_DEATH(
            addressOf( std::string( R"({ "address": 80, "addrSize": )" ) + size + " }" ),
            assertionFailure( "OrvanGeneric/Topology.cpp",
                              "addr.addrSize == 1 || addr.addrSize == 2 || addr.addrSize == 4" ) )
            << size;
    }
}

TEST( HamAddressDeath, AddressSizeIsJudgedBeforeTheAcceleratorIsRead ) {
    EXPECT_DEATH(
        addressOf( R"({ "address": 80, "accel": "none", "addrSize": 3 })" ),
        assertionFailure( "OrvanGeneric/Topology.cpp",
                          "addr.addrSize == 1 || addr.addrSize == 2 || addr.addrSize == 4" ) );
}

TEST( HamAddressDeath, NumbersThatAreNotUnsigned32Bit ) {
    for ( const char *value : { "-1", "80.5", "4294967296", "\"80\"", "true", "null" } ) {
        EXPECT_DEATH( addressOf( std::string( R"({ "address": )" ) + value + " }" ),
                      jsonTypeFailure() )
            << value;
    }
    for ( const char *field :
          { "writeDelay", "readDelay", "busTimeout", "extraDelay", "addrSize", "accel" } ) {
        EXPECT_DEATH( addressOf( std::string( R"({ "address": 80, ")" ) + field + "\": -1 }" ),
                      jsonTypeFailure() )
            << field;
    }
}

} // namespace
