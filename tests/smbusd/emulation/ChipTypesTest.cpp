#include "smbusd/emulation/ChipTypes.h"

#include <set>

#include <gtest/gtest.h>

namespace {

TEST( ChipTypes, EachIsFoundByItsName ) {
    std::set<std::string_view> seen;
    for ( const std::string_view name : smbusd::chipTypeNames() ) {
        EXPECT_TRUE( seen.insert( name ).second ) << name;
        const smbusd::ChipType *type = smbusd::findChipType( name );
        ASSERT_NE( type, nullptr ) << name;
        EXPECT_EQ( type->name, name );
        EXPECT_NE( type->create, nullptr ) << name;
    }
    EXPECT_TRUE( seen.count( "pca9555" ) == 1 );
}

TEST( ChipTypes, ARowsKeysAreItsOwn ) {
    // These belong to every chip, and "channels" to every multiplexer.
    const std::set<std::string_view> common = { "name",    "description", "type",    "address",
                                                "plugged", "inputs",      "channels" };
    for ( const std::string_view name : smbusd::chipTypeNames() ) {
        std::set<std::string_view> seen;
        for ( const std::string_view key : smbusd::findChipType( name )->keys ) {
            EXPECT_EQ( common.count( key ), 0u ) << name << ": " << key;
            EXPECT_TRUE( seen.insert( key ).second ) << name << ": " << key;
        }
    }
}

TEST( ChipTypes, ThereIsNothingForAnotherName ) {
    EXPECT_EQ( smbusd::findChipType( "" ), nullptr );
    EXPECT_EQ( smbusd::findChipType( "pca955" ), nullptr );
    EXPECT_EQ( smbusd::findChipType( "PCA9555" ), nullptr );
}

} // namespace
