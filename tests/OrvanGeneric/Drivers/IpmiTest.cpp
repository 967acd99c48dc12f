#include "OrvanGeneric/Drivers/Ipmi.h"

#include <cstdlib>
#include <memory>
#include <stdexcept>

#include <gtest/gtest.h>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Ham/HamSelection.h"
#include "tests/support/FakeHost.h"
#include "tests/support/MemoryLimit.h"
#include "tests/support/ScriptedIpmiHam.h"

namespace {

using Arguments = std::map<std::string, std::string>;
using Drivers::Ipmi;

Drivers::DriverArgs withArguments( const Arguments &arguments ) {
    Drivers::DriverArgs args;
    args.driverArgs = arguments;
    return args;
}

class IpmiTest : public testing::Test {
  protected:
    IpmiTest() { ham_->sensors[ "AIRFLOWDIRECTION_B1" ] = "frontToBackAirflow"; }

    static Arguments slotArguments() {
        return { { "fanId", "1" },
                 { "ipmiKey", "FAN1" },
                 { "fanFdl", "{modelName}|{airflowDirection}|{maxRpm}" },
                 { "rpmF2B", "20000" },
                 { "rpmB2F", "18000" },
                 { "modelName", "FAN-7000" },
                 { "ipmiSlotKey", "SLOT1" } };
    }

    static Arguments without( Arguments arguments, const char *name ) {
        arguments.erase( name );
        return arguments;
    }

    static Arguments with( Arguments arguments, const char *name, const std::string &value ) {
        arguments[ name ] = value;
        return arguments;
    }

    /** The text, or the status in angle brackets; nothing is written then. */
    static std::string presence( Component::LogicalDevice::Slot &slot ) {
        char *fdl = nullptr;
        const pl_status status = slot.getPresence( &fdl );
        const std::string text = fdl ? fdl : "";
        std::free( fdl );
        return status ? "<" + std::to_string( status ) + ">" + text : text;
    }

    std::shared_ptr<ScriptedIpmiHam> ham_ = std::make_shared<ScriptedIpmiHam>();
    Ipmi ipmi_{ "B1", ham_ };
    FakeHost &host_ = FakeHost::instance();
};

// Creation

TEST( IpmiCreation, MakesTheHamOfTheTypeGivenAndConfiguresIt ) {
    static std::string configured;
    struct Configured final : Ham::IpmiHam {
        void configure( const Drivers::DriverArgs &args ) override {
            configured = args.driverArgs.at( "extra" );
        }
    };
    Ham::ipmiHams[ "scripted" ] = [] { return std::make_shared<Configured>(); };
    const auto args =
        withArguments( { { "fruId", "B1" }, { "hamType", "scripted" }, { "extra", "here" } } );
    const std::unique_ptr<Component::HardwareDevice> device( Ipmi::create( args, nullptr ) );
    ASSERT_NE( dynamic_cast<Ipmi *>( device.get() ), nullptr );
    EXPECT_EQ( configured, "here" );
    EXPECT_EQ( FakeHost::instance().traces, ( Traces{
                                                { 0, "Creating Ipmi Device" },
                                                { 0, "IPMI fruId: 'B1'" },
                                                { 0, "Creating ham type: scripted" },
                                                { 3, "looking for ham scripted" },
                                                { 3, "creating  scripted factory function" },
                                            } ) );
}

TEST( IpmiCreation, WithoutAHamTypeThereIsNoDevice ) {
    EXPECT_EQ( Ipmi::create( withArguments( {} ), nullptr ), nullptr );
    EXPECT_EQ( FakeHost::instance().traces,
               ( Traces{
                   { 0, "Creating Ipmi Device" },
                   { 0, "IPMI fruId: ''" },
                   { 0, "Error: 'hamType' driver arg not provided to IPMI driver" },
               } ) );
}

TEST( IpmiCreation, WithAnUnknownHamTypeThereIsNoDevice ) {
    EXPECT_EQ( Ipmi::create( withArguments( { { "hamType", "nix" } } ), nullptr ), nullptr );
    EXPECT_EQ( FakeHost::instance().traces, ( Traces{
                                                { 0, "Creating Ipmi Device" },
                                                { 0, "IPMI fruId: ''" },
                                                { 0, "Creating ham type: nix" },
                                                { 3, "looking for ham nix" },
                                                { 0, "ham not found nix" },
                                                { 0, "Error: Failed to create ham: nix" },
                                            } ) );
}

TEST( IpmiCreation, TheHostGetsAFanThroughADescription ) {
    const auto ham = std::make_shared<ScriptedIpmiHam>();
    ham->sensors[ "FAN1" ] = "5280";
    Ham::ipmiHams[ "scripted" ] = [ & ] { return ham; };
    pl_fan *fan = pl_fan_add( R"({"did":1,"driver":"Ipmi","provideHam":0,"address":{"address":0},
        "driverArgs":{"hamType":"scripted","fanId":1,"maxRpm":9000,"ipmiKey":"fan1"}})" );
    ASSERT_NE( fan, nullptr );
    int rpm = 0;
    EXPECT_EQ( fan->ops->get_rpm( fan, &rpm ), PL_STATUS_OK );
    EXPECT_EQ( rpm, 5280 );
}

TEST_F( IpmiTest, InitAsksForTheAirflowAndReturnsTheHamsStatus ) {
    EXPECT_EQ( ipmi_.init(), 0 );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "Ipmi::init()" } } ) );
    ham_->status = 4;
    EXPECT_EQ( ipmi_.init(), 4 );
    EXPECT_EQ( ham_->airflowsAsked, ( std::vector<std::string>{ "B1", "B1" } ) );
}

TEST_F( IpmiTest, InitWithoutAFruIdAsksNothing ) {
    ham_->status = 4;
    EXPECT_EQ( Ipmi( "", ham_ ).init(), 0 );
    EXPECT_TRUE( ham_->airflowsAsked.empty() );
}

TEST_F( IpmiTest, AirflowDirectionIsTheSensorsText ) {
    EXPECT_EQ( ipmi_.airflowDirection(), "frontToBackAirflow" );
    EXPECT_EQ( Ipmi( "B2", ham_ ).airflowDirection(), "unknownAirflowDirection" );
    ham_->status = 4;
    EXPECT_EQ( ipmi_.airflowDirection(), "unknownAirflowDirection" );
}

// Supplies

TEST_F( IpmiTest, ASupplyReadsEachValueFromItsOwnSensor ) {
    ham_->sensors.insert( { { "PSU1_CURRENT_IN", "1.5" },
                            { "PSU1_CURRENT_OUT", "2.5" },
                            { "PSU1_VOLTAGE_IN", "230.25" },
                            { "PSU1_VOLTAGE_OUT", "12" },
                            { "PSU1_POWER_IN", "345" },
                            { "PSU1_POWER_OUT", "30" },
                            { "PSU1_OK", "1" } } );
    auto *psu = ipmi_.newPsu( withArguments( { { "psuId", "1" }, { "ipmiKey", "PSU1" } } ) );
    ASSERT_NE( psu, nullptr );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "Creating Ipmi Psu Device 1, PSU1" } } ) );
    float value = 0;
    int ok = 0;
    EXPECT_EQ( psu->get_input_current( &value ), 0 );
    EXPECT_EQ( value, 1.5f );
    EXPECT_EQ( psu->get_output_current( &value ), 0 );
    EXPECT_EQ( value, 2.5f );
    EXPECT_EQ( psu->get_input_voltage( &value ), 0 );
    EXPECT_EQ( value, 230.25f );
    EXPECT_EQ( psu->get_output_voltage( &value ), 0 );
    EXPECT_EQ( value, 12.0f );
    EXPECT_EQ( psu->get_input_power( &value ), 0 );
    EXPECT_EQ( value, 345.0f );
    EXPECT_EQ( psu->get_output_power( &value ), 0 );
    EXPECT_EQ( value, 30.0f );
    EXPECT_EQ( psu->get_power_ok( &ok ), 0 );
    EXPECT_EQ( ok, 1 );
    EXPECT_EQ( static_cast<Ipmi::Psu *>( psu )->psuId(), 1 );
    delete static_cast<Ipmi::Psu *>( psu );
}

TEST_F( IpmiTest, ASupplyReturnsTheHamsStatusUnchanged ) {
    const std::unique_ptr<Ipmi::Psu> psu( static_cast<Ipmi::Psu *>(
        ipmi_.newPsu( withArguments( { { "psuId", "2" }, { "ipmiKey", "PSU2" } } ) ) ) );
    float value = 3;
    int ok = 3;
    EXPECT_EQ( psu->get_input_voltage( &value ), 4 );
    EXPECT_EQ( psu->get_power_ok( &ok ), 4 );
    ham_->sensors = { { "PSU2_VOLTAGE_IN", "1" }, { "PSU2_OK", "1" } };
    ham_->status = 6;
    EXPECT_EQ( psu->get_input_voltage( &value ), 6 );
    EXPECT_EQ( psu->get_power_ok( &ok ), 6 );
    EXPECT_EQ( value, 3 );
    EXPECT_EQ( ok, 3 );
    ham_->status = 0;
    ham_->sensors[ "PSU2_OK" ] = "yes";
    EXPECT_THROW( psu->get_power_ok( &ok ), std::invalid_argument );
}

TEST_F( IpmiTest, ASupplyWithoutAnArgumentIsNotMade ) {
    EXPECT_EQ( ipmi_.newPsu( withArguments( { { "ipmiKey", "PSU1" } } ) ), nullptr );
    EXPECT_EQ( host_.traces.back(), ( Trace{ 0, "Error: expected 'psuId' in psu driverArgs" } ) );
    EXPECT_EQ( ipmi_.newPsu( withArguments( { { "psuId", "1" } } ) ), nullptr );
    EXPECT_EQ( host_.traces.back(), ( Trace{ 0, "Error: expected 'ipmiKey' in psu driverArgs" } ) );
    EXPECT_EQ( host_.traces.size(), 2u );
}

TEST_F( IpmiTest, OtherSupplyIdsAbort ) {
    for ( const char *id : { "0", "3", "257", "-1" } ) {
        EXPECT_DEATH( ipmi_.newPsu( withArguments( { { "psuId", id }, { "ipmiKey", "P" } } ) ),
                      "psuId == 1 \\|\\| psuId == 2" );
    }
}

// Fans

TEST_F( IpmiTest, AFanReadsItsSpeed ) {
    const std::unique_ptr<Component::LogicalDevice::Fan> fan( ipmi_.newFan(
        withArguments( { { "fanId", "7" }, { "maxRpm", "9000" }, { "ipmiKey", "Fan7" } } ) ) );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "Creating new Ipmi Fan id 7" } } ) );
    int rpm = 1;
    EXPECT_EQ( fan->getRpm( &rpm ), 4 );
    EXPECT_EQ( rpm, 1 );
    ham_->sensors[ "FAN7" ] = "5280.000";
    EXPECT_EQ( fan->getRpm( &rpm ), 0 );
    EXPECT_EQ( rpm, 5280 );
}

TEST_F( IpmiTest, AFansMaximumIsMaxRpmElseMaxFanRpm ) {
    Arguments arguments = { { "fanId", "1" }, { "maxFanRpm", "8000" }, { "ipmiKey", "FAN1" } };
    std::unique_ptr<Component::LogicalDevice::Fan> fan(
        ipmi_.newFan( withArguments( arguments ) ) );
    EXPECT_EQ( static_cast<Ipmi::Fan &>( *fan ).maxRpm(), 8000 );
    arguments[ "maxRpm" ] = "9000";
    fan.reset( ipmi_.newFan( withArguments( arguments ) ) );
    EXPECT_EQ( static_cast<Ipmi::Fan &>( *fan ).maxRpm(), 9000 );
}

TEST_F( IpmiTest, AFanWithoutAnArgumentAborts ) {
    const Arguments arguments = { { "fanId", "1" }, { "maxRpm", "9" }, { "ipmiKey", "FAN1" } };
    for ( const char *name : { "fanId", "maxRpm", "ipmiKey" } ) {
        EXPECT_DEATH( ipmi_.newFan( withArguments( without( arguments, name ) ) ),
                      "it != args.driverArgs.end\\(\\)" );
    }
}

TEST_F( IpmiTest, OtherFanIdsAbort ) {
    for ( const char *id : { "0", "8", "257" } ) {
        EXPECT_DEATH( ipmi_.newFan( withArguments(
                          { { "fanId", id }, { "maxRpm", "9" }, { "ipmiKey", "FAN1" } } ) ),
                      "fanId >= 1 && fanId <= 7" );
    }
}

TEST_F( IpmiTest, SettingAFansSpeedAborts ) {
    Ipmi::Fan fan( ham_, 1, 9000, "FAN1" );
    EXPECT_DEATH( fan.setRpm( 5000 ), "0 && \"fan is readonly\"" );
}

// Temperature sensors

TEST_F( IpmiTest, ATemperatureSensorReadsItsTemperature ) {
    const std::unique_ptr<Component::LogicalDevice::TempSensor> sensor(
        ipmi_.newTempSensor( withArguments( { { "ipmiKey", "ambient" } } ) ) );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "Creating Ipmi TempSensor Device" } } ) );
    float celsius = 1;
    EXPECT_EQ( sensor->getTemperature( &celsius ), 4 );
    EXPECT_EQ( celsius, 1.0f );
    ham_->sensors[ "AMBIENT" ] = "-4.5";
    EXPECT_EQ( sensor->getTemperature( &celsius ), 0 );
    EXPECT_EQ( celsius, -4.5f );
}

TEST_F( IpmiTest, ATemperatureSensorWithoutAKeyAborts ) {
    EXPECT_DEATH( ipmi_.newTempSensor( withArguments( {} ) ), "it != args.driverArgs.end\\(\\)" );
}

// Fan slots

class IpmiFanSlotTest : public IpmiTest {
  protected:
    void make( const Arguments &arguments ) {
        slot_.reset( ipmi_.newSlot( withArguments( arguments ) ) );
        host_.traces.clear();
    }
    std::unique_ptr<Component::LogicalDevice::Slot> slot_;
};

TEST_F( IpmiFanSlotTest, IsTracedWithTheIdGivenUpTo8 ) {
    slot_.reset( ipmi_.newSlot( withArguments( with( slotArguments(), "fanId", "8" ) ) ) );
    EXPECT_NE( slot_, nullptr );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "Creating new Ipmi Slot for Fan id 8" } } ) );
}

TEST_F( IpmiFanSlotTest, OtherIdsAbort ) {
    for ( const char *id : { "0", "9" } ) {
        EXPECT_DEATH( ipmi_.newSlot( withArguments( with( slotArguments(), "fanId", id ) ) ),
                      "1 <= fanId && fanId <= 8" );
    }
}

TEST_F( IpmiFanSlotTest, WithoutARequiredArgumentAborts ) {
    const std::pair<const char *, const char *> cases[] = {
        { "fanId", "it != args.driverArgs.end\\(\\)" },
        { "ipmiKey", "it != args.driverArgs.end\\(\\)" },
        { "fanFdl", "fdlIt != slotArgs_.end\\(\\)" },
        { "rpmF2B", "f2bIt != slotArgs_.end\\(\\)" },
        { "rpmB2F", "b2fIt != slotArgs_.end\\(\\)" },
    };
    for ( const auto &[ name, text ] : cases ) {
        EXPECT_DEATH( ipmi_.newSlot( withArguments( without( slotArguments(), name ) ) ), text );
    }
}

TEST_F( IpmiFanSlotTest, AnEmptyKeyAbortsWhenAsked ) {
    make( with( slotArguments(), "ipmiKey", "" ) );
    char *fdl;
    EXPECT_DEATH( slot_->getPresence( &fdl ), "fruKey_ != \"\"" );
}

TEST_F( IpmiFanSlotTest, TheTextIsFilledOnceAndThenCopied ) {
    ham_->sensors[ "FAN1" ] = "5280";
    make( slotArguments() );
    const std::string text = "FAN-7000|frontToBackAirflow|20000";
    EXPECT_EQ( presence( *slot_ ), text );
    EXPECT_EQ( host_.traces,
               ( Traces{
                   { 6, "IpmiHam::fanPresence  'FAN1' 0 1" },
                   { 5, "FormatFdl::set( 'airflowDirection', 'frontToBackAirflow' )" },
                   { 5, "FormatFdl::set( 'maxRpm', '20000' )" },
                   { 5, "FormatFdl::set( 'modelName', 'FAN-7000' )" },
                   { 5, "fan 0 fdl: " + text },
               } ) );
    host_.traces.clear();
    ham_->sensors[ "AIRFLOWDIRECTION_B1" ] = "backToFrontAirflow";
    EXPECT_EQ( presence( *slot_ ), text );
    EXPECT_EQ( host_.traces, ( Traces{
                                 { 6, "IpmiHam::fanPresence  'FAN1' 0 1" },
                                 { 5, "Using cached fdl for fan 0" },
                             } ) );
}

TEST_F( IpmiFanSlotTest, TheMaximumIsTheOneOfTheAirflowDirection ) {
    ham_->sensors[ "FAN1" ] = "5280";
    ham_->sensors[ "AIRFLOWDIRECTION_B1" ] = "backToFrontAirflow";
    make( slotArguments() );
    EXPECT_EQ( presence( *slot_ ), "FAN-7000|backToFrontAirflow|18000" );
    ham_->sensors.erase( "AIRFLOWDIRECTION_B1" );
    make( slotArguments() );
    EXPECT_EQ( presence( *slot_ ), "FAN-7000|unknownAirflowDirection|20000" );
}

TEST_F( IpmiFanSlotTest, TheModelNameMayBeAbsent ) {
    ham_->sensors[ "FAN1" ] = "5280";
    make( without( slotArguments(), "modelName" ) );
    EXPECT_EQ( presence( *slot_ ), "|frontToBackAirflow|20000" );
}

TEST_F( IpmiFanSlotTest, AFailureIsReturnedAndTheNextSuccessFillsTheTextAnew ) {
    ham_->sensors[ "FAN1" ] = "5280";
    make( slotArguments() );
    presence( *slot_ );
    ham_->status = 6;
    EXPECT_EQ( presence( *slot_ ), "<6>" );
    ham_->status = 0;
    ham_->sensors.erase( "FAN1" );
    EXPECT_EQ( presence( *slot_ ), "<4>" );
    ham_->sensors[ "FAN1" ] = "5280";
    ham_->sensors[ "AIRFLOWDIRECTION_B1" ] = "backToFrontAirflow";
    EXPECT_EQ( presence( *slot_ ), "FAN-7000|backToFrontAirflow|18000" );
}

TEST_F( IpmiFanSlotTest, ATemplateWithoutAPlaceholderAborts ) {
    ham_->sensors[ "FAN1" ] = "5280";
    make( with( slotArguments(), "fanFdl", "{airflowDirection} {maxRpm}" ) );
    char *fdl;
    EXPECT_DEATH( slot_->getPresence( &fdl ), "Invalid key in FormatFdl::set" );
}

TEST_F( IpmiFanSlotTest, AnEmptyTextIsFilledAnewEachTime ) {
    ham_->sensors[ "FAN1" ] = "5280";
    ham_->sensors[ "AIRFLOWDIRECTION_B1" ] = "";
    make( with( with( without( slotArguments(), "modelName" ), "rpmF2B", "" ), "fanFdl",
                "{airflowDirection}{maxRpm}{modelName}" ) );
    EXPECT_EQ( presence( *slot_ ), "" );
    ham_->sensors[ "AIRFLOWDIRECTION_B1" ] = "frontToBackAirflow";
    EXPECT_EQ( presence( *slot_ ), "frontToBackAirflow" );
}

TEST_F( IpmiFanSlotTest, ACopyWithoutMemoryFails ) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer's memory cannot be limited";
#endif
    ham_->sensors[ "FAN1" ] = "5280";
    make( with( slotArguments(), "modelName", std::string( MemoryLimit::tooMuch, 'x' ) ) );
    char *fdl = nullptr;
    ASSERT_EQ( slot_->getPresence( &fdl ), PL_STATUS_OK );
    std::free( fdl );
    fdl = nullptr;
    host_.traces.clear();

    pl_status status;
    {
        const MemoryLimit limit;
        status = slot_->getPresence( &fdl );
    }
    EXPECT_EQ( status, PL_STATUS_FAILED );
    EXPECT_EQ( fdl, nullptr );
    EXPECT_EQ( host_.traces.back(), ( Trace{ 0, "Error: Ipmi::FanSlot strdup failed" } ) );
}

} // namespace
