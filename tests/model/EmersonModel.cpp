#include "tests/model/EmersonModel.h"

#include <algorithm>

namespace model {

namespace {

enum Command : uint8_t {
    VoutMode = 0x20,
    FanCommand1 = 0x3B,
    ReadVin = 0x88,
    ReadVout = 0x8B,
    ReadIout = 0x8C,
    ReadFanSpeed1 = 0x90,
    ReadPin = 0x97
};

/** As a linear-11 number with an exponent of 0 or more. */
uint16_t encoded( int value ) {
    unsigned mantissa = static_cast<unsigned>( value ) & 0xFFFF;
    unsigned exponent = 0;
    while ( mantissa >= 1024 ) {
        mantissa >>= 1;
        ++exponent;
    }
    return static_cast<uint16_t>( exponent * 2048 + mantissa );
}

} // namespace

int EmersonModel::readLinear( uint8_t command, float *value ) {
    uint16_t word = 0;
    const int status = ham_.read16( command, &word );
    if ( status == 0 ) {
        *value = PmbusModel::linear11( word );
    }
    return status;
}

int EmersonModel::getOutputVoltage( float *volts ) {
    ham_.prepare();
    const uint32_t mode = ham_.addRead8( VoutMode );
    const uint32_t vout = ham_.addRead16( ReadVout );
    const int status = ham_.execute();
    if ( status ) {
        return status;
    }
    if ( ham_.get8( mode ) & 0xE0 ) {
        throw WouldAbort{ "( reg1 & 0xe0 ) == 0" };
    }
    *volts = static_cast<float>( static_cast<int16_t>( ham_.get16( vout ) ) ) / 64;
    return 0;
}

int EmersonModel::getInputCurrent( float *amperes ) {
    float volts = 0;
    int status = readLinear( ReadVin, &volts );
    if ( volts == 0 ) {
        *amperes = 0;
        return status;
    }
    float watts = 0;
    status = readLinear( ReadPin, &watts );
    if ( status == 0 ) {
        *amperes = watts / volts;
    }
    return status;
}

int EmersonModel::getOutputPower( float *watts ) {
    float volts = 0;
    float amperes = 0;
    int status = getOutputVoltage( &volts );
    if ( status == 0 ) {
        status = readLinear( ReadIout, &amperes );
    }
    if ( status == 0 ) {
        *watts = volts * amperes;
    }
    return status;
}

int EmersonModel::getPowerOk( int *ok ) {
    bool isPowerGood = false;
    if ( const int status = expander_->getPowerOk( number_, &isPowerGood ) ) {
        return status;
    }
    bool isAcGood = false;
    if ( const int status = expander_->getAcOk( number_, &isAcGood ) ) {
        return status;
    }
    if ( !isPowerGood && isAcGood ) {
        return 2;
    }
    *ok = isPowerGood;
    return 0;
}

int EmersonModel::getRpm( const Fan &fan, int *rpm ) {
    float speed = 0;
    const int status = readLinear( static_cast<uint8_t>( ReadFanSpeed1 + fan.number - 1 ), &speed );
    if ( status == 0 ) {
        *rpm = static_cast<int>( speed );
    }
    return status;
}

int EmersonModel::setRpm( const Fan &fan, int rpm ) {
    const int value = std::min( rpm, fan.maxRpm );
    world_->trace( 6, "Setting fan %d rpm to %d", fan.number, value );
    const auto command = static_cast<uint32_t>( FanCommand1 + fan.number - 1 );
    const int status = ham_.write16( command, encoded( value ), fan.pec );
    if ( status ) {
        world_->trace( 0, "Failed to set fan%d rpm to %d", fan.number, value );
    }
    return status;
}

} // namespace model
