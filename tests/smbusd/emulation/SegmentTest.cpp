#include "smbusd/emulation/Segment.h"

#include <gtest/gtest.h>

#include "tests/support/TestBoard.h"

namespace {

using test::TestBoard;

std::vector<std::string> seenAt( TestBoard &test, uint8_t address ) {
    auto *bus = dynamic_cast<smbusd::VirtualBus *>( test.hardware.findBus( "bus" ) );
    std::vector<smbusd::Chip *> found;
    bus->root().collect( address, found );
    std::vector<std::string> names;
    for ( const smbusd::Chip *chip : found ) {
        names.push_back( chip->name() );
    }
    return names;
}

TEST( Segment, CollectsWhatIsInReachOfAnAddress ) {
    TestBoard test( TestBoard::withChips( R"(
        { "name": "near", "type": "registers", "address": 32 },
        { "name": "gone", "type": "registers", "address": 33, "plugged": false },
        { "name": "mux", "type": "pca9548", "address": 112, "channels": {
          "3": [ { "name": "far", "type": "registers", "address": 32 } ] } })" ) );
    EXPECT_EQ( seenAt( test, 32 ), ( std::vector<std::string>{ "near" } ) );
    EXPECT_TRUE( seenAt( test, 33 ).empty() );
    EXPECT_TRUE( seenAt( test, 34 ).empty() );
    test.chip( "mux" ).poke( 0, uint32_t{ 0x08 } );
    EXPECT_EQ( seenAt( test, 32 ), ( std::vector<std::string>{ "near", "far" } ) );
}

} // namespace
