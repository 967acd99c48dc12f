#include "tests/model/PmbusModel.h"

#include <algorithm>
#include <cmath>

namespace model {

namespace {

enum Command : uint8_t {
    ClearFaults = 0x03,
    WriteProtect = 0x10,
    VoutMode = 0x20,
    FanCommand1 = 0x3B,
    StatusWord = 0x79,
    StatusFans12 = 0x81,
    ReadVout = 0x8B,
    ReadFanSpeed1 = 0x90
};

/** The low @p bits of @p value as a two's-complement number. */
int asSigned( int value, int bits ) {
    const int low = value & ( ( 1 << bits ) - 1 );
    return low >= 1 << ( bits - 1 ) ? low - ( 1 << bits ) : low;
}

} // namespace

int LineBit::read( int *level ) {
    uint8_t byte = 0;
    const int status = ham.read8( reg, &byte );
    if ( status == 0 ) {
        *level = byte >> bit & 1;
    }
    return status;
}

float PmbusModel::linear11( uint16_t word ) {
    return std::ldexp( static_cast<float>( asSigned( word, 11 ) ), asSigned( word >> 11, 5 ) );
}

int PmbusModel::readLinear( uint8_t command, float *value ) {
    uint16_t word = 0;
    const int status = ham_.read16( command, &word );
    if ( status == 0 ) {
        *value = linear11( word );
    }
    return status;
}

int PmbusModel::getOutputVoltage( float *volts ) {
    ham_.prepare();
    const uint32_t modeId = ham_.addRead8( VoutMode );
    const uint32_t voutId = ham_.addRead16( ReadVout );
    const int status = ham_.execute();
    if ( status ) {
        return status;
    }
    const int mode = ham_.get8( modeId );
    const uint16_t vout = ham_.get16( voutId );
    if ( mode >> 5 == 0 ) {
        const int exponent = voutExponent_ == exponentFromMode ? mode : voutExponent_;
        *volts = std::ldexp( static_cast<float>( asSigned( vout, 16 ) ), asSigned( exponent, 5 ) );
    } else if ( mode == 0xFF ) {
        *volts = linear11( vout );
    }
    return 0;
}

int PmbusModel::clearFaults() {
    world_->trace( 4, "Ensure WRITE_PROTECT is disabled and issue CLEAR_FAULTS command" );
    ham_.prepare();
    ham_.addWrite8( WriteProtect, 0, false );
    ham_.addSendByte( ClearFaults, false );
    return ham_.execute();
}

int PmbusModel::getPowerOk( int *ok ) {
    world_->trace( 4, "pl_status Drivers::Pmbus::get_power_ok(int*)" );
    if ( const int status = clearFaults() ) {
        world_->trace( 3, "CLEAR_FAULTS PMBus command failed: %d", status );
    }
    if ( powerLine_ ) {
        world_->trace( 4, "Checking power OK using powerOkGpio_" );
        int level = 0;
        const int status = powerLine_->line.read( &level );
        if ( status == 0 ) {
            *ok = powerLine_->isActiveLow ? 1 - level : level;
        }
        return status;
    }
    world_->trace( 4, "Checking power OK using STATUS_WORD_REG" );
    uint16_t word = 0;
    const int status = ham_.read16( StatusWord, &word );
    if ( status ) {
        return status;
    }
    const int powerBad = word >> 11 & 1;
    const int off = word >> 6 & 1;
    world_->trace( 4, "statusWord: 0x%x, powerBad: 0b%d, off: 0b%d", word, powerBad, off );
    if ( powerBad && !off ) {
        return 2;
    }
    *ok = !powerBad;
    return 0;
}

int PmbusModel::getTemperature( uint8_t command, float *celsius ) {
    float value = 0;
    const int status = readLinear( command, &value );
    if ( status == 0 ) {
        *celsius = value < 0 ? 0 : value;
    }
    return status;
}

int PmbusModel::getRpm( const Fan &fan, int *rpm ) {
    uint8_t faults = 0;
    int status = ham_.read8( StatusFans12, &faults );
    if ( status ) {
        return status;
    }
    if ( faults & 0x80 >> fan.index ) {
        return 2;
    }
    float speed = 0;
    status = readLinear( static_cast<uint8_t>( ReadFanSpeed1 + fan.index ), &speed );
    if ( status ) {
        return status;
    }
    *rpm = static_cast<int>( speed );
    if ( *rpm < 0 ) {
        world_->trace( 0, "Pmbus::Fan%d Invalid RPM reading: %d", fan.index, *rpm );
        return 4;
    }
    return 0;
}

int PmbusModel::setRpm( const Fan &fan, int rpm ) {
    const auto duty = static_cast<uint16_t>( rpm * 100 / fan.maxRpm );
    world_->trace( 6, "Setting fan %d duty cycle to %d", fan.index, duty );
    const auto clamped = rpm < 0 ? uint16_t{ 100 } : std::min<uint16_t>( duty, 100 );
    const int status =
        ham_.write16( static_cast<uint32_t>( FanCommand1 + fan.index ), clamped, fan.pec );
    if ( status ) {
        world_->trace( 0, "Failed to set fan%d duty cycle to %d", fan.index, clamped );
    }
    return status;
}

} // namespace model
