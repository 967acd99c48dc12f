#include "OrvanGeneric/Ham/OrvanSmbusVisitors.h"

#include <csignal>
#include <cstdio>
#include <ostream>

#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/Components/Mux.h"
#include "OrvanGeneric/Drivers/Drivers.h"
#include "OrvanGeneric/Ham/Hams.h"
#include "tests/OrvanGeneric/Ham/SmbusHamFixture.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/ScriptedHam.h"

namespace {

using Component::DeviceBase;
using Drivers::DriverArgs;
using Ham::OrvanSmbusHam;
using support::reply;
using Topology::_topology;

/** Arguments of device @p did at address 0x50. */
DriverArgs device( uint32_t did, uint32_t uid = Drivers::noComponent ) {
    DriverArgs args;
    args.did = did;
    args.uid = uid;
    args.address.address = 0x50;
    args.address.addrSize = 1;
    return args;
}

OrvanSmbusHam *create( const DriverArgs &args ) {
    Ham::Ham *made = OrvanSmbusHam::create( *_topology, args );
    return made ? kept( dynamic_cast<OrvanSmbusHam *>( made ) ) : nullptr;
}

OrvanSmbusHam *createOnBus( const char *label, uint8_t address ) {
    OrvanSmbusHam *made =
        OrvanSmbusHam::createOnBus( *_topology, Topology::getBusByLabel( label ), address );
    return made ? kept( made ) : nullptr;
}

void load( const std::string &text ) {
    ASSERT_EQ( Topology::loadTopology( text.c_str() ), PL_STATUS_OK );
    FakeHost::instance().traces.clear();
}

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

// --- muxes ---

/** Mux 70 (0x70) on bus 5; behind its channel 1 device 2 and mux 71 (0x71), whose channel 0x104 has device 3. */
const char *const cascade = R"([
    { "type": "SCD", "ham": "OrvanSmbus", "pci": 1281, "accelerators": [ { "id": 2, "busses": [
        { "id": 5,
          "devices": [ { "did": 1 },
                       { "did": 70, "driver": "PCA9548",
                         "address": { "address": 112, "accel": 2 } } ],
          "muxes": [ { "did": 70, "busses": [
              { "id": 1, "label": "inner",
                "devices": [ { "did": 2 },
                             { "did": 71, "driver": "GenericSmbusMux",
                               "address": { "address": 113, "accel": 2 } } ],
                "muxes": [ { "did": 71, "busses": [
                    { "id": 260, "devices": [ { "did": 3 } ] } ] } ] } ] } ] } ] } ] } ])";

class SmbusMuxes : public SmbusServiceTest {
  protected:
    SmbusMuxes() { load( cascade ); }

    /** A Ham that is ready for use. */
    static OrvanSmbusHam *ready( const DriverArgs &args ) {
        OrvanSmbusHam *ham = create( args );
        ham->init();
        return ham;
    }

    static std::string sent( const char *what, const char *reg, const char *address,
                             const char *data = "-" ) {
        return std::string( what ) + " address 0200" + address + ":000000" + reg +
               " pci 00000501 master 2 pec 0 data " + data;
    }
    // Accelerator 2 << 14 | bus 5 << 7 | the chip's address; addrSize 1 << 25 above.
    static constexpr const char *atDevice = "82d0";
    static constexpr const char *atOuterMux = "82f0";
    static constexpr const char *atInnerMux = "82f1";
};

TEST_F( SmbusMuxes, DeviceBesideAMuxHasNone ) {
    EXPECT_TRUE( create( device( 1 ) )->muxPath().empty() );
    EXPECT_TRUE( DeviceBase::devices.empty() );
}

TEST_F( SmbusMuxes, PathHoldsTheMuxesRootSideFirst ) {
    const OrvanSmbusHam *ham = create( device( 3 ) );
    ASSERT_EQ( ham->muxPath().size(), 2u );
    EXPECT_EQ( ham->muxPath()[ 0 ]->device(), DeviceBase::devices.at( 70 ) );
    EXPECT_EQ( ham->muxPath()[ 1 ]->device(), DeviceBase::devices.at( 71 ) );
}

TEST_F( SmbusMuxes, BusIsTheOutermostOne ) {
    EXPECT_EQ( create( device( 3 ) )->hamAddress().bus, 5u );
    EXPECT_EQ( create( device( 2 ) )->hamAddress().bus, 5u );
}

TEST_F( SmbusMuxes, ChannelIsTracedAsTheWholeBusId ) {
    create( device( 3 ) );
    const Log level3 = host_.texts( 3 );
    EXPECT_EQ( level3.front(), "Mux using device 71 with value 260" );
    EXPECT_EQ( level3.back(), "Mux using device 70 with value 1" );
}

TEST_F( SmbusMuxes, OneMuxIsOpenedInFrontAndClosedBehind ) {
    OrvanSmbusHam *ham = ready( device( 2 ) );
    peer_.answer( reply( { "", "\x5a", "" } ) );
    uint8_t byte = 0;
    EXPECT_EQ( ham->read8( 0x12, &byte ), 0 );
    EXPECT_EQ( byte, 0x5A );
    EXPECT_EQ( peer_.takeOnlyTransaction(),
               ( Log{ sent( "type 1 length 0", "01", atOuterMux ),
                      sent( "type 0 length 1", "12", atDevice ),
                      sent( "type 1 length 0", "00", atOuterMux ) } ) );
}

TEST_F( SmbusMuxes, TwoMuxesAreOpenedInwardsAndClosedOutwards ) {
    OrvanSmbusHam *ham = ready( device( 3 ) );
    ham->prepare();
    EXPECT_EQ( ham->addRead16( 0x12 ), 0u );
    ham->addWrite8( 0x13, 0xFF, false );
    peer_.answer( reply( { "", "", "\x34\x12", "", "", "" } ) );
    EXPECT_EQ( ham->execute(), 0 );
    EXPECT_EQ( ham->get16( 0 ), 0x1234 );
    EXPECT_EQ( peer_.takeOnlyTransaction(),
               ( Log{ sent( "type 1 length 0", "01", atOuterMux ),
                      sent( "type 1 length 0", "04", atInnerMux ),
                      sent( "type 0 length 2", "12", atDevice ),
                      sent( "type 1 length 1", "13", atDevice, "ff" ),
                      sent( "type 1 length 0", "00", atInnerMux ),
                      sent( "type 1 length 0", "00", atOuterMux ) } ) );
}

TEST_F( SmbusMuxes, EveryBatchKeepsTheHeadAndNothingElse ) {
    OrvanSmbusHam *ham = ready( device( 3 ) );
    for ( int i = 0; i < 3; ++i ) {
        EXPECT_EQ( ham->write8( 0x13, 0xFF, true ), 0 );
        peer_.takeTransactions();
    }
    uint8_t byte = 0;
    EXPECT_EQ( ham->read8( 0x12, &byte ), 0 );
    EXPECT_EQ( peer_.takeOnlyTransaction(),
               ( Log{ sent( "type 1 length 0", "01", atOuterMux ),
                      sent( "type 1 length 0", "04", atInnerMux ),
                      sent( "type 0 length 1", "12", atDevice ),
                      sent( "type 1 length 0", "00", atInnerMux ),
                      sent( "type 1 length 0", "00", atOuterMux ) } ) );
}

TEST_F( SmbusMuxes, MuxRequestsCarryTheDevicesOwnFields ) {
    DriverArgs args = device( 2 );
    args.address.readDelay = 3;
    args.address.busTimeout = 1;
    OrvanSmbusHam *ham = ready( args );
    uint8_t byte = 0;
    EXPECT_EQ( ham->read8( 0x12, &byte ), 0 );
    const Log requests = peer_.takeOnlyTransaction();
    ASSERT_EQ( requests.size(), 3u );
    // 3 << 30 | 1 << 25 | 1 << 22 | 2 << 14 | 5 << 7 | 0x70
    EXPECT_NE( requests[ 0 ].find( "address c24082f0:00000001" ), std::string::npos );
    EXPECT_NE( requests[ 2 ].find( "address c24082f0:00000000" ), std::string::npos );
}

TEST_F( SmbusMuxes, FlagOfTheLastReadDoesNotReachTheClosingRequest ) {
    OrvanSmbusHam *ham = ready( device( 2 ) );
    std::string block;
    EXPECT_EQ( ham->read( 0x12, 1, &block, true ), 0 );
    const Log requests = peer_.takeOnlyTransaction();
    EXPECT_NE( requests.at( 1 ).find( "address 022082d0" ), std::string::npos );
    EXPECT_EQ( requests.at( 2 ), sent( "type 1 length 0", "00", atOuterMux ) );
}

TEST_F( SmbusMuxes, DevicesOwnAddressIsRestored ) {
    OrvanSmbusHam *ham = ready( device( 3 ) );
    EXPECT_EQ( ham->getAddress(), 0x50 );
    ham->write8( 1, 2, false );
    EXPECT_EQ( ham->getAddress(), 0x50 );
}

TEST_F( SmbusMuxes, EntriesOfTheMuxesCountInTheReply ) {
    OrvanSmbusHam *ham = ready( device( 3 ) );
    peer_.answer( reply( { "", "", "\x5a", "" } ) );
    uint8_t byte = 0;
    EXPECT_EQ( ham->read8( 0x12, &byte ), 6 );
    EXPECT_EQ( host_.texts( 3 ).back(),
               "execute: invalid number of response entries; expected 5, got 4" );
}

TEST_F( SmbusMuxes, InitBuildsTheHeadAnew ) {
    OrvanSmbusHam *ham = ready( device( 3 ) );
    ham->init();
    EXPECT_EQ( ham->write8( 1, 2, false ), 0 );
    EXPECT_EQ( peer_.takeOnlyTransaction().size(), 5u );
}

TEST_F( SmbusMuxes, MuxThatQueuesNoSelectIsNotCounted ) {
    struct SilentMux : Component::LogicalDevice::Mux {
        explicit SilentMux( Component::HardwareDevice *driver ) : driver( driver ) {}
        bool selectRequest( Ham::Ham * ) override { return false; }
        bool resetRequest( Ham::Ham * ) override { return false; }
        pl_status executeMuxRequest() override { return PL_STATUS_OK; }
        Component::HardwareDevice *device() const override { return driver; }
        Component::HardwareDevice *driver;
    };
    struct SilentDriver : Component::HardwareDevice {
        Component::LogicalDevice::Mux *newMux( const DriverArgs &, unsigned ) override {
            return new SilentMux( this );
        }
    };
    Drivers::drivers[ "PCA9548" ] = []( const DriverArgs &, Ham::Ham * ) {
        return new SilentDriver();
    };
    OrvanSmbusHam *ham = ready( device( 2 ) );
    EXPECT_EQ( ham->muxPath().size(), 1u );
    peer_.answer( reply( { "\x5a" } ) );
    uint8_t byte = 0;
    EXPECT_EQ( ham->read8( 0x12, &byte ), 0 );
    EXPECT_EQ( byte, 0x5A );
    EXPECT_EQ( peer_.takeOnlyTransaction(), Log{ sent( "type 0 length 1", "12", atDevice ) } );
}

TEST_F( SmbusMuxes, MuxDriverIsMadeOnceForAllItsChannels ) {
    const OrvanSmbusHam *first = create( device( 2 ) );
    const OrvanSmbusHam *second = create( device( 3 ) );
    EXPECT_EQ( first->muxPath()[ 0 ]->device(), second->muxPath()[ 0 ]->device() );
    EXPECT_NE( first->muxPath()[ 0 ], second->muxPath()[ 0 ] );
}

TEST_F( SmbusMuxes, MuxAloneIsSwitchedThroughItsOwnHam ) {
    const OrvanSmbusHam *ham = create( device( 3 ) );
    peer_.takeTransactions();
    EXPECT_EQ( ham->muxPath()[ 1 ]->executeMuxRequest(), PL_STATUS_OK );
    // The inner mux's own path leads through the outer one.
    EXPECT_EQ( peer_.takeOnlyTransaction(),
               ( Log{ sent( "type 1 length 0", "01", atOuterMux ),
                      sent( "type 1 length 0", "04", atInnerMux ),
                      sent( "type 1 length 0", "00", atOuterMux ) } ) );
}

TEST_F( SmbusMuxes, BareAddressBehindAMuxIsReachedThroughIt ) {
    OrvanSmbusHam *ham = createOnBus( "inner", 0x51 );
    ASSERT_NE( ham, nullptr );
    ham->init();
    EXPECT_EQ( ham->sendByte( 7, false ), 0 );
    EXPECT_EQ(
        peer_.takeOnlyTransaction(),
        ( Log{ sent( "type 1 length 0", "01", atOuterMux ), sent( "type 1 length 0", "07", "82d1" ),
               sent( "type 1 length 0", "00", atOuterMux ) } ) );
}

TEST_F( SmbusMuxes, WarmBatchAllocatesNothing ) {
    OrvanSmbusHam *ham = ready( device( 3 ) );
    host_.dropTraces = true;
    uint16_t word = 0;
    const auto traffic = [ & ] {
        int status = ham->read16( 0x12, &word );
        status += ham->write16( 0x12, word, false );
        return status + ham->read16( 0x12, &word );
    };
    for ( int i = 0; i < 4; ++i )
        ASSERT_EQ( traffic(), 0 );
    int status;
    size_t allocations;
    {
        const support::AllocationCounter counter;
        status = traffic();
        allocations = counter.count();
    }
    EXPECT_EQ( status, 0 );
    EXPECT_EQ( allocations, 0u );
}

TEST( OrvanSmbusMux, ThatIsNoDeviceOfTheTopologyIsABrokenInvariant ) {
    load( R"([ { "type": "I2C", "ham": "OrvanSmbus", "id": 1, "muxes": [
        { "did": 70, "busses": [ { "id": 2, "devices": [ { "did": 3 } ] } ] } ] } ])" );
    EXPECT_DEATH( create( device( 3 ) ), "OrvanGeneric/Ham/OrvanSmbusVisitors.*`topoDev'" );
}

TEST( OrvanSmbusMux, ThatIsNotDeclaredInlineIsABrokenInvariant ) {
    load( R"([ { "type": "I2C", "ham": "OrvanSmbus", "id": 1, "devices": [ { "did": 70 } ],
        "muxes": [ { "did": 70, "busses": [ { "id": 2, "devices": [ { "did": 3 } ] } ] } ] } ])" );
    EXPECT_DEATH(
        {
            // The process's last words: what it traced before the assertion failed.
            std::signal( SIGABRT, []( int ) {
                for ( const std::string &text : FakeHost::instance().texts( 3 ) )
                    std::fprintf( stderr, "\ntraced: %s", text.c_str() );
            } );
            create( device( 3 ) );
        },
        "OrvanGeneric/Ham/OrvanSmbusVisitors.*`topoDev->args'.*"
        "traced: Mux using device 70 with value 2.traced: Device 70 isn't declared inline" );
}

TEST( OrvanSmbusMux, WhoseDriverCannotBeMadeIsABrokenInvariant ) {
    load( R"([ { "type": "I2C", "ham": "OrvanSmbus", "id": 1,
        "devices": [ { "did": 70, "driver": "NoSuchDriver", "address": { "address": 112 } } ],
        "muxes": [ { "did": 70, "busses": [ { "id": 2, "devices": [ { "did": 3 } ] } ] } ] } ])" );
    EXPECT_DEATH( create( device( 3 ) ), "OrvanGeneric/Ham/OrvanSmbusVisitors.*`muxDevice'" );
}

TEST( OrvanSmbusMux, ReachedByAnotherKindOfHamIsABrokenInvariant ) {
    Ham::hams[ "Scripted" ] = []( const Topology::Topology &, const DriverArgs & ) {
        return new ScriptedHam();
    };
    load( R"([ { "type": "I2C", "ham": "Scripted", "id": 1,
        "devices": [ { "did": 70, "driver": "PCA9548", "address": { "address": 112 } } ],
        "muxes": [ { "did": 70, "busses": [ { "id": 2, "devices": [ { "did": 3 } ] } ] } ] } ])" );
    OrvanSmbusHam *ham = create( device( 3 ) );
    EXPECT_DEATH( ham->init(), "OrvanGeneric/Ham/OrvanSmbusHam.*`ham" );
}

TEST( OrvanSmbusMux, WithoutAHamIsABrokenInvariant ) {
    load( R"([ { "type": "I2C", "ham": "OrvanSmbus", "id": 1,
        "devices": [ { "did": 70, "driver": "PCA9548", "provideHam": 0,
                       "address": { "address": 112 } } ],
        "muxes": [ { "did": 70, "busses": [ { "id": 2, "devices": [ { "did": 3 } ] } ] } ] } ])" );
    OrvanSmbusHam *ham = create( device( 3 ) );
    EXPECT_DEATH( ham->init(), "`ham'" );
}

} // namespace
