#include "OrvanGeneric/Drivers/Mirelund/EmersonPmbus.h"

#include <memory>

#include <gmock/gmock.h>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/DriverFactory.h"
#include "OrvanGeneric/Drivers/Dummy.h"
#include "OrvanGeneric/Drivers/Mirelund/MirePsuPCA9555.h"
#include "OrvanGeneric/NotImplementedException.h"
#include "OrvanGeneric/Topology.h"
#include "tests/support/AssertionFailure.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedHam.h"
#include "tests/support/SimulationFixture.h"
#include "tests/support/TracesOnAbort.h"
#include "tests/support/VirtualSlot.h"

namespace {

using Component::LogicalDevice::Fan;
using Component::LogicalDevice::Psu;
using Drivers::EmersonPmbus;
using Log = std::vector<std::string>;
using Arguments = std::map<std::string, std::string>;

constexpr const char *file = "OrvanGeneric/Drivers/Mirelund/EmersonPmbus.cpp";
constexpr float untouched = -77;

Drivers::DriverArgs withArguments( const Arguments &arguments ) {
    Drivers::DriverArgs args;
    args.driverArgs = arguments;
    return args;
}

void loadExpander() {
    ASSERT_EQ( Topology::loadTopology( R"([ { "type": "I2C", "id": 0, "ham": "OrvanSmbus",
        "devices": [ { "did": 7, "label": "PsuPCA", "driver": "MirePsuPCA9555",
                       "address": { "address": 33 } } ] } ])" ),
               PL_STATUS_OK );
}

class EmersonPmbusTest : public testing::Test {
  protected:
    EmersonPmbusTest() {
        loadExpander();
        expander_.hamIs( &expanderHam_ );
        Component::DeviceBase::devices[ 7 ] = &expander_;
        FakeTime::now = 100;
        make( "1" );
    }

    void make( const std::string &psuId ) {
        supply_.reset( static_cast<EmersonPmbus *>(
            EmersonPmbus::create( withArguments( { { "psuId", psuId } } ), &ham_ ) ) );
        supply_->hamIs( &ham_ );
        supply_->init();
        psu_ = newPsu();
        host_.traces.clear();
    }
    std::unique_ptr<EmersonPmbus::Psu> newPsu() {
        return std::unique_ptr<EmersonPmbus::Psu>(
            static_cast<EmersonPmbus::Psu *>( supply_->newPsu( withArguments( {} ) ) ) );
    }
    std::unique_ptr<Fan> fan( const Arguments &arguments ) {
        std::unique_ptr<Fan> made( supply_->newFan( withArguments( arguments ) ) );
        host_.traces.clear();
        return made;
    }
    /** The expander's input port from now on, whatever was read of it before. */
    void inputs( uint8_t port ) {
        FakeTime::now += 10;
        expanderHam_.bytes[ 0 ] = port;
    }
    /** A reading that must succeed. */
    float get( pl_status ( Psu::*read )( float * ) ) {
        float value = untouched;
        EXPECT_EQ( ( psu_.get()->*read )( &value ), PL_STATUS_OK );
        return value;
    }
    /** A reading that must fail so and leave the result. */
    void expectFailure( pl_status ( Psu::*read )( float * ), pl_status status ) {
        float value = untouched;
        EXPECT_EQ( ( psu_.get()->*read )( &value ), status );
        EXPECT_EQ( value, untouched );
    }

    FakeHost &host_ = FakeHost::instance();
    FakeTime time_;
    ScriptedHam ham_;
    ScriptedHam expanderHam_;
    Drivers::MirePsuPCA9555 expander_;
    std::unique_ptr<EmersonPmbus> supply_;
    std::unique_ptr<EmersonPmbus::Psu> psu_;
};

// Creation

TEST_F( EmersonPmbusTest, RegistryKeyMakesThisDriver ) {
    std::unique_ptr<Component::DeviceBase> made(
        Drivers::drivers.at( "EmersonPmbus" )( withArguments( { { "psuId", "2" } } ), &ham_ ) );
    EXPECT_NE( dynamic_cast<EmersonPmbus *>( made.get() ), nullptr );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "Creating EmersonPmbus Device" } } ) );
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( EmersonPmbusTest, MissingAndWrongSupplyNumbersAbort ) {
    EXPECT_DEATH(
        EmersonPmbus::create( withArguments( {} ), &ham_ ),
        assertionFailure( "OrvanGeneric/Drivers/Drivers.cpp", "it != args.driverArgs.end()" ) );
    for ( const char *id : { "0", "3", "-1", "257" } ) {
        EXPECT_DEATH( make( id ), assertionFailure( file, "psuId == 1 || psuId == 2" ) ) << id;
    }
}

TEST_F( EmersonPmbusTest, InitFindsTheExpanderWithoutTraffic ) {
    EXPECT_EQ( supply_->init(), 0 );
    EXPECT_EQ( host_.traces.front(), ( Trace{ 0, "EmersonPmbus init function" } ) );
    EXPECT_TRUE( ham_.log.empty() );
    EXPECT_TRUE( expanderHam_.log.empty() );
}

TEST_F( EmersonPmbusTest, AnotherDeviceWithTheExpandersLabelAborts ) {
    Drivers::Dummy other;
    Component::DeviceBase::devices[ 7 ] = &other;
    EXPECT_DEATH( supply_->init(), assertionFailure( file, "psuExpander" ) );
}

TEST_F( EmersonPmbusTest, MissingExpanderAborts ) {
    ASSERT_EQ( Topology::loadTopology( R"([ { "type": "I2C", "id": 0, "ham": "OrvanSmbus" } ])" ),
               PL_STATUS_OK );
    EXPECT_DEATH(
        {
            const TracesOnAbort traces;
            supply_->init();
        },
        testing::AllOf( testing::HasSubstr( "trace 0: Unable to locate device PsuPCA\n" ),
                        testing::HasSubstr( "Assertion `device' failed" ) ) );
}

TEST_F( EmersonPmbusTest, LogicalDevicesAreTraced ) {
    const auto psu = newPsu();
    std::unique_ptr<Fan> fan(
        supply_->newFan( withArguments( { { "fanId", "1" }, { "maxFanRpm", "100" } } ) ) );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "Creating EmersonPmbus Psu Device" },
                                       { 0, "Creating EmersonPmbus Fan Device" } } ) );
    EXPECT_THROW( supply_->newTempSensor( withArguments( {} ) ),
                  Component::NotImplementedException );
}

// Readings

TEST_F( EmersonPmbusTest, LinearReadingsHaveTheirCommands ) {
    const struct {
        pl_status ( Psu::*read )( float * );
        unsigned command;
        const char *logged;
    } cases[] = {
        { &Psu::get_input_voltage, 0x88, "read16 0x88" },
        { &Psu::get_output_current, 0x8C, "read16 0x8c" },
        { &Psu::get_input_power, 0x97, "read16 0x97" },
    };
    for ( const auto &[ read, command, logged ] : cases ) {
        ham_.words = { { command, 0xE17C } }; // 380 * 2^-4
        EXPECT_EQ( get( read ), 23.75f ) << logged;
        EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", logged, "execute" } ) );
        ham_.words = { { command, 0x0FFF } };
        EXPECT_EQ( get( read ), -2 );
        ham_.statuses = { 6 };
        expectFailure( read, PL_STATUS_FAILED );
        ham_.takeLog();
    }
}

TEST_F( EmersonPmbusTest, OutputVoltageCountsInSixtyFourths ) {
    for ( const int mode : { 0x00, 0x17, 0x1A, 0x1F } ) {
        ham_.bytes[ 0x20 ] = static_cast<uint8_t>( mode );
        ham_.words[ 0x8B ] = 0x0300;
        EXPECT_EQ( get( &Psu::get_output_voltage ), 12 ) << mode;
        ham_.words[ 0x8B ] = 0xFFFF;
        EXPECT_EQ( get( &Psu::get_output_voltage ), -0.015625f ) << mode;
    }
    ham_.takeLog();
    get( &Psu::get_output_voltage );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read8 0x20", "read16 0x8b", "execute" } ) );
    ham_.statuses = { 4 };
    expectFailure( &Psu::get_output_voltage, PL_STATUS_TRANSPORT );
}

TEST_F( EmersonPmbusTest, OtherVoutModesAbort ) {
    for ( const int mode : { 0x20, 0x40, 0x80, 0xFF } ) {
        ham_.bytes[ 0x20 ] = static_cast<uint8_t>( mode );
        EXPECT_DEATH( get( &Psu::get_output_voltage ),
                      assertionFailure( file, "( reg1 & 0xe0 ) == 0" ) )
            << mode;
    }
}

TEST_F( EmersonPmbusTest, OutputPowerIsVoltageTimesCurrent ) {
    ham_.bytes[ 0x20 ] = 0x1A;
    ham_.words[ 0x8B ] = 0x0300; // 12 V
    ham_.words[ 0x8C ] = 0xE140; // 20 A
    EXPECT_EQ( get( &Psu::get_output_power ), 240 );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "read8 0x20", "read16 0x8b", "execute", "prepare",
                                      "read16 0x8c", "execute" } ) );
    ham_.statuses = { 4 };
    expectFailure( &Psu::get_output_power, PL_STATUS_TRANSPORT );
    ham_.statuses = { 0, 6 };
    expectFailure( &Psu::get_output_power, PL_STATUS_FAILED );
}

TEST_F( EmersonPmbusTest, InputCurrentIsPowerByVoltage ) {
    ham_.words[ 0x88 ] = 0xF398; // 230 V
    ham_.words[ 0x97 ] = 0x09CC; // 460 * 2^1 W
    EXPECT_EQ( get( &Psu::get_input_current ), 4 );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "read16 0x88", "execute", "prepare", "read16 0x97",
                                      "execute" } ) );
    ham_.statuses = { 0, 6 };
    expectFailure( &Psu::get_input_current, PL_STATUS_FAILED );
}

TEST_F( EmersonPmbusTest, NoInputVoltageIsNoCurrentAndThePowerIsNotRead ) {
    ham_.words[ 0x88 ] = 0xF000; // 0 * 2^-2
    ham_.words[ 0x97 ] = 0x0100;
    EXPECT_EQ( get( &Psu::get_input_current ), 0 );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "read16 0x88", "execute" } ) );
    ham_.words[ 0x88 ] = 0xF398;
    ham_.statuses = { 6 };
    float amperes = untouched;
    EXPECT_EQ( psu_->get_input_current( &amperes ), PL_STATUS_FAILED );
    EXPECT_EQ( amperes, 0 );
    EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "read16 0x88", "execute" } ) );
}

TEST_F( EmersonPmbusTest, PsuOperationsAreInTheirOrder ) {
    EXPECT_EQ( virtualSlot( &EmersonPmbus::Psu::get_power_ok ), 0u );
    EXPECT_EQ( virtualSlot( &EmersonPmbus::Psu::get_input_current ), 1u );
    EXPECT_EQ( virtualSlot( &EmersonPmbus::Psu::get_output_power ), 6u );
}

// Power good

TEST_F( EmersonPmbusTest, ExpanderTellsWhetherThePowerIsGood ) {
    const struct {
        const char *psuId;
        uint8_t port;
        pl_status status;
        int ok;
    } cases[] = {
        { "1", 0x42, PL_STATUS_OK, 1 },      { "1", 0x02, PL_STATUS_OK, 1 },
        { "1", 0x40, PL_STATUS_FAULT, -77 }, { "1", 0xBD, PL_STATUS_OK, 0 },
        { "2", 0x90, PL_STATUS_OK, 1 },      { "2", 0x10, PL_STATUS_OK, 1 },
        { "2", 0x80, PL_STATUS_FAULT, -77 }, { "2", 0x6F, PL_STATUS_OK, 0 },
    };
    for ( const auto &[ psuId, port, status, ok ] : cases ) {
        make( psuId );
        inputs( port );
        int value = -77;
        EXPECT_EQ( psu_->get_power_ok( &value ), status ) << psuId << " " << int{ port };
        EXPECT_EQ( value, ok ) << psuId << " " << int{ port };
        // Both signals come with one read of the port.
        EXPECT_EQ( expanderHam_.takeLog(), ( Log{ "prepare", "read8 0x00", "execute" } ) );
    }
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( EmersonPmbusTest, FailedExpanderIsReturned ) {
    inputs( 0x42 );
    expanderHam_.statuses = { 4 };
    int ok = 5;
    EXPECT_EQ( psu_->get_power_ok( &ok ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( ok, 5 );
}

// Fans

TEST_F( EmersonPmbusTest, MissingAndWrongFanArgumentsAbort ) {
    EXPECT_DEATH( fan( { { "maxFanRpm", "1" } } ),
                  assertionFailure( file, "args.driverArgs.find( \"fanId\" ) != "
                                          "args.driverArgs.end()" ) );
    EXPECT_DEATH( fan( { { "fanId", "1" } } ),
                  assertionFailure( file, "args.driverArgs.find( \"maxFanRpm\" ) != "
                                          "args.driverArgs.end()" ) );
    for ( const char *id : { "0", "3", "-1", "257" } ) {
        EXPECT_DEATH( fan( { { "fanId", id }, { "maxFanRpm", "1" } } ),
                      assertionFailure( file, "fanId == 1 || fanId == 2" ) )
            << id;
    }
}

TEST_F( EmersonPmbusTest, SpeedsAreReadAndCutToWholeOnes ) {
    const auto first = fan( { { "fanId", "1" }, { "maxFanRpm", "16000" } } );
    const auto second = fan( { { "fanId", "2" }, { "maxFanRpm", "16000" } } );
    ham_.words[ 0x90 ] = 0x1BE8; // 1000 * 2^3
    ham_.words[ 0x91 ] = 0xF803; // 1.5
    int rpm = 0;
    EXPECT_EQ( first->getRpm( &rpm ), PL_STATUS_OK );
    EXPECT_EQ( rpm, 8000 );
    EXPECT_EQ( second->getRpm( &rpm ), PL_STATUS_OK );
    EXPECT_EQ( rpm, 1 );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read16 0x90", "execute", "prepare", "read16 0x91",
                                "execute" } ) );
    ham_.words[ 0x91 ] = 0x0FFF; // nothing refuses a negative speed
    EXPECT_EQ( second->getRpm( &rpm ), PL_STATUS_OK );
    EXPECT_EQ( rpm, -2 );
    ham_.statuses = { 4 };
    EXPECT_EQ( second->getRpm( &rpm ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( rpm, -2 );
}

TEST_F( EmersonPmbusTest, RequestsAreCappedAndEncoded ) {
    const struct {
        int rpm;
        const char *write;
        const char *trace;
    } cases[] = {
        { 0, "write16 0x3b 0x0000", "Setting fan 1 rpm to 0" },
        { 1000, "write16 0x3b 0x03e8", "Setting fan 1 rpm to 1000" },
        { 1023, "write16 0x3b 0x03ff", "Setting fan 1 rpm to 1023" },
        { 1024, "write16 0x3b 0x0a00", "Setting fan 1 rpm to 1024" },
        { 3000, "write16 0x3b 0x12ee", "Setting fan 1 rpm to 3000" },
        { 16000, "write16 0x3b 0x23e8", "Setting fan 1 rpm to 16000" },
        { 16001, "write16 0x3b 0x23e8", "Setting fan 1 rpm to 16000" },
        { 2147483647, "write16 0x3b 0x23e8", "Setting fan 1 rpm to 16000" },
        { -1, "write16 0x3b 0x33ff", "Setting fan 1 rpm to -1" }, // 65535, 1023 * 2^6
    };
    const auto first = fan( { { "fanId", "1" }, { "maxFanRpm", "16000" } } );
    for ( const auto &[ rpm, write, trace ] : cases ) {
        EXPECT_EQ( first->setRpm( rpm ), PL_STATUS_OK );
        EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", write, "execute" } ) ) << rpm;
        EXPECT_EQ( host_.traces.back(), ( Trace{ 6, trace } ) );
    }
}

TEST_F( EmersonPmbusTest, OnlySixteenBitsOfARequestCount ) {
    const auto first = fan( { { "fanId", "1" }, { "maxFanRpm", "100000" } } );
    first->setRpm( 65536 + 3000 );
    EXPECT_EQ( ham_.log[ 1 ], "write16 0x3b 0x12ee" );
}

TEST_F( EmersonPmbusTest, MaximumOfZeroCapsToZero ) {
    const auto first = fan( { { "fanId", "1" }, { "maxFanRpm", "0" } } );
    EXPECT_EQ( first->setRpm( 5000 ), PL_STATUS_OK );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write16 0x3b 0x0000", "execute" } ) );
}

TEST_F( EmersonPmbusTest, FanWritesUsePecWhenToldTo ) {
    const auto first = fan( { { "fanId", "1" }, { "maxFanRpm", "9000" }, { "pec", "TRUE" } } );
    const auto second = fan( { { "fanId", "2" }, { "maxFanRpm", "9000" }, { "pec", "true" } } );
    first->setRpm( 1000 );
    second->setRpm( 1000 );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write16 0x3b 0x03e8", "execute", "prepare",
                                "write16 0x3c 0x03e8 pec", "execute" } ) );
}

TEST_F( EmersonPmbusTest, FailedFanWriteIsTraced ) {
    const auto second = fan( { { "fanId", "2" }, { "maxFanRpm", "9000" } } );
    ham_.statuses = { 6 };
    EXPECT_EQ( second->setRpm( 10000 ), PL_STATUS_FAILED );
    EXPECT_EQ( host_.traces, ( Traces{ { 6, "Setting fan 2 rpm to 9000" },
                                       { 0, "Failed to set fan2 rpm to 9000" } } ) );
}

TEST_F( EmersonPmbusTest, RealToLinearEncodesWholeNumbers ) {
    EXPECT_EQ( EmersonPmbus::realToLinear( 1000 ), 0x03E8 );
    EXPECT_EQ( EmersonPmbus::realToLinear( 3000 ), 0x12EE );
    EXPECT_EQ( EmersonPmbus::realToLinear( 65535 ), 0x33FF );
}

// Simulation

using EmersonPmbusSimulation = SimulationFixture;

TEST_F( EmersonPmbusSimulation, HealthySupply ) {
    loadDevices( R"({ "did": 9 }, { "did": 7, "label": "PsuPCA", "driver": "MirePsuPCA9555",
                                 "address": { "address": 33 } })" );
    const auto description = []( const std::string &arguments ) {
        return R"({ "driver": "EmersonPmbus", "did": 9, "name": "psu1",
                    "address": { "address": 88 }, "driverArgs": { "psuId": 1)" +
               arguments + "} }";
    };
    pl_psu *psu = pl_psu_add( description( "" ).c_str() );
    ASSERT_NE( psu, nullptr );
    int ok = 0;
    EXPECT_EQ( psu->ops->get_power_ok( psu, &ok ), PL_STATUS_OK );
    EXPECT_EQ( ok, 1 );
    const struct {
        pl_status ( *pl_psu_ops::*read )( pl_psu *, float * );
        float value;
    } readings[] = {
        { &pl_psu_ops::get_input_voltage, 230 },          { &pl_psu_ops::get_input_power, 260 },
        { &pl_psu_ops::get_input_current, 260.0f / 230 }, { &pl_psu_ops::get_output_voltage, 12 },
        { &pl_psu_ops::get_output_current, 20 },          { &pl_psu_ops::get_output_power, 240 } };
    for ( const auto &[ read, value ] : readings ) {
        float got = untouched;
        EXPECT_EQ( ( psu->ops->*read )( psu, &got ), PL_STATUS_OK );
        EXPECT_EQ( got, value );
    }
    for ( const char *id : { "1", "2" } ) {
        pl_fan *fan = pl_fan_add(
            description( std::string( R"(, "maxFanRpm": 16000, "fanId": )" ) + id ).c_str() );
        int rpm = 0;
        EXPECT_EQ( fan->ops->get_rpm( fan, &rpm ), PL_STATUS_OK );
        EXPECT_EQ( rpm, 8000 );
        EXPECT_EQ( fan->ops->set_rpm( fan, 9000 ), PL_STATUS_OK );
    }
    for ( const Trace &trace : host_.traces ) {
        EXPECT_EQ( trace.text.find( "WARNING" ), std::string::npos ) << trace.text;
    }
}

} // namespace
