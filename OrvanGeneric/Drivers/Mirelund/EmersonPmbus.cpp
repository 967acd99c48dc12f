#include "OrvanGeneric/Drivers/Mirelund/EmersonPmbus.h"

#include <algorithm>
#include <cassert>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Drivers/Helpers.h"
#include "OrvanGeneric/Drivers/Mirelund/MirePsuPCA9555.h"
#include "OrvanGeneric/Drivers/PmbusFormats.h"
#include "OrvanGeneric/Ham/Ham.h"
#include "OrvanGeneric/HostServices.h"
#include "OrvanGeneric/Status.h"

namespace Drivers {

using namespace PmbusFormats;

namespace {

constexpr const char *expanderLabel = "PsuPCA";
constexpr const char *expanderDriver = "MirePsuPCA9555";

/** Exponent of READ_VOUT, regardless of VOUT_MODE: -6 as five-bit two's complement, so 1/64 V. */
constexpr uint8_t voutExponent = 0x1A;

constexpr EmersonPmbus::FanRegisters fanRegisters[] = {
    { READ_FAN_SPEED_1, FAN_COMMAND_1 },
    { READ_FAN_SPEED_2, FAN_COMMAND_2 },
};

/** A supply that delivers 12 V and 20 A from 230 V mains, its fans at 8000 rpm. */
const Utils::ExpectedValues simulatedRegisters = {
    { VOUT_MODE, { 0x1A, 1 } },          // LINEAR16, exponent -6
    { FAN_COMMAND_1, { 0x1BE8, 2 } },    // 1000 * 2^3 rpm
    { FAN_COMMAND_2, { 0x1BE8, 2 } },    // likewise
    { READ_VIN, { 0xF398, 2 } },         // 920 * 2^-2 V
    { READ_VOUT, { 0x0300, 2 } },        // 768 * 2^-6 V
    { READ_IOUT, { 0xE140, 2 } },        // 320 * 2^-4 A
    { READ_FAN_SPEED_1, { 0x1BE8, 2 } }, // 1000 * 2^3 rpm
    { READ_FAN_SPEED_2, { 0x1BE8, 2 } }, // likewise
    { READ_PIN, { 0xFA08, 2 } },         // 520 * 2^-1 W
};

} // namespace

Component::HardwareDevice *EmersonPmbus::create( const DriverArgs &args, Ham::Ham * ) {
    TRACE( 0, "Creating EmersonPmbus Device" );
    const int psuId = requiredIntArg( args, "psuId" );
    assert( psuId == 1 || psuId == 2 );
    return new EmersonPmbus( static_cast<uint8_t>( psuId ) );
}

int EmersonPmbus::init() {
    TRACE( 0, "EmersonPmbus init function" );
    auto *psuExpander =
        dynamic_cast<MirePsuPCA9555 *>( getHardwareDeviceByLabel( expanderLabel, expanderDriver ) );
    assert( psuExpander );
    expander_ = psuExpander;
    return PL_STATUS_OK;
}

const Utils::ExpectedValues *EmersonPmbus::expectedValues() {
    return &simulatedRegisters;
}

Component::LogicalDevice::Psu *EmersonPmbus::newPsu( const DriverArgs & ) {
    TRACE( 0, "Creating EmersonPmbus Psu Device" );
    return new Psu( this );
}

Component::LogicalDevice::Fan *EmersonPmbus::newFan( const DriverArgs &args ) {
    TRACE( 0, "Creating EmersonPmbus Fan Device" );
    assert( args.driverArgs.find( "fanId" ) != args.driverArgs.end() );
    const int fanId = requiredIntArg( args, "fanId" );
    assert( fanId == 1 || fanId == 2 );
    assert( args.driverArgs.find( "maxFanRpm" ) != args.driverArgs.end() );
    return new Fan( this, fanId, requiredIntArg( args, "maxFanRpm" ),
                    flagArg( args, "pec", false ) );
}

pl_status EmersonPmbus::pmbus_read_linear( uint8_t reg, float *value ) {
    return Utils::hostStatus( readLinear11( ham(), reg, value ) );
}

uint16_t EmersonPmbus::realToLinear( unsigned short value ) {
    return realToLinear11( value );
}

pl_status EmersonPmbus::Psu::get_power_ok( int *ok ) {
    bool powerOk, acOk;
    pl_status status = supply_->expander_->getPowerOk( supply_->psuId_, &powerOk );
    if ( status == PL_STATUS_OK ) {
        status = supply_->expander_->getAcOk( supply_->psuId_, &acOk );
    }
    if ( status != PL_STATUS_OK ) {
        return status;
    }
    if ( acOk && !powerOk ) {
        return PL_STATUS_FAULT;
    }
    *ok = powerOk ? 1 : 0;
    return PL_STATUS_OK;
}

pl_status EmersonPmbus::Psu::get_input_current( float *amperes ) {
    float volts = 0;
    const pl_status status = get_input_voltage( &volts );
    if ( volts == 0 ) {
        *amperes = 0;
        return status;
    }
    float watts;
    const pl_status powerStatus = get_input_power( &watts );
    if ( powerStatus == PL_STATUS_OK ) {
        *amperes = watts / volts;
    }
    return powerStatus;
}

pl_status EmersonPmbus::Psu::get_output_current( float *amperes ) {
    return supply_->pmbus_read_linear( READ_IOUT, amperes );
}

pl_status EmersonPmbus::Psu::get_input_voltage( float *volts ) {
    return supply_->pmbus_read_linear( READ_VIN, volts );
}

pl_status EmersonPmbus::Psu::get_output_voltage( float *volts ) {
    Ham::Ham *ham = supply_->ham();
    ham->prepare();
    const Ham::ResponseId modeId = ham->addRead8( VOUT_MODE );
    const Ham::ResponseId rawId = ham->addRead16( READ_VOUT );
    const int status = ham->execute();
    if ( status ) {
        return Utils::hostStatus( status );
    }
    const uint8_t reg1 = ham->get8( modeId );
    assert( ( reg1 & 0xe0 ) == 0 );
    *volts = linear16ToReal( ham->get16( rawId ), voutExponent );
    return PL_STATUS_OK;
}

pl_status EmersonPmbus::Psu::get_input_power( float *watts ) {
    return supply_->pmbus_read_linear( READ_PIN, watts );
}

pl_status EmersonPmbus::Psu::get_output_power( float *watts ) {
    float volts, amperes;
    pl_status status = get_output_voltage( &volts );
    if ( status == PL_STATUS_OK ) {
        status = supply_->pmbus_read_linear( READ_IOUT, &amperes );
    }
    if ( status == PL_STATUS_OK ) {
        *watts = volts * amperes;
    }
    return status;
}

EmersonPmbus::Fan::Fan( EmersonPmbus *supply, int number, int maxFanRpm, bool pec )
    : registers_( fanRegisters[ number - 1 ] ), pec_( pec ), supply_( supply ), number_( number ),
      maxFanRpm_( maxFanRpm ) {}

pl_status EmersonPmbus::Fan::getRpm( int *rpm ) {
    float speed;
    const pl_status status = supply_->pmbus_read_linear( registers_.speed, &speed );
    if ( status == PL_STATUS_OK ) {
        *rpm = static_cast<int>( speed );
    }
    return status;
}

pl_status EmersonPmbus::Fan::setRpm( int rpm ) {
    const int capped = std::min( rpm, maxFanRpm_ );
    TRACE( 6, "Setting fan %d rpm to %d", number_, capped );
    const uint16_t word = realToLinear( static_cast<uint16_t>( capped ) );
    const int status = supply_->ham()->write16( registers_.command, word, pec_ );
    if ( status ) {
        TRACE( 0, "Failed to set fan%d rpm to %d", number_, capped );
    }
    return Utils::hostStatus( status );
}

} // namespace Drivers
