#include "smbusd/emulation/Wire.h"

#include <algorithm>

namespace smbusd {

bool Wire::start( uint8_t address, bool read ) {
    trace_.start( address, read, started_ );
    started_ = true;
    listening_.clear();
    found_.clear();
    if ( powered_ ) {
        root_.collect( address, found_ );
    }
    for ( Chip *chip : found_ ) {
        if ( std::find( involved_.begin(), involved_.end(), chip ) == involved_.end() ) {
            involved_.push_back( chip );
        }
        if ( chip->start( read ) ) {
            chip->counters.acknowledges++;
            listening_.push_back( chip );
        }
    }
    const bool acknowledged = !listening_.empty();
    acknowledges_ += acknowledged ? 1 : 0;
    trace_.acknowledge( acknowledged );
    return acknowledged;
}

bool Wire::startUnheard( uint8_t address, bool read ) {
    trace_.start( address, read, started_ );
    started_ = true;
    listening_.clear();
    trace_.acknowledge( false );
    return false;
}

bool Wire::write( uint8_t byte ) {
    trace_.byte( byte );
    bool acknowledged = false;
    for ( Chip *chip : listening_ ) {
        if ( chip->write( byte ) ) {
            chip->counters.acknowledges++;
            acknowledged = true;
        }
    }
    acknowledges_ += acknowledged ? 1 : 0;
    trace_.acknowledge( acknowledged );
    return acknowledged;
}

bool Wire::writeUnheard( uint8_t byte ) {
    trace_.byte( byte );
    trace_.acknowledge( false );
    return false;
}

uint8_t Wire::sample() {
    uint8_t byte = 0xFF;
    for ( Chip *chip : listening_ ) {
        byte &= chip->read();
    }
    return byte;
}

uint8_t Wire::read( bool last, uint8_t flip ) {
    const auto byte = static_cast<uint8_t>( sample() ^ flip );
    trace_.byte( byte );
    trace_.acknowledge( !last );
    return byte;
}

uint8_t Wire::readCount( uint32_t missing ) {
    const uint8_t count = sample();
    const auto heard = static_cast<uint8_t>( count - std::min<uint32_t>( count, missing ) );
    trace_.byte( heard );
    trace_.acknowledge( true );
    return heard;
}

void Wire::stop() {
    trace_.stop();
    started_ = false;
    listening_.clear();
    for ( Chip *chip : involved_ ) {
        chip->stop();
    }
    involved_.clear();
}

} // namespace smbusd
