#include "tests/model/ExpanderModel.h"

namespace model {

namespace {

uint8_t plus( uint8_t base, size_t bank ) {
    return static_cast<uint8_t>( ( base + bank ) % 256 );
}

double seconds( const timespec &time ) {
    return static_cast<double>( time.tv_sec ) + static_cast<double>( time.tv_nsec ) / 1e9;
}

} // namespace

ExpanderModel::ExpanderModel( World &world, const Path &path, int banks, uint32_t cacheTimeout,
                              Registers registers )
    : world_( &world ), ham_( world, path ), banks_( static_cast<size_t>( banks ) ),
      cacheTimeout_( cacheTimeout ), registers_( registers ) {}

ExpanderModel::Bank &ExpanderModel::at( uint8_t bank ) {
    if ( bank >= banks_.size() ) {
        throw WouldAbort{ "n < numBanks_" };
    }
    return banks_[ bank ];
}

bool ExpanderModel::isStale( const Bank &bank ) const {
    return seconds( world_->now ) - seconds( bank.read ) > static_cast<double>( cacheTimeout_ );
}

int ExpanderModel::getInBank( uint8_t bank, uint8_t *value ) {
    Bank &cached = at( bank );
    if ( isStale( cached ) ) {
        const int status = ham_.read8( plus( registers_.input, bank ), &cached.input );
        if ( status ) {
            world_->trace( 0, "Error: status %d while reading input bank %d", status, bank );
            return status;
        }
        cached.read = world_->now;
    }
    world_->trace( 5, "GPIOExpander::getInBank( %d ) = %x", bank, cached.input );
    *value = cached.input;
    return 0;
}

int ExpanderModel::getOutBank( uint8_t bank, uint8_t *value ) {
    Bank &cached = at( bank );
    if ( cached.output == nothing ) {
        uint8_t byte = 0;
        const int status = ham_.read8( plus( registers_.output, bank ), &byte );
        if ( status ) {
            world_->trace( 0, "Error: status %d while reading output bank %d", status, bank );
            return status;
        }
        cached.output = byte;
    }
    world_->trace( 5, "GPIOExpander::getoutBank( %d ) = %x", bank, cached.output );
    *value = static_cast<uint8_t>( cached.output );
    return 0;
}

int ExpanderModel::readBit( uint8_t bank, uint8_t bit, bool *value ) {
    if ( bit > 7 ) {
        throw WouldAbort{ "bit <= 7" };
    }
    uint8_t byte = 0;
    const int status = getInBank( bank, &byte );
    if ( status ) {
        world_->trace( 5, "Error %d: GPIOExpander::readBit( %d, %d )", status, bank, bit );
        return status;
    }
    *value = ( byte >> bit & 1 ) != 0;
    world_->trace( 5, "GPIOExpander::readBit( %d, %d ) = %d", bank, bit, *value );
    return 0;
}

int ExpanderModel::readPin( uint8_t pin, bool *value ) {
    return readBit( static_cast<uint8_t>( pin >> 3 ), pin & 7, value );
}

int ExpanderModel::writeBit( uint8_t bank, uint8_t bit, bool value ) {
    if ( bit > 7 ) {
        throw WouldAbort{ "bit <= 7" };
    }
    uint8_t byte = 0;
    const int status = getOutBank( bank, &byte );
    if ( status ) {
        return status;
    }
    at( bank ).output = value ? byte | 1 << bit : byte & ~( 1 << bit );
    return 0;
}

int ExpanderModel::writePin( uint8_t pin, bool value ) {
    return writeBit( static_cast<uint8_t>( pin >> 3 ), pin & 7, value );
}

int ExpanderModel::save() {
    world_->trace( 5, "GPIOExpander::save" );
    ham_.prepare();
    bool queued = false;
    for ( size_t n = 0; n < banks_.size(); ++n ) {
        Bank &bank = banks_[ n ];
        if ( bank.output == nothing ) {
            continue;
        }
        world_->trace( 5, " GPIOExpander::save -- writing output bank %zu = %d", n, bank.output );
        ham_.addWrite8( plus( registers_.output, n ), static_cast<uint8_t>( bank.output ), false );
        bank.output = nothing;
        queued = true;
    }
    if ( !queued ) {
        return 0;
    }
    const int status = ham_.execute();
    if ( status ) {
        world_->trace( 0, "Error: status %d writing to GPIOExpander", status );
    }
    return status;
}

int ExpanderModel::writeConfig( const std::vector<uint8_t> &config ) {
    ham_.prepare();
    for ( size_t n = 0; n < banks_.size(); ++n ) {
        ham_.addWrite8( plus( registers_.config, n ), config.at( n ), false );
    }
    return ham_.execute();
}

} // namespace model
