#include "OrvanGeneric/Components/HardwareDevice.h"

#include <gtest/gtest.h>

#include "OrvanGeneric/Components/MultiDevice.h"
#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/DriverFactory.h"
#include "OrvanGeneric/Ham/HamSelection.h"
#include "OrvanGeneric/NotImplementedException.h"
#include "OrvanGeneric/Topology.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedHam.h"
#include "tests/support/VirtualSlot.h"

namespace {

using Component::DeviceBase;
using Component::HardwareDevice;
using Drivers::DriverArgs;
using Log = std::vector<std::string>;

TEST( HardwareDevice, VirtualOperationsStandInTheirFixedOrder ) {
    EXPECT_EQ( virtualSlot( &DeviceBase::init ), 0u );
    EXPECT_EQ( virtualSlot( &DeviceBase::newPoePort ), 1u );
    EXPECT_EQ( virtualSlot( &DeviceBase::newTempSensor ), 2u );
    EXPECT_EQ( virtualSlot( &DeviceBase::newSlot ), 3u );
    EXPECT_EQ( virtualSlot( &DeviceBase::newSfpXcvr ), 4u );
    EXPECT_EQ( virtualSlot( &DeviceBase::newQsfpXcvr ), 5u );
    EXPECT_EQ( virtualSlot( &DeviceBase::newLed ), 6u );
    EXPECT_EQ( virtualSlot( &DeviceBase::newFan ), 7u );
    EXPECT_EQ( virtualSlot( &DeviceBase::newMux ), 8u );
    EXPECT_EQ( virtualSlot( &DeviceBase::newPsu ), 9u );
    EXPECT_EQ( virtualSlot( &DeviceBase::newSmbusProxy ), 10u );
    // The destructor takes places 11 and 12.
    EXPECT_EQ( virtualSlot( &HardwareDevice::newGpio ), 13u );
    EXPECT_EQ( virtualSlot( &HardwareDevice::expectedValues ), 14u );
}

/** What happens to devices and Hams, in order. */
Log events;

const Utils::ExpectedValues probeRegisters = { { 0x10, { 3, 1 } } };

class Probe : public HardwareDevice {
  public:
    explicit Probe( std::string key ) : key( std::move( key ) ) {}
    int init() override {
        events.push_back( "init" );
        return 0;
    }
    const Utils::ExpectedValues *expectedValues() override { return &probeRegisters; }

    std::string key; ///< of the factory that made it
};

class ProbeHam : public ScriptedHam {
  public:
    void init() override { events.push_back( "Ham init" ); }
    void setExpected( const Utils::ExpectedValues *values ) override {
        events.push_back( "setExpected" );
        expected = values;
    }
    void setDriverName( const std::string &driver, const std::string &name ) override {
        events.push_back( "setDriverName " + driver + ", '" + name + "'" );
    }
};

/** A board with device 1 on a medium whose Ham is a ProbeHam, and drivers "First" and "Second". */
class Creation : public testing::Test {
  protected:
    Creation() {
        for ( const char *key : { "First", "Second" } ) {
            Drivers::drivers[ key ] = [ this, key ]( const DriverArgs &args, Ham::Ham *ham ) {
                argsGiven_.push_back( &args );
                hamsGiven_.push_back( ham );
                return new Probe( key );
            };
        }
        Drivers::drivers[ "Failing" ] = []( const DriverArgs &, Ham::Ham * ) -> DeviceBase * {
            return nullptr;
        };
        Drivers::drivers[ "Composed" ] = []( const DriverArgs &, Ham::Ham * ) {
            return new Component::MultiDevice();
        };
        Ham::hams[ "Probe" ] = [ this ]( const Topology::Topology &, const DriverArgs & ) {
            ++hamsMade_;
            return &ham_;
        };
        Ham::hams[ "SimHam" ] = Ham::hams[ "Probe" ];
        Topology::loadTopology( R"([ { "type": "I2C", "ham": "Probe", "id": 1, "devices": [
            { "did": 1 }, { "did": 2 } ] } ])" );
        host_.traces.clear();
    }
    ~Creation() override {
        for ( const auto &[ did, device ] : DeviceBase::devices ) {
            delete device;
        }
        DeviceBase::devices.clear();
    }

    /** A description of device @p did. */
    static std::string text( const char *driver, int did, const std::string &more = "" ) {
        return R"({ "driver": ")" + std::string( driver ) + R"(", "did": )" +
               std::to_string( did ) + R"(, "address": { "address": 80 })" + more + " }";
    }

    DeviceBase *create( const std::string &description ) {
        args_ = DriverArgs();
        return DeviceBase::create( description.c_str(), args_ );
    }

    /** Makes device 1, named as @p more says, and gives what its Ham heard. */
    std::string driverNameCall( const std::string &more ) {
        EXPECT_NE( create( text( "First", 1, more ) ), nullptr );
        return events.size() > 1 ? events[ 1 ] : "";
    }

    ProbeHam ham_;
    int hamsMade_ = 0;
    std::vector<const DriverArgs *> argsGiven_;
    std::vector<Ham::Ham *> hamsGiven_;
    DriverArgs args_;
    FakeHost &host_ = FakeHost::instance();
};

TEST_F( Creation, MakesTheHamThenTheDriverThenInitialisesIt ) {
    DeviceBase *device = create( text( "First", 1 ) );
    auto *probe = dynamic_cast<Probe *>( device );
    ASSERT_NE( probe, nullptr );
    EXPECT_EQ( probe->key, "First" );
    EXPECT_EQ( probe->ham(), &ham_ );
    EXPECT_EQ( hamsGiven_, std::vector<Ham::Ham *>{ &ham_ } );
    EXPECT_EQ( argsGiven_, std::vector<const DriverArgs *>{ &args_ } );
    EXPECT_EQ( events, ( Log{ "Ham init", "setDriverName First, ''", "setExpected", "init" } ) );
    EXPECT_EQ( ham_.expected, &probeRegisters );
    EXPECT_EQ( DeviceBase::devices, ( std::map<uint32_t, DeviceBase *>{ { 1, device } } ) );
}

TEST_F( Creation, TracesEveryStep ) {
    const std::string description = text( "First", 1 );
    create( description );
    EXPECT_EQ(
        host_.texts( 0 ),
        ( Log{ "parsing devArgs = " + description, "looking for already existing device 1",
               "creating Ham", "looking for component 4294967295 of device 1 in topology",
               "creating Probe HAM using topology information", "creating HardwareDevice First",
               "calling factory function for First", "First device created" } ) );
}

TEST_F( Creation, FillsTheCallersArguments ) {
    const std::string description = text( "First", 1, R"(, "uid": 4294967295)" );
    create( description );
    EXPECT_EQ( args_.driver, "First" );
    EXPECT_EQ( args_.did, 1u );
    EXPECT_EQ( args_.jsonText, description.c_str() );
}

TEST_F( Creation, TextThatIsNotJsonGivesNull ) {
    EXPECT_EQ( create( "{" ), nullptr );
    const Log level0 = host_.texts( 0 );
    ASSERT_EQ( level0.size(), 3u );
    EXPECT_EQ( level0[ 0 ], "parsing devArgs = {" );
    EXPECT_EQ( level0[ 2 ], "failed to parse json object as a device" );
    EXPECT_TRUE( DeviceBase::devices.empty() );
}

TEST_F( Creation, SameIdentityGivesTheFirstInstanceWhateverTheDriver ) {
    DeviceBase *first = create( text( "First", 1 ) );
    events.clear();
    host_.traces.clear();
    const std::string again = text( "Second", 1 );
    EXPECT_EQ( create( again ), first );
    EXPECT_EQ( argsGiven_.size(), 1u );
    EXPECT_EQ( hamsMade_, 1 );
    EXPECT_TRUE( events.empty() );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 0, "parsing devArgs = " + again },
                         { 0, "looking for already existing device 1" },
                         { 0, "using previously instanciated HardwareDevice Second" } } ) );
}

TEST_F( Creation, CacheWinsOverAnUnknownDriverAndAGivenHam ) {
    DeviceBase *first = create( text( "First", 1 ) );
    events.clear();
    DriverArgs args;
    args.driver = "NoSuchDriver";
    args.did = 1;
    ProbeHam other;
    EXPECT_EQ( HardwareDevice::create( args, &other ), first );
    EXPECT_TRUE( events.empty() );
    EXPECT_EQ( static_cast<Probe *>( first )->ham(), &ham_ );
}

TEST_F( Creation, EachIdentityHasItsInstance ) {
    DeviceBase *first = create( text( "First", 1 ) );
    DeviceBase *second = create( text( "First", 2 ) );
    EXPECT_NE( first, second );
    EXPECT_EQ( hamsMade_, 2 );
    EXPECT_EQ( DeviceBase::devices,
               ( std::map<uint32_t, DeviceBase *>{ { 1, first }, { 2, second } } ) );
}

TEST_F( Creation, UnknownDriverGivesNullAndIsTriedAgain ) {
    EXPECT_EQ( create( text( "first", 1 ) ), nullptr );
    const Log level0 = host_.texts( 0 );
    ASSERT_GE( level0.size(), 3u );
    EXPECT_EQ( Log( level0.end() - 3, level0.end() ),
               ( Log{ "creating HardwareDevice first", "driver first not found",
                      "factory function returned a null object" } ) );
    EXPECT_TRUE( DeviceBase::devices.empty() );
    EXPECT_NE( create( text( "First", 1 ) ), nullptr );
    EXPECT_EQ( hamsMade_, 2 );
}

TEST_F( Creation, FactoryThatMakesNothingGivesNull ) {
    EXPECT_EQ( create( text( "Failing", 1 ) ), nullptr );
    const Log level0 = host_.texts( 0 );
    ASSERT_GE( level0.size(), 2u );
    EXPECT_EQ( Log( level0.end() - 2, level0.end() ),
               ( Log{ "calling factory function for Failing",
                      "factory function returned a null object" } ) );
    EXPECT_TRUE( DeviceBase::devices.empty() );
    EXPECT_EQ( events, Log{ "Ham init" } );
}

TEST_F( Creation, DriverOfComposedDevicesCannotBeASingleDevice ) {
    EXPECT_EQ( create( text( "Composed", 1 ) ), nullptr );
    EXPECT_EQ( host_.texts( 0 ).back(), "factory function returned a null object" );
    EXPECT_TRUE( DeviceBase::devices.empty() );
}

TEST_F( Creation, MultiDeviceDescriptionMakesAMultiDevice ) {
    DeviceBase *device =
        create( text( "Composed", 1, R"(, "isMultiDevice": true, "multiDeviceArgs": {})" ) );
    EXPECT_NE( dynamic_cast<Component::MultiDevice *>( device ), nullptr );
    EXPECT_EQ( hamsMade_, 0 );
}

TEST_F( Creation, WithoutAWishForAHamThereIsNone ) {
    auto *probe = dynamic_cast<Probe *>( create( text( "First", 1, R"(, "provideHam": 0)" ) ) );
    ASSERT_NE( probe, nullptr );
    EXPECT_EQ( hamsMade_, 0 );
    EXPECT_EQ( hamsGiven_, std::vector<Ham::Ham *>{ nullptr } );
    EXPECT_EQ( events, Log{ "init" } );
    EXPECT_DEATH( probe->ham(), "`ham'" );
}

TEST_F( Creation, GivenHamIsUsedEvenWithoutAWishForOne ) {
    DriverArgs args;
    args.driver = "First";
    args.did = 77;
    args.provideHam = false;
    ProbeHam given;
    auto *probe = dynamic_cast<Probe *>( HardwareDevice::create( args, &given ) );
    ASSERT_NE( probe, nullptr );
    EXPECT_EQ( probe->ham(), &given );
    EXPECT_EQ( given.expected, &probeRegisters );
    EXPECT_EQ( hamsMade_, 0 );
    EXPECT_EQ( events, ( Log{ "setDriverName First, ''", "setExpected", "init" } ) );
}

TEST_F( Creation, GivenHamIsPreferredToOneFromTheTopology ) {
    DriverArgs args;
    args.driver = "First";
    args.did = 1;
    ProbeHam given;
    auto *probe = dynamic_cast<Probe *>( HardwareDevice::create( args, &given ) );
    ASSERT_NE( probe, nullptr );
    EXPECT_EQ( probe->ham(), &given );
    EXPECT_EQ( hamsMade_, 0 );
}

TEST_F( Creation, DeviceOutsideTheTopologyGetsNoHamAndIsNotMade ) {
    EXPECT_EQ( create( text( "First", 99 ) ), nullptr );
    EXPECT_EQ( host_.texts( 0 ).back(), "failed to create Ham" );
    EXPECT_TRUE( argsGiven_.empty() );
    EXPECT_TRUE( DeviceBase::devices.empty() );
}

TEST_F( Creation, OutsideSimulationTheNameIsNotRead ) {
    EXPECT_EQ( driverNameCall( R"(, "name": "psu1")" ), "setDriverName First, ''" );
}

TEST_F( Creation, OutsideSimulationANameOfAnotherTypeIsNoConcern ) {
    EXPECT_EQ( driverNameCall( R"(, "name": 5)" ), "setDriverName First, ''" );
}

TEST_F( Creation, InSimulationTheHamLearnsTheDevicesName ) {
    setenv( "SIMULATION_VMID", "1", 1 );
    EXPECT_EQ( driverNameCall( R"(, "name": "psu1")" ), "setDriverName First, 'psu1'" );
}

TEST_F( Creation, InSimulationADeviceMayBeNameless ) {
    setenv( "SIMULATION_VMID", "1", 1 );
    EXPECT_EQ( driverNameCall( "" ), "setDriverName First, ''" );
}

TEST_F( Creation, InSimulationANameOfAnotherTypeIsABrokenInvariant ) {
    setenv( "SIMULATION_VMID", "1", 1 );
    EXPECT_DEATH( create( text( "First", 1, R"(, "name": 5)" ) ), "IsString" );
}

TEST_F( Creation, InSimulationArgumentsWithoutATextHaveNoName ) {
    setenv( "SIMULATION_VMID", "1", 1 );
    DriverArgs args;
    args.driver = "First";
    args.did = 1;
    EXPECT_NE( HardwareDevice::create( args, nullptr ), nullptr );
    EXPECT_EQ( events, ( Log{ "Ham init", "setDriverName First, ''", "setExpected", "init" } ) );
}

TEST_F( Creation, SimulationIsDecidedOnce ) {
    EXPECT_EQ( Utils::isInSimulation, -1 );
    create( text( "First", 1 ) );
    EXPECT_EQ( Utils::isInSimulation, 0 );
    setenv( "SIMULATION_VMID", "1", 1 );
    create( text( "First", 2, R"(, "name": "psu1")" ) );
    EXPECT_EQ( events.back(), "init" );
    EXPECT_EQ( events[ 5 ], "setDriverName First, ''" );
}

TEST( HardwareDevice, DefaultsOfASimpleDriver ) {
    HardwareDevice device;
    EXPECT_EQ( device.init(), 0 );
    EXPECT_EQ( device.expectedValues(), &Component::emptyExpectedValues );
    EXPECT_THROW( device.newFan( {} ), Component::NotImplementedException );
}

} // namespace
