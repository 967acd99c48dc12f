#include "orvan/board/SharedAddresses.h"

#include <gtest/gtest.h>

namespace {

using orvan::JsonFile;
using orvan::Problems;
using orvan::TopologyIndex;

/** What is said of a bus with @p muxes, whose chips 70 and 71 are beside them. */
std::string warnings( const std::string &muxes,
                      const std::map<uint32_t, uint32_t> &addresses = {} ) {
    const std::string text =
        R"([{"type":"I2C","ham":"OrvanSmbus","id":0,"devices":[
            {"did":70,"driver":"PCA9548","address":{"address":112}},
            {"did":71,"driver":"PCA9548","address":{"address":113}}],"muxes":[)" +
        muxes + "]}]";
    JsonFile file;
    Problems problems;
    TopologyIndex index;
    EXPECT_TRUE( orvan::parseJsonText( "t", text, file, problems ) ) << problems.text();
    index.build( file, problems );
    EXPECT_EQ( problems.text(), "" );
    orvan::warnOfSharedAddresses( "t", index, addresses, problems );
    EXPECT_FALSE( problems.hasErrors() );
    return problems.text();
}

std::string device( int did, int address ) {
    return R"({"did":)" + std::to_string( did ) + R"(,"driver":"Dummy","address":{"address":)" +
           std::to_string( address ) + "}}";
}

std::string mux( int did, const std::string &busses ) {
    return R"({"did":)" + std::to_string( did ) + R"(,"busses":[)" + busses + "]}";
}

std::string channel( int id, const std::string &devices, const std::string &rest = "" ) {
    return R"({"id":)" + std::to_string( id ) + R"(,"devices":[)" + devices + "]" + rest + "}";
}

constexpr const char *warning =
    "t: warning: at /0/muxes/1/busses/0/devices/0: the address 0x20 is also that of device 1 "
    "behind "
    "a sibling mux; should one of the two muxes stay open after a failure, both devices answer\n";

TEST( SharedAddresses, BehindSiblingMuxesAreWarnedOf ) {
    EXPECT_EQ( warnings( mux( 70, channel( 1, device( 1, 0x20 ) ) ) + "," +
                         mux( 71, channel( 1, device( 2, 0x20 ) ) ) ),
               warning );
}

TEST( SharedAddresses, OnlySevenBitsOfAnAddressCount ) {
    EXPECT_EQ( warnings( mux( 70, channel( 1, device( 1, 0x20 ) ) ) + "," +
                             mux( 71, channel( 1, R"({"did":2})" ) ),
                         { { 2, 0xA0 } } ),
               warning );
}

TEST( SharedAddresses, TwoChannelsOfOneMuxAndOtherAddressesAreGood ) {
    EXPECT_EQ( warnings( mux( 70, channel( 1, device( 1, 0x20 ) ) + "," +
                                      channel( 2, device( 2, 0x20 ) ) ) +
                         "," + mux( 71, channel( 1, device( 3, 0x21 ) ) ) ),
               "" );
}

TEST( SharedAddresses, AMuxFurtherInCountsToo ) {
    const std::string inner = R"(,"muxes":[)" + mux( 71, channel( 4, device( 2, 0x20 ) ) ) + "]";
    // The inner mux is on channel 1, the device on channel 2: both ways lead through mux 70 alone.
    EXPECT_EQ(
        warnings( mux( 70, channel( 1, "", inner ) + "," + channel( 2, device( 1, 0x20 ) ) ) ),
        "" );
}

TEST( SharedAddresses, DescriptionsTellTheAddressesThatTheTopologyDoesNot ) {
    const std::string topology =
        mux( 70, channel( 1, R"({"did":1})" ) ) + "," + mux( 71, channel( 1, R"({"did":2})" ) );
    EXPECT_EQ( warnings( topology ), "" );
    EXPECT_EQ( warnings( topology, { { 1, 0x20 }, { 2, 0x20 } } ), warning );
    EXPECT_EQ( warnings( topology, { { 1, 0x20 }, { 2, 0x21 } } ), "" );
}

} // namespace
