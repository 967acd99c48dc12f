#include "OrvanGeneric/Drivers/Pmbus.h"

#include <filesystem>
#include <memory>

#include <gmock/gmock.h>

#include "OrvanGeneric/Components/Gpio.h"
#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/DriverFactory.h"
#include "OrvanGeneric/Drivers/Dummy.h"
#include "OrvanGeneric/NotImplementedException.h"
#include "OrvanGeneric/Topology.h"
#include "tests/support/AssertionFailure.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedHam.h"
#include "tests/support/SimulationFixture.h"
#include "tests/support/VirtualSlot.h"

namespace {

using Component::LogicalDevice::Fan;
using Component::LogicalDevice::Psu;
using Component::LogicalDevice::TempSensor;
using Log = std::vector<std::string>;
using Arguments = std::map<std::string, std::string>;

constexpr const char *file = "OrvanGeneric/Drivers/Pmbus.cpp";

Drivers::DriverArgs withArguments( const Arguments &arguments ) {
    Drivers::DriverArgs args;
    args.driverArgs = arguments;
    return args;
}

/** A reading that must succeed. */
template <class Value, class Object, class Base>
Value get( Object &object, pl_status ( Base::*read )( Value * ) ) {
    Value value = -77;
    EXPECT_EQ( ( object.*read )( &value ), PL_STATUS_OK );
    return value;
}

class PmbusTest : public testing::Test {
  protected:
    PmbusTest() { make( {} ); }

    void make( const Arguments &arguments ) {
        driver_.reset( static_cast<Drivers::Pmbus *>(
            Drivers::Pmbus::create( withArguments( arguments ), &ham_ ) ) );
        driver_->hamIs( &ham_ );
        psu_ = newPsu();
        host_.traces.clear();
    }
    std::unique_ptr<Drivers::Pmbus::Psu> newPsu() {
        return std::unique_ptr<Drivers::Pmbus::Psu>(
            static_cast<Drivers::Pmbus::Psu *>( driver_->newPsu( withArguments( {} ) ) ) );
    }
    std::unique_ptr<Fan> fan( const Arguments &arguments ) {
        std::unique_ptr<Fan> made( driver_->newFan( withArguments( arguments ) ) );
        host_.traces.clear();
        return made;
    }
    std::unique_ptr<TempSensor> sensor( const Arguments &arguments ) {
        std::unique_ptr<TempSensor> made( driver_->newTempSensor( withArguments( arguments ) ) );
        host_.traces.clear();
        return made;
    }
    /** The device labelled "cpld", its register 9 holding @p value. */
    void withGpioDevice( uint8_t value ) {
        ASSERT_EQ( Topology::loadTopology( R"([ { "type": "I2C", "id": 0, "ham": "OrvanSmbus",
            "devices": [ { "did": 7, "label": "cpld", "driver": "Dummy",
                           "address": { "address": 16 } } ] } ])" ),
                   PL_STATUS_OK );
        gpioDevice_.hamIs( &gpioHam_ );
        Component::DeviceBase::devices[ 7 ] = &gpioDevice_;
        gpioHam_.bytes[ 9 ] = value;
    }

    FakeHost &host_ = FakeHost::instance();
    ScriptedHam ham_;
    ScriptedHam gpioHam_;
    Drivers::Dummy gpioDevice_;
    std::unique_ptr<Drivers::Pmbus> driver_;
    std::unique_ptr<Drivers::Pmbus::Psu> psu_;
};

// Creation

TEST_F( PmbusTest, RegistryKeyMakesThisDriver ) {
    std::unique_ptr<Component::DeviceBase> made(
        Drivers::drivers.at( "Pmbus" )( withArguments( {} ), &ham_ ) );
    EXPECT_NE( dynamic_cast<Drivers::Pmbus *>( made.get() ), nullptr );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "Creating Pmbus Device" } } ) );
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( PmbusTest, LineWithoutRegisterOrBitThrows ) {
    for ( const char *only : { "powerOkReg", "powerOkBit" } ) {
        try {
            Drivers::Pmbus::create( withArguments( { { "gpioDevice", "cpld" }, { only, "1" } } ),
                                    &ham_ );
            ADD_FAILURE() << only;
        } catch ( const std::out_of_range &error ) {
            EXPECT_STREQ( error.what(), "map::at" ) << only;
        }
    }
}

TEST_F( PmbusTest, RegisterWithoutALineIsIgnored ) {
    make( { { "powerOkReg", "9" } } );
    ham_.words[ 0x79 ] = 0;
    EXPECT_EQ( get( *psu_, &Psu::get_power_ok ), 1 );
    EXPECT_THAT( ham_.log, testing::Contains( "read16 0x79" ) );
}

TEST_F( PmbusTest, LogicalDevicesAreTraced ) {
    const auto psu = newPsu();
    std::unique_ptr<Fan> fan(
        driver_->newFan( withArguments( { { "fanId", "2" }, { "maxFanRpm", "100" } } ) ) );
    std::unique_ptr<TempSensor> sensor(
        driver_->newTempSensor( withArguments( { { "sensorId", "9" }, { "tempSensor", "2" } } ) ) );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 0, "Creating Pmbus Psu Device" },
                         { 0, "Creating Pmbus Fan Device" },
                         { 0, "Creating Pmbus TempSensor device 9 using sensor 2" } } ) );
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( PmbusTest, OtherKindsAreNotOffered ) {
    EXPECT_THROW( driver_->newLed( withArguments( {} ) ), Component::NotImplementedException );
    EXPECT_THROW( driver_->newSlot( withArguments( {} ) ), Component::NotImplementedException );
}

// Readings

TEST_F( PmbusTest, EachReadingHasItsCommand ) {
    const struct {
        pl_status ( Psu::*read )( float * );
        unsigned command;
        const char *logged;
    } cases[] = {
        { &Psu::get_input_voltage, 0x88, "read16 0x88" },
        { &Psu::get_input_current, 0x89, "read16 0x89" },
        { &Psu::get_output_current, 0x8C, "read16 0x8c" },
        { &Psu::get_input_power, 0x97, "read16 0x97" },
        { &Psu::get_output_power, 0x96, "read16 0x96" },
    };
    for ( const auto &[ read, command, logged ] : cases ) {
        ham_.words = { { command, 0xE17C } }; // 380 * 2^-4
        EXPECT_EQ( get( *psu_, read ), 23.75f ) << logged;
        EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", logged, "execute" } ) );
        float value = 5;
        ham_.statuses = { 4 };
        EXPECT_EQ( ( psu_.get()->*read )( &value ), PL_STATUS_TRANSPORT ) << logged;
        EXPECT_EQ( value, 5 );
        ham_.takeLog();
    }
}

TEST_F( PmbusTest, OutputVoltageTakesTheExponentOfVoutMode ) {
    ham_.bytes[ 0x20 ] = 0x17; // -9
    ham_.words[ 0x8B ] = 0x1800;
    EXPECT_EQ( get( *psu_, &Psu::get_output_voltage ), 12 );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "read8 0x20", "read16 0x8b", "execute" } ) );
    ham_.words[ 0x8B ] = 0xE800; // the word is signed
    EXPECT_EQ( get( *psu_, &Psu::get_output_voltage ), -12 );
}

TEST_F( PmbusTest, ConfiguredExponentOverrulesTheOneOfVoutMode ) {
    make( { { "voutExponent", "24" } } ); // -8
    ham_.bytes[ 0x20 ] = 0x17;
    ham_.words[ 0x8B ] = 0x1800;
    EXPECT_EQ( get( *psu_, &Psu::get_output_voltage ), 24 );
    make( { { "voutExponent", "0" } } );
    EXPECT_EQ( get( *psu_, &Psu::get_output_voltage ), 6144 );
    make( { { "voutExponent", "255" } } );
    EXPECT_EQ( get( *psu_, &Psu::get_output_voltage ), 12 );
}

TEST_F( PmbusTest, SupplyWithoutAModeSpeaksLinear11 ) {
    make( { { "voutExponent", "24" } } );
    ham_.bytes[ 0x20 ] = 0xFF;
    ham_.words[ 0x8B ] = 0xD300; // 768 * 2^-6
    EXPECT_EQ( get( *psu_, &Psu::get_output_voltage ), 12 );
}

TEST_F( PmbusTest, OtherVoutModesLeaveTheVoltageAndSucceed ) {
    for ( const int mode : { 0x20, 0x40, 0x57, 0xE0, 0xFE } ) {
        ham_.bytes[ 0x20 ] = static_cast<uint8_t>( mode );
        float volts = 5;
        EXPECT_EQ( psu_->get_output_voltage( &volts ), PL_STATUS_OK ) << mode;
        EXPECT_EQ( volts, 5 );
    }
}

TEST_F( PmbusTest, FailedVoltageReadIsReturned ) {
    ham_.statuses = { 6 };
    float volts = 5;
    EXPECT_EQ( psu_->get_output_voltage( &volts ), PL_STATUS_FAILED );
    EXPECT_EQ( volts, 5 );
}

TEST_F( PmbusTest, PsuOperationsAreInTheirOrder ) {
    EXPECT_EQ( virtualSlot( &Psu::get_power_ok ), 0u );
    EXPECT_EQ( virtualSlot( &Psu::get_output_power ), 6u );
}

// Power good

TEST_F( PmbusTest, FaultsAreClearedBeforeStatusWordIsAsked ) {
    ham_.words[ 0x79 ] = 0x0000;
    EXPECT_EQ( get( *psu_, &Psu::get_power_ok ), 1 );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write8 0x10 0x00", "sendByte 0x03", "execute",
                                "prepare", "read16 0x79", "execute" } ) );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 4, "pl_status Drivers::Pmbus::get_power_ok(int*)" },
                         { 4, "Ensure WRITE_PROTECT is disabled and issue CLEAR_FAULTS command" },
                         { 4, "Checking power OK using STATUS_WORD_REG" },
                         { 4, "statusWord: 0x0, powerBad: 0b0, off: 0b0" } } ) );
}

TEST_F( PmbusTest, TwoBitsOfStatusWordDecide ) {
    const struct {
        uint16_t word;
        pl_status status;
        int ok;
        const char *trace;
    } cases[] = {
        { 0x0000, PL_STATUS_OK, 1, "statusWord: 0x0, powerBad: 0b0, off: 0b0" },
        { 0x0040, PL_STATUS_OK, 1, "statusWord: 0x40, powerBad: 0b0, off: 0b1" },
        { 0x0840, PL_STATUS_OK, 0, "statusWord: 0x840, powerBad: 0b1, off: 0b1" },
        { 0x0800, PL_STATUS_FAULT, -77, "statusWord: 0x800, powerBad: 0b1, off: 0b0" },
        { 0xF7BF, PL_STATUS_OK, 1, "statusWord: 0xf7bf, powerBad: 0b0, off: 0b0" },
        { 0x2C4B, PL_STATUS_OK, 0, "statusWord: 0x2c4b, powerBad: 0b1, off: 0b1" },
    };
    for ( const auto &[ word, status, ok, trace ] : cases ) {
        ham_.words[ 0x79 ] = word;
        int value = -77;
        EXPECT_EQ( psu_->get_power_ok( &value ), status ) << std::hex << word;
        EXPECT_EQ( value, ok ) << std::hex << word;
        EXPECT_EQ( host_.traces.back(), ( Trace{ 4, trace } ) );
    }
}

TEST_F( PmbusTest, FailureToClearFaultsDoesNotEndTheQuery ) {
    ham_.words[ 0x79 ] = 0x0000;
    ham_.statuses = { 6 };
    EXPECT_EQ( get( *psu_, &Psu::get_power_ok ), 1 );
    EXPECT_TRUE( host_.traced( 3, "CLEAR_FAULTS PMBus command failed: 6" ) );
}

TEST_F( PmbusTest, FailedStatusWordIsReturned ) {
    ham_.statuses = { 0, 4 };
    int ok = 5;
    EXPECT_EQ( psu_->get_power_ok( &ok ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( ok, 5 );
}

TEST_F( PmbusTest, PublicClearFaultsReturnsTheStatus ) {
    EXPECT_EQ( driver_->clearFaults(), PL_STATUS_OK );
    ham_.statuses = { 6 };
    EXPECT_EQ( driver_->clearFaults(), PL_STATUS_FAILED );
}

TEST_F( PmbusTest, PowerGoodLineIsActiveLowUnlessToldOtherwise ) {
    const struct {
        Arguments more;
        int onLow;
    } cases[] = {
        { {}, 1 },
        { { { "powerOkActiveLow", "true" } }, 1 },
        { { { "powerOkActiveLow", "false" } }, 0 },
        { { { "powerOkActiveLow", "True" } }, 0 },
    };
    withGpioDevice( 0 );
    for ( const auto &[ more, onLow ] : cases ) {
        Arguments arguments = {
            { "gpioDevice", "cpld" }, { "powerOkReg", "9" }, { "powerOkBit", "3" } };
        arguments.insert( more.begin(), more.end() );
        make( arguments );
        gpioHam_.bytes[ 9 ] = 0xF7;
        EXPECT_EQ( get( *psu_, &Psu::get_power_ok ), onLow );
        gpioHam_.bytes[ 9 ] = 0x08;
        EXPECT_EQ( get( *psu_, &Psu::get_power_ok ), 1 - onLow );
    }
}

TEST_F( PmbusTest, PowerGoodLineIsAskedInsteadOfStatusWord ) {
    withGpioDevice( 0x00 );
    make( { { "gpioDevice", "cpld" }, { "powerOkReg", "265" }, { "powerOkBit", "259" } } );
    gpioHam_.takeLog();
    EXPECT_EQ( get( *psu_, &Psu::get_power_ok ), 1 );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write8 0x10 0x00", "sendByte 0x03", "execute" } ) );
    EXPECT_EQ( gpioHam_.log, ( Log{ "prepare", "read8 0x09", "execute" } ) ); // 8 bits of 265
    EXPECT_EQ( host_.texts( 4 ).back(), "Checking power OK using powerOkGpio_" );
    gpioHam_.bytes[ 9 ] = 0x08;
    EXPECT_EQ( get( *psu_, &Psu::get_power_ok ), 0 );
}

TEST_F( PmbusTest, FailedLineIsReturned ) {
    withGpioDevice( 0 );
    make( { { "gpioDevice", "cpld" }, { "powerOkReg", "9" }, { "powerOkBit", "3" } } );
    gpioHam_.statuses = { 4 };
    int ok = 5;
    EXPECT_EQ( psu_->get_power_ok( &ok ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( ok, 5 );
}

// Fans

TEST_F( PmbusTest, MissingAndWrongFanArgumentsAbort ) {
    EXPECT_DEATH( fan( { { "maxFanRpm", "1" } } ),
                  assertionFailure( file, "args.driverArgs.find( \"fanId\" ) != "
                                          "args.driverArgs.end()" ) );
    EXPECT_DEATH( fan( { { "fanId", "1" } } ),
                  assertionFailure( file, "args.driverArgs.find( \"maxFanRpm\" ) != "
                                          "args.driverArgs.end()" ) );
    for ( const char *id : { "0", "3", "-1" } ) {
        EXPECT_DEATH( fan( { { "fanId", id }, { "maxFanRpm", "1" } } ),
                      assertionFailure( file, "fanId == 1 || fanId == 2" ) )
            << id;
    }
}

TEST_F( PmbusTest, EachFanHasItsRegistersAndFaultBit ) {
    const struct {
        const char *fanId;
        unsigned speed;
        const char *read;
        const char *write;
        uint8_t fault;
    } cases[] = { { "1", 0x90, "read16 0x90", "write16 0x3b 0x0032", 0x80 },
                  { "2", 0x91, "read16 0x91", "write16 0x3c 0x0032", 0x40 } };
    for ( const auto &[ fanId, speed, read, write, fault ] : cases ) {
        const auto made = fan( { { "fanId", fanId }, { "maxFanRpm", "12000" } } );
        ham_.words[ speed ] = 0x1B69; // 873 * 2^3
        ham_.bytes[ 0x81 ] = static_cast<uint8_t>( ~fault );
        EXPECT_EQ( get( *made, &Fan::getRpm ), 6984 );
        EXPECT_EQ( ham_.takeLog(),
                   ( Log{ "prepare", "read8 0x81", "execute", "prepare", read, "execute" } ) );
        ham_.bytes[ 0x81 ] = fault;
        int rpm = 5;
        EXPECT_EQ( made->getRpm( &rpm ), PL_STATUS_FAULT ) << fanId;
        EXPECT_EQ( rpm, 5 );
        EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", "read8 0x81", "execute" } ) );
        EXPECT_EQ( made->setRpm( 6000 ), PL_STATUS_OK );
        EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", write, "execute" } ) );
    }
}

TEST_F( PmbusTest, SpeedsAreCutToWholeOnesAndNegativeOnesRefused ) {
    const auto second = fan( { { "fanId", "2" }, { "maxFanRpm", "12000" } } );
    ham_.words[ 0x91 ] = 0xF803; // 1.5
    EXPECT_EQ( get( *second, &Fan::getRpm ), 1 );
    ham_.words[ 0x91 ] = 0xFFFF; // -0.5
    EXPECT_EQ( get( *second, &Fan::getRpm ), 0 );
    host_.traces.clear();
    ham_.words[ 0x91 ] = 0x0FFE; // -2 * 2
    int rpm;
    EXPECT_EQ( second->getRpm( &rpm ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "Pmbus::Fan1 Invalid RPM reading: -4" } } ) );
}

TEST_F( PmbusTest, FailedFanReadsAreReturned ) {
    const auto first = fan( { { "fanId", "1" }, { "maxFanRpm", "12000" } } );
    int rpm = 5;
    ham_.statuses = { 4 };
    EXPECT_EQ( first->getRpm( &rpm ), PL_STATUS_TRANSPORT );
    ham_.statuses = { 0, 6 };
    EXPECT_EQ( first->getRpm( &rpm ), PL_STATUS_FAILED );
    EXPECT_EQ( rpm, 5 );
}

TEST_F( PmbusTest, RequestsBecomePercentOfTheMaximum ) {
    const struct {
        int rpm;
        const char *write;
        const char *trace; ///< the duty before it is limited
    } cases[] = {
        { 0, "write16 0x3b 0x0000", "Setting fan 0 duty cycle to 0" },
        { 119, "write16 0x3b 0x0000", "Setting fan 0 duty cycle to 0" },
        { 120, "write16 0x3b 0x0001", "Setting fan 0 duty cycle to 1" },
        { 11999, "write16 0x3b 0x0063", "Setting fan 0 duty cycle to 99" },
        { 12000, "write16 0x3b 0x0064", "Setting fan 0 duty cycle to 100" },
        { 24000, "write16 0x3b 0x0064", "Setting fan 0 duty cycle to 200" },
        { 2147483647, "write16 0x3b 0x0064", nullptr },
        { -1, "write16 0x3b 0x0064", "Setting fan 0 duty cycle to 0" },
        { -120, "write16 0x3b 0x0064", "Setting fan 0 duty cycle to 65535" },
        { -2147483647 - 1, "write16 0x3b 0x0064", nullptr },
    };
    const auto first = fan( { { "fanId", "1" }, { "maxFanRpm", "12000" } } );
    for ( const auto &[ rpm, write, trace ] : cases ) {
        EXPECT_EQ( first->setRpm( rpm ), PL_STATUS_OK );
        EXPECT_EQ( ham_.takeLog(), ( Log{ "prepare", write, "execute" } ) ) << rpm;
        if ( trace ) {
            EXPECT_EQ( host_.traces.back(), ( Trace{ 6, trace } ) );
        }
    }
}

TEST_F( PmbusTest, FanWritesUsePecWhenToldTo ) {
    const auto with = fan( { { "fanId", "1" }, { "maxFanRpm", "100" }, { "pec", "true" } } );
    const auto without = fan( { { "fanId", "2" }, { "maxFanRpm", "100" }, { "pec", "yes" } } );
    with->setRpm( 50 );
    without->setRpm( 50 );
    EXPECT_EQ( ham_.log, ( Log{ "prepare", "write16 0x3b 0x0032 pec", "execute", "prepare",
                                "write16 0x3c 0x0032", "execute" } ) );
}

TEST_F( PmbusTest, FanWithoutAMaximumIsRefused ) {
    const auto first = fan( { { "fanId", "1" }, { "maxFanRpm", "0" } } );
    EXPECT_EQ( first->setRpm( 100 ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( first->setRpm( -100 ), PL_STATUS_TRANSPORT );
    EXPECT_TRUE( ham_.log.empty() );
}

TEST_F( PmbusTest, FailedFanWriteIsTracedWithTheLimitedDuty ) {
    const auto second = fan( { { "fanId", "2" }, { "maxFanRpm", "100" } } );
    ham_.statuses = { 6 };
    EXPECT_EQ( second->setRpm( 300 ), PL_STATUS_FAILED );
    EXPECT_EQ( host_.traces, ( Traces{ { 6, "Setting fan 1 duty cycle to 300" },
                                       { 0, "Failed to set fan1 duty cycle to 100" } } ) );
}

// Temperatures

TEST_F( PmbusTest, SensorsHaveTheirRegisters ) {
    const struct {
        Arguments arguments;
        int id;
        int reg;
    } cases[] = {
        { { { "sensorId", "1" } }, 1, 0x8D },
        { { { "sensorId", "2" } }, 2, 0x8E },
        { { { "sensorId", "3" } }, 3, 0x8F },
        { { { "sensorId", "200" }, { "tempSensor", "3" } }, 200, 0x8F },
        { { { "sensorId", "257" }, { "tempSensor", "258" } }, 1, 0x8E }, // of 8 bits
    };
    for ( const auto &[ arguments, id, reg ] : cases ) {
        const auto made = sensor( arguments );
        EXPECT_EQ( made->id(), id );
        EXPECT_EQ( made->reg(), reg );
        ham_.words = { { static_cast<unsigned>( reg ), 0xF84C } };
        EXPECT_EQ( get( *made, &TempSensor::getTemperature ), 38 );
    }
}

TEST_F( PmbusTest, MissingSensorIdAborts ) {
    EXPECT_DEATH( sensor( { { "tempSensor", "1" } } ),
                  assertionFailure( file, "args.driverArgs.find( \"sensorId\" ) != "
                                          "args.driverArgs.end()" ) );
}

TEST_F( PmbusTest, UnknownSensorThrows ) {
    const struct {
        const char *tempSensor;
        std::string index; ///< an unsigned number of the machine's width
    } cases[] = { { "4", "3" },
                  { "255", "254" },
                  { "0", std::to_string( static_cast<size_t>( -1 ) ) },
                  { "256", std::to_string( static_cast<size_t>( -1 ) ) } };
    for ( const auto &[ tempSensor, index ] : cases ) {
        try {
            sensor( { { "sensorId", "1" }, { "tempSensor", tempSensor } } );
            ADD_FAILURE() << tempSensor;
        } catch ( const std::out_of_range &error ) {
            EXPECT_EQ( error.what(),
                       "array::at: __n (which is " + index + ") >= _Nm (which is 3)" );
        }
    }
}

TEST_F( PmbusTest, TemperaturesBelowZeroReadAsZero ) {
    const auto made = sensor( { { "sensorId", "1" } } );
    ham_.words[ 0x8D ] = 0xFFFF;
    EXPECT_EQ( get( *made, &TempSensor::getTemperature ), 0 );
    ham_.words[ 0x8E ] = 0x07D8; // -40
    float celsius = 5;
    EXPECT_EQ( driver_->getTemperature( 0x8E, &celsius ), PL_STATUS_OK );
    EXPECT_EQ( celsius, 0 );
}

TEST_F( PmbusTest, FailedTemperatureIsReturned ) {
    const auto made = sensor( { { "sensorId", "1" } } );
    ham_.statuses = { 4 };
    float celsius = -5;
    EXPECT_EQ( made->getTemperature( &celsius ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( celsius, -5 );
}

// Simulation

TEST_F( PmbusTest, DeclaresElevenRegisters ) {
    const std::map<unsigned, std::pair<unsigned, unsigned>> table = {
        { 0x20, { 0x17, 1 } },   { 0x8B, { 0x0, 1 } },    { 0x79, { 0x2C4B, 2 } },
        { 0x88, { 0xC800, 2 } }, { 0x89, { 0xA800, 2 } }, { 0x8C, { 0xE000, 2 } },
        { 0x8D, { 0xF84C, 2 } }, { 0x8E, { 0xF800, 2 } }, { 0x90, { 0x1B69, 2 } },
        { 0x96, { 0xD800, 2 } }, { 0x97, { 0xD800, 2 } },
    };
    std::map<unsigned, std::pair<unsigned, unsigned>> declared;
    for ( const auto &[ reg, value ] : *driver_->expectedValues() ) {
        EXPECT_TRUE( value.isNumeric() );
        declared[ reg ] = { value.val(), value.size() };
    }
    EXPECT_EQ( declared, table );
}

using PmbusSimulation = SimulationFixture;

TEST_F( PmbusSimulation, SupplyReadsItsTable ) {
    loadDevices( R"({ "did": 9 })" );
    const auto description = []( const std::string &arguments ) {
        return R"({ "driver": "Pmbus", "did": 9, "name": "PSU1", "address": { "address": 88 },
                    "driverArgs": { )" +
               arguments + "} }";
    };
    pl_psu *psu = pl_psu_add( description( "" ).c_str() );
    float value = -1;
    EXPECT_EQ( psu->ops->get_input_voltage( psu, &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 0 );
    int ok = -1;
    EXPECT_EQ( psu->ops->get_power_ok( psu, &ok ), PL_STATUS_OK );
    EXPECT_EQ( ok, 0 );
    EXPECT_TRUE( host_.traced( 3, "CLEAR_FAULTS PMBus command failed: 4" ) );
    const auto temperature = [ & ]( const char *sensor ) {
        pl_temp_sensor *added = pl_temp_sensor_add(
            description( std::string( "\"sensorId\": " ) + sensor ).c_str(), 60, 70 );
        float celsius = -1;
        EXPECT_EQ( added->ops->get_temperature( added, &celsius ), PL_STATUS_OK );
        return celsius;
    };
    EXPECT_EQ( temperature( "1" ), 38 );
    EXPECT_EQ( temperature( "2" ), 0 );
    // The fans' status is no part of the table.
    pl_fan *fan = pl_fan_add( description( R"("fanId": 1, "maxFanRpm": 12000)" ).c_str() );
    int rpm = 5;
    EXPECT_EQ( fan->ops->get_rpm( fan, &rpm ), PL_STATUS_TRANSPORT );
    EXPECT_EQ( rpm, 5 );
    EXPECT_TRUE( std::filesystem::exists( folder_.file( "Pmbus-PSU1" ) ) );
    // READ_VOUT is one byte wide there: as a word it is read together with what follows.
    EXPECT_EQ( psu->ops->get_output_voltage( psu, &value ), PL_STATUS_OK );
    EXPECT_EQ( value, 224.0f / 512 ); // 00 and then 8c's "e0", at an exponent of -9
}

} // namespace
