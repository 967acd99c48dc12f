#include "OrvanGeneric/Ham/OrvanSmbusVisitors.h"

#include <ostream>

#include "OrvanGeneric/DriverArgs.h"
#include "tests/OrvanGeneric/Ham/SmbusHamFixture.h"

namespace {

using Drivers::DriverArgs;
using Ham::OrvanSmbusHam;
using Topology::_topology;

/** The path's part of an address's high word. */
uint32_t highWord( const OrvanSmbusHam *ham ) {
    return static_cast<uint32_t>( ham->hamAddress().packed() >> 32 );
}

// --- media ---

struct Medium {
    const char *name;
    const char *json; ///< with device 3
    Smbus::MasterType master;
    uint32_t pci;
    unsigned bus;
    unsigned accelerator;
};

void PrintTo( const Medium &medium, std::ostream *out ) {
    *out << medium.name;
}

class SmbusMedium : public testing::TestWithParam<Medium> {};

TEST_P( SmbusMedium, GivesMasterControllerAcceleratorAndBus ) {
    load( GetParam().json );
    const OrvanSmbusHam *ham = create( device( 3 ) );
    ASSERT_NE( ham, nullptr );
    EXPECT_EQ( ham->master(), GetParam().master );
    EXPECT_EQ( ham->pciAddress(), GetParam().pci );
    EXPECT_EQ( ham->hamAddress().bus, GetParam().bus );
    EXPECT_EQ( ham->hamAddress().accelerator, GetParam().accelerator );
    EXPECT_EQ( ham->hamAddress().address, 0x50u );
    EXPECT_TRUE( ham->muxPath().empty() );
}

INSTANTIATE_TEST_SUITE_P(
    EveryKind, SmbusMedium,
    testing::Values(
        Medium{ "SimulatedI2C", R"([ { "type": "I2C", "ham": "h", "id": 8, "simulated": true,
                                       "devices": [ { "did": 3 } ] } ])",
                static_cast<Smbus::MasterType>( 0 ), 0, 8, 0 },
        Medium{ "I2C", R"([ { "type": "I2C", "ham": "h", "id": 8, "simulated": false,
                              "devices": [ { "did": 3 } ] } ])",
                static_cast<Smbus::MasterType>( 1 ), 0, 8, 0 },
        Medium{ "PlainI2C", R"([ { "type": "I2C", "ham": "h", "id": 9,
                                   "devices": [ { "did": 3 } ] } ])",
                static_cast<Smbus::MasterType>( 1 ), 0, 9, 0 },
        Medium{ "SCD", R"([ { "type": "SCD", "ham": "h", "pci": 4294901776, "accelerators": [
                       { "id": 6, "busses": [ { "id": 5, "devices": [ { "did": 3 } ] } ] } ] } ])",
                static_cast<Smbus::MasterType>( 2 ), 0xFFFF0010, 5, 6 },
        Medium{ "IOPort", R"([ { "type": "IOPort", "ham": "h", "id": 1,
                                 "devices": [ { "did": 3 } ] } ])",
                static_cast<Smbus::MasterType>( 3 ), 0, 1, 0 },
        Medium{ "Celestica", R"([ { "type": "Celestica", "ham": "h", "accelerators": [
                       { "id": 7, "busses": [ { "id": 2, "devices": [ { "did": 3 } ] } ] } ] } ])",
                static_cast<Smbus::MasterType>( 4 ), 0, 2, 7 },
        Medium{ "PLM", R"([ { "type": "PLM", "ham": "h", "id": 3,
                              "devices": [ { "did": 3 } ] } ])",
                static_cast<Smbus::MasterType>( 5 ), 0, 3, 0 },
        Medium{ "SccSpi", R"([ { "type": "SccSpi", "ham": "h", "id": 4,
                                 "devices": [ { "did": 3 } ] } ])",
                static_cast<Smbus::MasterType>( 6 ), 0, 4, 0 },
        Medium{ "LinuxFs", R"([ { "type": "LinuxFs", "ham": "h", "devices": [ { "did": 3 } ] } ])",
                static_cast<Smbus::MasterType>( 0 ), 0, 0, 0 } ),
    []( const auto &tested ) { return std::string( tested.param.name ); } );

// --- finding the device ---

const char *const twoDevices = R"([ { "type": "I2C", "ham": "h", "id": 1, "devices": [
    { "did": 1, "components": [ { "uid": 10 } ] },
    { "did": 2, "components": [ { "uid": 11 } ] } ] },
  { "type": "I2C", "ham": "h", "id": 2, "devices": [ { "did": 1 } ] } ])";

TEST( OrvanSmbusDriverVisitor, FirstDeviceOfAnIdentityIsTaken ) {
    load( twoDevices );
    const OrvanSmbusHam *ham = create( device( 1 ) );
    ASSERT_NE( ham, nullptr );
    EXPECT_EQ( ham->hamAddress().bus, 1u );
}

TEST( OrvanSmbusDriverVisitor, UnknownDeviceGivesNull ) {
    load( twoDevices );
    EXPECT_EQ( create( device( 3 ) ), nullptr );
}

TEST( OrvanSmbusDriverVisitor, ComponentIsFoundWhateverTheDeviceId ) {
    load( twoDevices );
    const OrvanSmbusHam *ham = create( device( 99, 11 ) );
    ASSERT_NE( ham, nullptr );
    EXPECT_EQ( ham->hamAddress().bus, 1u );
    EXPECT_EQ( ham->master(), Smbus::I2C );
}

TEST( OrvanSmbusDriverVisitor, UnknownComponentGivesNullEvenWhereTheDeviceExists ) {
    load( twoDevices );
    EXPECT_EQ( create( device( 1, 12 ) ), nullptr );
}

TEST( OrvanSmbusDriverVisitor, AddressIsThatOfTheArgumentsButForAddrSize ) {
    load( twoDevices );
    DriverArgs args;
    ASSERT_TRUE( args.parseJSON( R"({ "did": 1, "driver": "d", "address": { "address": 82,
        "writeDelay": 1, "readDelay": 3, "busTimeout": 5, "extraDelay": 1, "addrSize": 2,
        "accel": 9 } })" ) );
    const OrvanSmbusHam *ham = create( args );
    // 3 << 30 | 1 << 28 | 1 << 27 | addrSize 1 << 25 | 5 << 22 | 9 << 14 | bus 1 << 7 | 0x52
    EXPECT_EQ( highWord( ham ), 0xDB4240D2u );
    EXPECT_EQ( args.address.addrSize, 2u );
}

TEST( OrvanSmbusDriverVisitor, BusAndAcceleratorIdsAreCutToTheirFields ) {
    load( R"([ { "type": "SCD", "ham": "h", "pci": 1, "accelerators": [
        { "id": 130, "busses": [ { "id": 200, "devices": [ { "did": 3 } ] } ] } ] } ])" );
    const OrvanSmbusHam *ham = create( device( 3 ) );
    EXPECT_EQ( ham->hamAddress().bus, 72u );
    EXPECT_EQ( ham->hamAddress().accelerator, 2u );
}

TEST( OrvanSmbusDriverVisitor, NothingBesideThePathCounts ) {
    load( R"([ { "type": "SCD", "ham": "h", "pci": 1, "accelerators": [
                 { "id": 1, "busses": [ { "id": 1 },
                                        { "id": 2, "devices": [ { "did": 3 } ] },
                                        { "id": 3 } ] },
                 { "id": 2, "busses": [ { "id": 4 } ] } ] },
               { "type": "I2C", "ham": "h", "id": 5 } ])" );
    const OrvanSmbusHam *ham = create( device( 3 ) );
    EXPECT_EQ( ham->master(), Smbus::SCD );
    EXPECT_EQ( ham->hamAddress().bus, 2u );
    EXPECT_EQ( ham->hamAddress().accelerator, 1u );
}

// --- bare addresses on a bus ---

const char *const labelledBuses = R"([
    { "type": "SCD", "ham": "h", "pci": 1281, "accelerators": [
        { "id": 2, "busses": [ { "id": 5, "label": "first", "devices": [ { "did": 1 } ] } ] },
        { "id": 3, "busses": [ { "id": 6, "label": "second" } ] } ] },
    { "type": "I2C", "ham": "h", "id": 9, "label": "last" } ])";

TEST( OrvanSmbusBusIdVisitor, LastBusOfTheWalkKeepsItsPath ) {
    load( labelledBuses );
    const OrvanSmbusHam *ham = createOnBus( "last", 0x50 );
    ASSERT_NE( ham, nullptr );
    EXPECT_EQ( ham->master(), Smbus::I2C );
    EXPECT_EQ( ham->pciAddress(), 0u );
    // addrSize 1 << 25 | bus 9 << 7 | 0x50
    EXPECT_EQ( ham->hamAddress().packed(), 0x020004D000000000u );
}

TEST( OrvanSmbusBusIdVisitor, EverythingVisitedLaterWritesItsPart ) {
    load( labelledBuses );
    const OrvanSmbusHam *ham = createOnBus( "first", 0x50 );
    ASSERT_NE( ham, nullptr );
    EXPECT_EQ( ham->master(), Smbus::I2C );
    EXPECT_EQ( ham->pciAddress(), 0u );
    // addrSize 1 << 25 | accelerator 3 << 14 | bus 9 << 7 | 0x50
    EXPECT_EQ( ham->hamAddress().packed(), 0x0200C4D000000000u );
}

TEST( OrvanSmbusBusIdVisitor, BusOfTheLastControllerIsReachedThroughIt ) {
    load( R"([ { "type": "I2C", "ham": "h", "id": 9 },
               { "type": "SCD", "ham": "h", "pci": 1281, "accelerators": [
                   { "id": 2, "busses": [ { "id": 5, "label": "first" } ] } ] } ])" );
    const OrvanSmbusHam *ham = createOnBus( "first", 0x50 );
    ASSERT_NE( ham, nullptr );
    EXPECT_EQ( ham->master(), Smbus::SCD );
    EXPECT_EQ( ham->pciAddress(), 1281u );
    // addrSize 1 << 25 | accelerator 2 << 14 | bus 5 << 7 | 0x50
    EXPECT_EQ( ham->hamAddress().packed(), 0x020082D000000000u );
}

TEST( OrvanSmbusBusIdVisitor, FileSystemVisitedLaterChangesNothing ) {
    load( R"([ { "type": "PLM", "ham": "h", "id": 4, "label": "plm" },
               { "type": "LinuxFs", "ham": "h" } ])" );
    const OrvanSmbusHam *ham = createOnBus( "plm", 0x50 );
    EXPECT_EQ( ham->master(), Smbus::PLM );
    EXPECT_EQ( ham->hamAddress().bus, 4u );
}

TEST( OrvanSmbusBusIdVisitor, AddressHasSevenBits ) {
    load( labelledBuses );
    EXPECT_EQ( createOnBus( "last", 0xD0 )->getAddress(), 0x50 );
}

TEST( OrvanSmbusBusIdVisitor, BusOutsideTheTopologyGivesNull ) {
    load( labelledBuses );
    const Topology::Bus other;
    EXPECT_EQ( OrvanSmbusHam::createOnBus( *_topology, &other, 0x50 ), nullptr );
    EXPECT_EQ( OrvanSmbusHam::createOnBus( *_topology, nullptr, 0x50 ), nullptr );
}

TEST( OrvanSmbusBusIdVisitor, WalkIsNotStopped ) {
    load( labelledBuses );
    Ham::OrvanSmbusBusIdVisitor visitor( Topology::getBusByLabel( "first" ), 0x50 );
    EXPECT_EQ( visitor.busId, -1 );
    EXPECT_FALSE( visitor.found );
    EXPECT_TRUE( _topology->accept( &visitor ) );
    EXPECT_TRUE( visitor.found );
    EXPECT_EQ( visitor.busId, 9 );
    kept( visitor.ham );
}

} // namespace
