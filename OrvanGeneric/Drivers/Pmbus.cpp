#include "OrvanGeneric/Drivers/Pmbus.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <string>

#include "OrvanGeneric/Components/Gpio.h"
#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Drivers/Helpers.h"
#include "OrvanGeneric/Drivers/PmbusFormats.h"
#include "OrvanGeneric/Ham/Ham.h"
#include "OrvanGeneric/HostServices.h"
#include "OrvanGeneric/Status.h"

namespace Drivers {

using namespace PmbusFormats;

namespace {

/** The "voutExponent" that means: the one in VOUT_MODE. */
constexpr int exponentFromVoutMode = 255;

/** VOUT_MODE as read from a supply that does not have it. */
constexpr uint8_t noVoutMode = 0xFF;

/** Bits of STATUS_WORD. */
constexpr unsigned powerGoodNegatedBit = 11;
constexpr unsigned offBit = 6;

constexpr uint8_t allowAllWrites = 0;

constexpr int fullDuty = 100;

constexpr std::array<uint8_t, 3> temperatureCommands = { READ_TEMPERATURE_1, READ_TEMPERATURE_2,
                                                         READ_TEMPERATURE_3 };

constexpr std::array<Pmbus::FanRegisters, 2> fanRegisters = { {
    { READ_FAN_SPEED_1, FAN_COMMAND_1, 1u << 7 },
    { READ_FAN_SPEED_2, FAN_COMMAND_2, 1u << 6 },
} };

/** A supply whose input is off: readings of zero, a fan that turns, an inlet at 38 degrees. */
const Utils::ExpectedValues simulatedRegisters = {
    { VOUT_MODE, { 0x17, 1 } },
    { READ_VOUT, { 0x0, 1 } },
    { STATUS_WORD, { 0x2C4B, 2 } },
    { READ_VIN, { 0xC800, 2 } },
    { READ_IIN, { 0xA800, 2 } },
    { READ_IOUT, { 0xE000, 2 } },
    { READ_TEMPERATURE_1, { 0xF84C, 2 } },
    { READ_TEMPERATURE_2, { 0xF800, 2 } },
    { READ_FAN_SPEED_1, { 0x1B69, 2 } },
    { READ_POUT, { 0xD800, 2 } },
    { READ_PIN, { 0xD800, 2 } },
};

} // namespace

Component::HardwareDevice *Pmbus::create( const DriverArgs &args, Ham::Ham * ) {
    TRACE( 0, "Creating Pmbus Device" );
    const auto exponent =
        static_cast<uint8_t>( intArg( args, "voutExponent", exponentFromVoutMode ) );
    const auto gpioDevice = args.driverArgs.find( "gpioDevice" );
    Component::LogicalDevice::Gpio *powerOkGpio = nullptr;
    if ( gpioDevice != args.driverArgs.end() ) {
        const int reg = std::stoi( args.driverArgs.at( "powerOkReg" ) );
        const int bit = std::stoi( args.driverArgs.at( "powerOkBit" ) );
        powerOkGpio = getRegGpioForDevice( gpioDevice->second.c_str(), reg & 255, bit & 255 );
    }
    return new Pmbus( exponent, powerOkGpio, flagArg( args, "powerOkActiveLow", true ) );
}

Pmbus::Pmbus( uint8_t exponent, Component::LogicalDevice::Gpio *powerOkGpio, bool activeLow )
    : voutExponent( exponent ), powerOkGpio_( powerOkGpio ), powerOkActiveLow( activeLow ) {}

const Utils::ExpectedValues *Pmbus::expectedValues() {
    return &simulatedRegisters;
}

Component::LogicalDevice::Psu *Pmbus::newPsu( const DriverArgs & ) {
    TRACE( 0, "Creating Pmbus Psu Device" );
    return new Psu( this );
}

Component::LogicalDevice::Fan *Pmbus::newFan( const DriverArgs &args ) {
    TRACE( 0, "Creating Pmbus Fan Device" );
    assert( args.driverArgs.find( "fanId" ) != args.driverArgs.end() );
    const auto fanId = static_cast<uint8_t>( requiredIntArg( args, "fanId" ) );
    assert( fanId == 1 || fanId == 2 );
    assert( args.driverArgs.find( "maxFanRpm" ) != args.driverArgs.end() );
    return new Fan( this, static_cast<uint8_t>( fanId - 1 ), requiredIntArg( args, "maxFanRpm" ),
                    flagArg( args, "pec", false ) );
}

Component::LogicalDevice::TempSensor *Pmbus::newTempSensor( const DriverArgs &args ) {
    assert( args.driverArgs.find( "sensorId" ) != args.driverArgs.end() );
    const int sensorId = requiredIntArg( args, "sensorId" );
    const auto id = static_cast<uint8_t>( sensorId );
    const auto tempSensor = static_cast<uint8_t>( intArg( args, "tempSensor", sensorId ) );
    TRACE( 0, "Creating Pmbus TempSensor device %d using sensor %d", id, tempSensor );
    // Sensor 0 wraps, and at() rejects it.
    const uint8_t reg = temperatureCommands.at( static_cast<size_t>( tempSensor ) - 1 );
    return new TempSensor( this, id, reg );
}

pl_status Pmbus::pmbus_read_linear( uint8_t reg, float *value ) {
    return Utils::hostStatus( readLinear11( ham(), reg, value ) );
}

pl_status Pmbus::get_output_voltage( float *volts ) {
    ham()->prepare();
    const Ham::ResponseId modeId = ham()->addRead8( VOUT_MODE );
    const Ham::ResponseId rawId = ham()->addRead16( READ_VOUT );
    const int status = ham()->execute();
    if ( status ) {
        return Utils::hostStatus( status );
    }
    const uint8_t mode = ham()->get8( modeId );
    const uint16_t raw = ham()->get16( rawId );
    if ( ( mode & voutModeFormatMask ) == 0 ) {
        *volts = linear16ToReal( raw, voutExponent == exponentFromVoutMode ? mode : voutExponent );
    } else if ( mode == noVoutMode ) {
        *volts = linear11ToReal( raw );
    }
    return PL_STATUS_OK;
}

pl_status Pmbus::getTemperature( uint8_t reg, float *celsius ) {
    const pl_status status = pmbus_read_linear( reg, celsius );
    if ( status == PL_STATUS_OK && *celsius < 0 ) {
        *celsius = 0;
    }
    return status;
}

pl_status Pmbus::clearFaults() {
    TRACE( 4, "Ensure WRITE_PROTECT is disabled and issue CLEAR_FAULTS command" );
    ham()->prepare();
    ham()->addWrite8( WRITE_PROTECT, allowAllWrites, false );
    ham()->addSendByte( CLEAR_FAULTS, false );
    return Utils::hostStatus( ham()->execute() );
}

pl_status Pmbus::get_power_ok( int *ok ) {
    TRACE( 4, "pl_status Drivers::Pmbus::get_power_ok(int*)" );
    const pl_status cleared = clearFaults();
    if ( cleared != PL_STATUS_OK ) {
        TRACE( 3, "CLEAR_FAULTS PMBus command failed: %d", cleared );
    }
    if ( powerOkGpio_ ) {
        TRACE( 4, "Checking power OK using powerOkGpio_" );
        unsigned int bit;
        const pl_status status = powerOkGpio_->bitRead( &bit );
        if ( status == PL_STATUS_OK ) {
            *ok = static_cast<int>( powerOkActiveLow ? 1 - bit : bit );
        }
        return status;
    }
    TRACE( 4, "Checking power OK using STATUS_WORD_REG" );
    uint16_t statusWord;
    const int status = ham()->read16( STATUS_WORD, &statusWord );
    if ( status ) {
        return Utils::hostStatus( status );
    }
    const int powerBad = statusWord >> powerGoodNegatedBit & 1;
    const int off = statusWord >> offBit & 1;
    TRACE( 4, "statusWord: 0x%x, powerBad: 0b%d, off: 0b%d", statusWord, powerBad, off );
    if ( powerBad && !off ) {
        return PL_STATUS_FAULT;
    }
    *ok = powerBad ? 0 : 1;
    return PL_STATUS_OK;
}

pl_status Pmbus::getFanRpm( Fan *fan, int *rpm ) {
    uint8_t faults;
    const int status = ham()->read8( STATUS_FANS_1_2, &faults );
    if ( status ) {
        return Utils::hostStatus( status );
    }
    if ( faults & fan->registers_.faultMask ) {
        return PL_STATUS_FAULT;
    }
    float speed;
    const pl_status read = pmbus_read_linear( fan->registers_.speed, &speed );
    if ( read != PL_STATUS_OK ) {
        return read;
    }
    *rpm = static_cast<int>( speed );
    if ( *rpm < 0 ) {
        TRACE( 0, "Pmbus::Fan%d Invalid RPM reading: %d", fan->index_, *rpm );
        return PL_STATUS_TRANSPORT;
    }
    return PL_STATUS_OK;
}

pl_status Pmbus::setFanRpm( Fan *fan, int rpm ) {
    if ( fan->maxFanRpm_ == 0 ) {
        return PL_STATUS_TRANSPORT;
    }
    const auto duty = static_cast<uint16_t>( int64_t{ rpm } * fullDuty / fan->maxFanRpm_ );
    TRACE( 6, "Setting fan %d duty cycle to %d", fan->index_, duty );
    // A negative speed counts as a huge unsigned one, so it gives full duty. Its quotient must not
    // decide: that of a small one rounds to 0, a stop.
    const auto clamped =
        static_cast<uint16_t>( rpm < 0 ? fullDuty : std::min<int>( duty, fullDuty ) );
    const int status = ham()->write16( fan->registers_.command, clamped, fan->pec_ );
    if ( status ) {
        TRACE( 0, "Failed to set fan%d duty cycle to %d", fan->index_, clamped );
    }
    return Utils::hostStatus( status );
}

pl_status Pmbus::Psu::get_power_ok( int *ok ) {
    return pmbus_->get_power_ok( ok );
}
pl_status Pmbus::Psu::get_input_current( float *amperes ) {
    return pmbus_->pmbus_read_linear( READ_IIN, amperes );
}
pl_status Pmbus::Psu::get_output_current( float *amperes ) {
    return pmbus_->pmbus_read_linear( READ_IOUT, amperes );
}
pl_status Pmbus::Psu::get_input_voltage( float *volts ) {
    return pmbus_->pmbus_read_linear( READ_VIN, volts );
}
pl_status Pmbus::Psu::get_output_voltage( float *volts ) {
    return pmbus_->get_output_voltage( volts );
}
pl_status Pmbus::Psu::get_input_power( float *watts ) {
    return pmbus_->pmbus_read_linear( READ_PIN, watts );
}
pl_status Pmbus::Psu::get_output_power( float *watts ) {
    return pmbus_->pmbus_read_linear( READ_POUT, watts );
}

Pmbus::Fan::Fan( Pmbus *pmbus, uint8_t index, int maxFanRpm, bool pec )
    : pmbus_( pmbus ), index_( index ), maxFanRpm_( maxFanRpm ),
      registers_( fanRegisters[ index ] ), pec_( pec ) {}

pl_status Pmbus::Fan::getRpm( int *rpm ) {
    return pmbus_->getFanRpm( this, rpm );
}
pl_status Pmbus::Fan::setRpm( int rpm ) {
    return pmbus_->setFanRpm( this, rpm );
}

pl_status Pmbus::TempSensor::getTemperature( float *celsius ) {
    return pmbus_->getTemperature( static_cast<uint8_t>( reg() ), celsius );
}

} // namespace Drivers
