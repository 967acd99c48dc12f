#include "tests/model/PsocModel.h"

namespace model {

namespace {

enum Register : uint8_t { Config48 = 48, Config49 = 49, Stall = 50, Config51 = 51, Duty = 60 };

uint16_t swapped( uint16_t word ) {
    return static_cast<uint16_t>( word >> 8 | ( word & 0xFF ) << 8 );
}

} // namespace

void PsocModel::create() {
    world_->trace( 0, "Creating MirelundPsoc Device" );
    poll.construct();
}

int PsocModel::init() {
    ham_.prepare();
    ham_.addWrite8( Config51, 1, false );
    ham_.addWrite8( Config48, 1, false );
    ham_.addWrite8( Config49, 255, false );
    if ( ham_.execute() ) {
        world_->trace( 0, "MirelundPsoc init: failed to write configuration" );
    }
    if ( !poll.isStarted() ) {
        poll.start();
    }
    return 0;
}

void PsocModel::pollCallback() {
    uint8_t bitmap = 0;
    const int status = ham_.read8( Stall, &bitmap );
    if ( status ) {
        world_->trace( 0, "Error status %d reading fan stall alert register", status );
        stalled_.reset();
        return;
    }
    stalled_ = bitmap;
}

int PsocModel::getRpm( const Fan &fan, int *rpm ) {
    if ( *stalled_ >> fan.index & 1 ) {
        world_->trace( 0, "Fan %d stalled", fan.index );
        return 2;
    }
    uint16_t word = 0;
    const int status = ham_.read16( fan.speedReg, &word );
    if ( status ) {
        world_->trace( 0, "Error: failed to read from fan %d speed register %d", fan.index,
                       fan.speedReg );
        return status;
    }
    *rpm = swapped( word );
    world_->trace( 5, "MirelundPsoc::getFanRpm -- id: %d, rpm: %d", fan.index, *rpm );
    return 0;
}

int PsocModel::setRpm( const Fan &fan, int rpm ) {
    if ( !fan.isMaster ) {
        return 0;
    }
    const int percent = rpm * 100 / fan.maxRpm;
    const int low = percent & 0xFF;
    const int duty = low <= 98 ? low * 100 : 9900;
    world_->trace( 5, "Setting fan %d rpm to %d", fan.index, rpm );
    const int status = ham_.write16( Duty, swapped( static_cast<uint16_t>( duty ) ), false );
    if ( status ) {
        world_->trace( 0, "Error: setting fan %d to %d rpm failed with status %d", fan.index, rpm,
                       status );
    }
    return status;
}

int PsocModel::getTemperature( uint8_t id, uint8_t reg, float *celsius ) {
    uint8_t degrees = 0;
    const int status = ham_.read8( reg, &degrees );
    if ( status ) {
        world_->trace( 0, "Error status %d reading temperature from Psoc sensor %d", status, id );
        return status;
    }
    *celsius = degrees;
    return 0;
}

} // namespace model
