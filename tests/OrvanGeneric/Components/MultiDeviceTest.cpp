#include "OrvanGeneric/Components/MultiDevice.h"

#include <functional>

#include <gmock/gmock.h>

#include "OrvanGeneric/Components/Fan.h"
#include "OrvanGeneric/Components/Gpio.h"
#include "OrvanGeneric/Components/Led.h"
#include "OrvanGeneric/Components/Psu.h"
#include "OrvanGeneric/Components/Slot.h"
#include "OrvanGeneric/Components/Xcvr.h"
#include "tests/support/ScriptedDriver.h"

namespace {

using Component::DeviceBase;
using Component::MultiDevice;
using testing::IsEmpty;
using Args = Drivers::DriverArgs;
namespace LogicalDevice = Component::LogicalDevice;

struct PartSlot final : LogicalDevice::Slot {
    pl_status getPresence( char ** ) override { return PL_STATUS_OK; }
};
struct PartLed final : LogicalDevice::Led {
    pl_status setLightSetting( pl_led_status ) override { return PL_STATUS_OK; }
};
struct PartPsu final : LogicalDevice::Psu {
    pl_status get_power_ok( int * ) override { return PL_STATUS_OK; }
    pl_status get_input_current( float * ) override { return PL_STATUS_OK; }
    pl_status get_output_current( float * ) override { return PL_STATUS_OK; }
    pl_status get_input_voltage( float * ) override { return PL_STATUS_OK; }
    pl_status get_output_voltage( float * ) override { return PL_STATUS_OK; }
    pl_status get_input_power( float * ) override { return PL_STATUS_OK; }
    pl_status get_output_power( float * ) override { return PL_STATUS_OK; }
};
struct PartFan final : LogicalDevice::Fan {
    pl_status getRpm( int * ) override { return PL_STATUS_OK; }
    pl_status setRpm( int ) override { return PL_STATUS_OK; }
};
struct PartXcvr final : LogicalDevice::SfpXcvr {
    PartXcvr() : SfpXcvr( 1 ) {}
    int getPresence() override { return 0; }
    pl_status getTxFault( int * ) override { return PL_STATUS_OK; }
    pl_status getRxLos( int * ) override { return PL_STATUS_OK; }
    pl_status getTxDisable( int * ) override { return PL_STATUS_OK; }
    pl_status setTxDisable( int ) override { return PL_STATUS_OK; }
};
struct PartGpio final : LogicalDevice::Gpio {
    pl_status bitClear() override { return PL_STATUS_OK; }
    pl_status bitSet() override { return PL_STATUS_OK; }
    pl_status bitRead( unsigned * ) override { return PL_STATUS_OK; }
};

/** A driver of composed devices; what its init() does is the test's. */
class ComposedDriver {
  public:
    ComposedDriver() {
        Drivers::drivers[ "Composed" ] = [ this ]( const Args &, Ham::Ham *ham ) {
            ++created;
            gotHam = ham;
            return new Device( *this );
        };
    }
    ~ComposedDriver() { Drivers::drivers.erase( "Composed" ); }

    int created = 0;
    Ham::Ham *gotHam = nullptr;
    std::function<void( MultiDevice & )> onInit;

  private:
    class Device final : public MultiDevice {
      public:
        explicit Device( const ComposedDriver &driver ) : driver_( driver ) {}
        int init() override {
            if ( driver_.onInit ) {
                driver_.onInit( *this );
            }
            return 0;
        }

      private:
        const ComposedDriver &driver_;
    };
};

class MultiDeviceTest : public testing::Test {
  protected:
    /** Device 7, composed of the parts in @p roles. */
    static Args composed( const std::map<std::string, std::string> &roles,
                          const std::string &driver = "Composed" ) {
        Args args;
        args.driver = driver;
        args.did = 7;
        args.isMultiDevice = true;
        args.multiDeviceArgs = roles;
        return args;
    }

    const std::string part_ = scriptedDescription( R"({"id":1,"type":"sfp"})" );
    const std::string broken_ = scriptedDescription( "{}", "Nobody" );

    PartSlot slot_;
    PartLed led_;
    PartPsu psu_;
    PartFan fan_;
    PartXcvr xcvr_;
    PartGpio gpio_;
    ComposedDriver composed_;
    ScriptedDriver parts_;
    MultiDevice device_;
    FakeHost &host_ = FakeHost::instance();
};

TEST_F( MultiDeviceTest, CreationHandsTheDescriptionsToTheDriverAndCachesIt ) {
    std::map<std::string, std::string> seen;
    composed_.onInit = [ & ]( MultiDevice &device ) { seen = device.deviceDriverArgs; };
    DeviceBase *device = MultiDevice::create( composed( { { "a", "A" }, { "b", "B" } } ) );
    ASSERT_NE( device, nullptr );
    EXPECT_EQ( seen, ( std::map<std::string, std::string>{ { "a", "A" }, { "b", "B" } } ) );
    EXPECT_EQ( composed_.gotHam, nullptr );
    EXPECT_EQ( DeviceBase::devices, ( std::map<uint32_t, DeviceBase *>{ { 7, device } } ) );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "looking for already existing device 7" },
                                       { 0, "creating HardwareDevice Composed" },
                                       { 0, "calling factory function for Composed" },
                                       { 0, "Composed MultiDevice created" } } ) );
}

TEST_F( MultiDeviceTest, TheInstanceIsNotInTheCacheBeforeItIsInitialised ) {
    bool cached = true;
    composed_.onInit = [ & ]( MultiDevice & ) { cached = DeviceBase::devices.count( 7 ); };
    MultiDevice::create( composed( {} ) );
    EXPECT_FALSE( cached );
}

TEST_F( MultiDeviceTest, ASecondCreationGivesTheSameInstanceAsItIs ) {
    DeviceBase *device = MultiDevice::create( composed( { { "a", "A" } } ) );
    host_.traces.clear();
    EXPECT_EQ( MultiDevice::create( composed( { { "b", "B" } } ) ), device );
    EXPECT_EQ( composed_.created, 1 );
    EXPECT_EQ( static_cast<MultiDevice *>( device )->deviceDriverArgs,
               ( std::map<std::string, std::string>{ { "a", "A" } } ) );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 0, "looking for already existing device 7" },
                         { 0, "using previously instanciated HardwareDevice Composed" } } ) );
}

TEST_F( MultiDeviceTest, ADescriptionOfAComposedDeviceComesHere ) {
    Args args;
    DeviceBase *device = DeviceBase::create(
        R"({"did":9,"driver":"Composed","address":{"address":0},
            "isMultiDevice":true,"multiDeviceArgs":{"psu":"P"}})",
        args );
    auto *multi = dynamic_cast<MultiDevice *>( device );
    ASSERT_NE( multi, nullptr );
    EXPECT_STREQ( multi->getDeviceDriverArg( "psu" ), "P" );
    EXPECT_FALSE( host_.traced( 0, "creating Ham" ) );
    EXPECT_TRUE( host_.traced( 0, "Composed MultiDevice created" ) );
}

TEST_F( MultiDeviceTest, AnUnknownDriverGivesNullAndIsNotCached ) {
    EXPECT_EQ( MultiDevice::create( composed( {}, "Nobody" ) ), nullptr );
    EXPECT_THAT( DeviceBase::devices, IsEmpty() );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "looking for already existing device 7" },
                                       { 0, "creating HardwareDevice Nobody" },
                                       { 0, "driver Nobody not found" },
                                       { 0, "factory function returned a null object" } } ) );
}

TEST_F( MultiDeviceTest, AFactoryThatMakesNothingGivesNullAndIsNotCached ) {
    Drivers::drivers[ "Barren" ] = []( const Args &, Ham::Ham * ) { return nullptr; };
    EXPECT_EQ( MultiDevice::create( composed( {}, "Barren" ) ), nullptr );
    EXPECT_THAT( DeviceBase::devices, IsEmpty() );
    EXPECT_TRUE( host_.traced( 0, "factory function returned a null object" ) );
    Drivers::drivers.erase( "Barren" );
}

TEST_F( MultiDeviceTest, ADriverOfASingleDeviceCannotServe ) {
    EXPECT_EQ( MultiDevice::create( composed( {}, "Dummy" ) ), nullptr );
    EXPECT_THAT( DeviceBase::devices, IsEmpty() );
    EXPECT_TRUE( host_.traced( 0, "factory function returned a null object" ) );
}

TEST_F( MultiDeviceTest, DescriptionsAreReplacedWhole ) {
    device_.deviceDriverArgsIs( { { "a", "A" } } );
    device_.deviceDriverArgsIs( { { "b", "B" } } );
    EXPECT_EQ( device_.deviceDriverArgs, ( std::map<std::string, std::string>{ { "b", "B" } } ) );
}

TEST_F( MultiDeviceTest, ADescriptionIsFoundByItsKey ) {
    device_.deviceDriverArgsIs( { { "psu", "text" } } );
    const char *text = device_.getDeviceDriverArg( "psu" );
    EXPECT_STREQ( text, "text" );
    EXPECT_EQ( text, device_.deviceDriverArgs.at( "psu" ).c_str() );
    EXPECT_TRUE( host_.traces.empty() );
}

TEST_F( MultiDeviceTest, AMissingDescriptionIsTracedAndNull ) {
    EXPECT_EQ( device_.getDeviceDriverArg( "psu" ), nullptr );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 0, "Failed to find driverArgs for driver key 'psu'" } } ) );
}

TEST_F( MultiDeviceTest, AddSlotBringsThePartUpAndKeepsItsRecord ) {
    parts_.newSlot = [ & ]( const Args & ) { return &slot_; };
    device_.deviceDriverArgsIs( { { "part", part_ } } );
    EXPECT_EQ( device_.addSlot( "part" ), slot_.record() );
    EXPECT_EQ( device_.slots, std::vector{ slot_.record() } );
    EXPECT_EQ( host_.traces, scriptedCreation( part_ ) );
}

TEST_F( MultiDeviceTest, AddSlotOfAMissingRoleKeepsNothing ) {
    EXPECT_EQ( device_.addSlot( "part" ), nullptr );
    EXPECT_THAT( device_.slots, IsEmpty() );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 0, "Failed to find driverArgs for driver key 'part'" } } ) );
}

TEST_F( MultiDeviceTest, AddSlotOfAPartThatFailsKeepsANullRecord ) {
    device_.deviceDriverArgsIs( { { "part", broken_ } } );
    EXPECT_EQ( device_.addSlot( "part" ), nullptr );
    EXPECT_EQ( device_.slots, std::vector<pl_slot *>{ nullptr } );
}

TEST_F( MultiDeviceTest, AddLedBringsThePartUpAndKeepsItsRecord ) {
    parts_.newLed = [ & ]( const Args & ) { return &led_; };
    device_.deviceDriverArgsIs( { { "part", part_ } } );
    EXPECT_EQ( device_.addLed( "part" ), led_.record() );
    EXPECT_EQ( device_.leds, std::vector{ led_.record() } );
    EXPECT_EQ( host_.traces, scriptedCreation( part_ ) );
}

TEST_F( MultiDeviceTest, AddLedOfAMissingRoleKeepsNothing ) {
    EXPECT_EQ( device_.addLed( "part" ), nullptr );
    EXPECT_THAT( device_.leds, IsEmpty() );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 0, "Failed to find driverArgs for driver key 'part'" } } ) );
}

TEST_F( MultiDeviceTest, AddLedOfAPartThatFailsKeepsANullRecord ) {
    device_.deviceDriverArgsIs( { { "part", broken_ } } );
    EXPECT_EQ( device_.addLed( "part" ), nullptr );
    EXPECT_EQ( device_.leds, std::vector<pl_led *>{ nullptr } );
}

TEST_F( MultiDeviceTest, AddPsuBringsThePartUpAndKeepsItsRecord ) {
    parts_.newPsu = [ & ]( const Args & ) { return &psu_; };
    device_.deviceDriverArgsIs( { { "part", part_ } } );
    EXPECT_EQ( device_.addPsu( "part" ), psu_.record() );
    EXPECT_EQ( device_.psus, std::vector{ psu_.record() } );
    EXPECT_EQ( host_.traces, scriptedCreation( part_ ) );
}

TEST_F( MultiDeviceTest, AddPsuOfAMissingRoleKeepsNothing ) {
    EXPECT_EQ( device_.addPsu( "part" ), nullptr );
    EXPECT_THAT( device_.psus, IsEmpty() );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 0, "Failed to find driverArgs for driver key 'part'" } } ) );
}

TEST_F( MultiDeviceTest, AddPsuOfAPartThatFailsKeepsANullRecord ) {
    device_.deviceDriverArgsIs( { { "part", broken_ } } );
    EXPECT_EQ( device_.addPsu( "part" ), nullptr );
    EXPECT_EQ( device_.psus, std::vector<pl_psu *>{ nullptr } );
}

TEST_F( MultiDeviceTest, AddFanBringsThePartUpAndKeepsItsRecord ) {
    parts_.newFan = [ & ]( const Args & ) { return &fan_; };
    device_.deviceDriverArgsIs( { { "part", part_ } } );
    EXPECT_EQ( device_.addFan( "part" ), fan_.record() );
    EXPECT_EQ( device_.fans, std::vector{ fan_.record() } );
    Traces expected = { { 6, "MultiDevice::addFan driver args = " + part_ } };
    for ( const Trace &trace : scriptedCreation( part_ ) ) {
        expected.push_back( trace );
    }
    EXPECT_EQ( host_.traces, expected );
}

TEST_F( MultiDeviceTest, AddFanOfAMissingRoleKeepsNothing ) {
    EXPECT_EQ( device_.addFan( "part" ), nullptr );
    EXPECT_THAT( device_.fans, IsEmpty() );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 0, "Failed to find driverArgs for driver key 'part'" } } ) );
}

TEST_F( MultiDeviceTest, AddFanOfAPartThatFailsKeepsANullRecord ) {
    device_.deviceDriverArgsIs( { { "part", broken_ } } );
    EXPECT_EQ( device_.addFan( "part" ), nullptr );
    EXPECT_EQ( device_.fans, std::vector<pl_fan *>{ nullptr } );
}

TEST_F( MultiDeviceTest, AddXcvrBringsThePartUpAndKeepsItsRecord ) {
    parts_.newSfpXcvr = [ & ]( unsigned, const Args & ) { return &xcvr_; };
    device_.deviceDriverArgsIs( { { "part", part_ } } );
    EXPECT_EQ( device_.addXcvr( "part" ), xcvr_.record() );
    EXPECT_EQ( device_.xcvrs, std::vector{ xcvr_.record() } );
    Traces expected = { { 6, "MultiDevice::addXcvr driver args = " + part_ } };
    for ( const Trace &trace : scriptedCreation( part_ ) ) {
        expected.push_back( trace );
    }
    EXPECT_EQ( host_.traces, expected );
}

TEST_F( MultiDeviceTest, AddXcvrOfAMissingRoleKeepsNothing ) {
    EXPECT_EQ( device_.addXcvr( "part" ), nullptr );
    EXPECT_THAT( device_.xcvrs, IsEmpty() );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 0, "Failed to find driverArgs for driver key 'part'" } } ) );
}

TEST_F( MultiDeviceTest, AddXcvrOfAPartThatFailsKeepsANullRecord ) {
    device_.deviceDriverArgsIs( { { "part", broken_ } } );
    EXPECT_EQ( device_.addXcvr( "part" ), nullptr );
    EXPECT_EQ( device_.xcvrs, std::vector<pl_xcvr *>{ nullptr } );
}

TEST_F( MultiDeviceTest, AddGpioBringsThePartUpAndKeepsItsRecord ) {
    parts_.newGpio = [ & ]( const Args & ) { return &gpio_; };
    device_.deviceDriverArgsIs( { { "part", part_ } } );
    EXPECT_EQ( device_.addGpio( "part" ), gpio_.record() );
    EXPECT_EQ( device_.gpios, std::vector{ gpio_.record() } );
    Traces expected = { { 6, "MultiDevice::addGpio driver args = " + part_ } };
    for ( const Trace &trace : scriptedCreation( part_ ) ) {
        expected.push_back( trace );
    }
    EXPECT_EQ( host_.traces, expected );
}

TEST_F( MultiDeviceTest, AddGpioOfAMissingRoleKeepsNothing ) {
    EXPECT_EQ( device_.addGpio( "part" ), nullptr );
    EXPECT_THAT( device_.gpios, IsEmpty() );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 0, "Failed to find driverArgs for driver key 'part'" } } ) );
}

TEST_F( MultiDeviceTest, AddGpioOfAPartThatFailsKeepsANullRecord ) {
    device_.deviceDriverArgsIs( { { "part", broken_ } } );
    EXPECT_EQ( device_.addGpio( "part" ), nullptr );
    EXPECT_EQ( device_.gpios, std::vector<pl_gpio *>{ nullptr } );
}

TEST_F( MultiDeviceTest, EachKindHasASequenceOfItsOwn ) {
    parts_.newFan = [ & ]( const Args & ) { return &fan_; };
    parts_.newLed = [ & ]( const Args & ) { return &led_; };
    device_.deviceDriverArgsIs( { { "fan", part_ }, { "led", part_ } } );
    device_.addFan( "fan" );
    device_.addLed( "led" );
    device_.addFan( "fan" );
    EXPECT_EQ( device_.fans, ( std::vector{ fan_.record(), fan_.record() } ) );
    EXPECT_EQ( device_.leds, std::vector{ led_.record() } );
    EXPECT_THAT( device_.slots, IsEmpty() );
    EXPECT_THAT( device_.psus, IsEmpty() );
    EXPECT_THAT( device_.xcvrs, IsEmpty() );
    EXPECT_THAT( device_.gpios, IsEmpty() );
}

TEST_F( MultiDeviceTest, PartsWithTheSameIdentityShareADriver ) {
    parts_.newFan = [ & ]( const Args & ) { return &fan_; };
    parts_.newLed = [ & ]( const Args & ) { return &led_; };
    MultiDevice other;
    device_.deviceDriverArgsIs( { { "fan", part_ } } );
    other.deviceDriverArgsIs( { { "led", part_ } } );
    device_.addFan( "fan" );
    other.addLed( "led" );
    EXPECT_EQ( parts_.made.size(), 1u );
}

TEST_F( MultiDeviceTest, InitialisationMayAddTheParts ) {
    parts_.newPsu = [ & ]( const Args & ) { return &psu_; };
    composed_.onInit = []( MultiDevice &device ) { device.addPsu( "psu" ); };
    auto *device =
        static_cast<MultiDevice *>( MultiDevice::create( composed( { { "psu", part_ } } ) ) );
    EXPECT_EQ( device->psus, std::vector{ psu_.record() } );
    EXPECT_EQ( DeviceBase::devices.size(), 2u );
}

} // namespace
