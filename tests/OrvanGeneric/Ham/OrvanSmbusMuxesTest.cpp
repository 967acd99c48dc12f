#include <csignal>
#include <cstdio>

#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/Components/Mux.h"
#include "OrvanGeneric/DriverFactory.h"
#include "OrvanGeneric/Ham/HamSelection.h"
#include "tests/OrvanGeneric/Ham/SmbusHamFixture.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/ScriptedHam.h"

namespace {

using Component::DeviceBase;
using Drivers::DriverArgs;
using Ham::OrvanSmbusHam;
using support::reply;

/**
 * Mux 70 (0x70) on bus 5; behind its channel 1 device 2 and mux 71 (0x71), behind whose channel 0x104
 * device 3.
 */
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
    for ( int i = 0; i < 4; ++i ) {
        ASSERT_EQ( traffic(), 0 );
    }
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
                for ( const std::string &text : FakeHost::instance().texts( 3 ) ) {
                    std::fprintf( stderr, "\ntraced: %s", text.c_str() );
                }
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

TEST_F( SmbusMuxes, AMuxChipOnItsOwnChannelAbortsAndIsNamed ) {
    load( R"([ { "type": "I2C", "ham": "OrvanSmbus", "id": 1, "muxes": [ { "did": 70, "busses": [
        { "id": 1, "devices": [ { "did": 2 },
                                { "did": 70, "driver": "PCA9548",
                                  "address": { "address": 112 } } ] } ] } ] } ])" );
    EXPECT_DEATH( create( device( 2 ) ),
                  "OrvanGeneric/Ham/OrvanSmbusVisitors.*`mux device 70 is not behind itself'" );
    EXPECT_DEATH( create( device( 70 ) ), "`mux device 70 is not behind itself'" );
}

TEST_F( SmbusMuxes, TwoMuxesBehindEachOtherAbort ) {
    load( R"([ { "type": "I2C", "ham": "OrvanSmbus", "id": 1, "muxes": [
        { "did": 70, "busses": [ { "id": 1, "devices": [
            { "did": 71, "driver": "PCA9548", "address": { "address": 113 } } ] } ] },
        { "did": 71, "busses": [ { "id": 1, "devices": [
            { "did": 70, "driver": "PCA9548", "address": { "address": 112 } } ] } ] } ] } ])" );
    EXPECT_DEATH( create( device( 71 ) ), "`mux device 70 is not behind itself'" );
}

} // namespace
