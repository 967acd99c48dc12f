#include <gtest/gtest.h>

#include "tests/support/SmbusdProcess.h"

namespace {

using test::bytes;

const char *const hardware = R"({
  "buses": [ { "name": "scd", "master": "SCD", "pci": "0x300", "accelerator": 1, "bus": 2,
    "chips": [
      { "name": "expander", "type": "pca9555", "address": "0x20", "inputs": { "p03": 0 } },
      { "name": "mux", "type": "pca9548", "address": "0x70", "channels": {
        "2": [ { "name": "deep", "type": "registers", "address": "0x50", "width": 16,
                 "byteOrder": "high-first", "registers": { "1": "0x1234" } } ] } } ] } ] })";

constexpr test::Place place = { Smbus::SCD, 0x300, 1, 2, 0x20 };

TEST( FirstContact, ReadsAndWritesOverTheSocket ) {
    const test::SmbusdProcess service( hardware );
    test::SmbusClient client( service.socket() );
    const auto reply = client.call( test::TransactionBuilder()
                                        .write( place, 6, bytes( 0xFF, 0x00 ) )
                                        .write( place, 3, bytes( 0xA5 ) )
                                        .read( place, 0, 2 ) );
    ASSERT_TRUE( reply );
    EXPECT_FALSE( reply->failed() ) << reply->reason();
    ASSERT_EQ( reply->responses_size(), 3 );
    EXPECT_EQ( reply->responses( 0 ).data(), "" );
    EXPECT_EQ( reply->responses( 2 ).data(), bytes( 0xF7, 0xA5 ) );
}

TEST( FirstContact, SelectsAMuxChannelWithinTheTransaction ) {
    const test::SmbusdProcess service( hardware );
    test::SmbusClient client( service.socket() );
    const auto open = client.call( test::TransactionBuilder()
                                       .sendByte( place.at( 0x70 ), 0x04 )
                                       .read( place.at( 0x50 ), 1, 2 )
                                       .sendByte( place.at( 0x70 ), 0 ) );
    ASSERT_TRUE( open );
    EXPECT_FALSE( open->failed() ) << open->reason();
    ASSERT_EQ( open->responses_size(), 3 );
    EXPECT_EQ( open->responses( 1 ).data(), bytes( 0x12, 0x34 ) );

    const auto closed = client.call( test::TransactionBuilder().read( place.at( 0x50 ), 1, 2 ) );
    ASSERT_TRUE( closed );
    EXPECT_TRUE( closed->failed() );
    EXPECT_EQ( closed->responses_size(), 0 );
}

} // namespace
