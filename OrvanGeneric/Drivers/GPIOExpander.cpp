#include "OrvanGeneric/Drivers/GPIOExpander.h"

#include <cassert>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Ham/Ham.h"
#include "OrvanGeneric/HostServices.h"
#include "OrvanGeneric/Status.h"

namespace Drivers {

namespace {

/** Marks an output bank with neither a cached nor a pending value. */
constexpr uint16_t nothingPending = 0xFFFF;

constexpr uint8_t bankOf( uint8_t pin ) {
    return pin >> 3;
}
constexpr uint8_t bitOf( uint8_t pin ) {
    return pin & 7;
}

double seconds( const timespec &time ) {
    return static_cast<double>( time.tv_sec ) + static_cast<double>( time.tv_nsec ) / 1e9;
}

} // namespace

GPIOExpander::GPIOExpander( int numBanks, unsigned int cacheTimeout, uint8_t inputBankBase,
                            uint8_t outputBankBase, uint8_t configBankBase )
    : lastRead_( numBanks ), inputCache_( numBanks ), outputCache_( numBanks, nothingPending ),
      numBanks_( numBanks ), cacheTimeout_( cacheTimeout ), inputBankBase_( inputBankBase ),
      outputBankBase_( outputBankBase ), configBankBase_( configBankBase ) {}

pl_status GPIOExpander::getInBank( uint8_t n, uint8_t *value ) {
    assert( n < numBanks_ );
    timespec now;
    Utils::os.clockGettime( CLOCK_MONOTONIC, &now );
    const double age = seconds( now ) - seconds( lastRead_[ n ] );
    if ( age > cacheTimeout_ ) {
        uint8_t byte;
        const int status = ham()->read8( static_cast<uint8_t>( inputBankBase_ + n ), &byte );
        if ( status ) {
            TRACE( 0, "Error: status %d while reading input bank %d", status, n );
            return Utils::hostStatus( status );
        }
        inputCache_[ n ] = byte;
        lastRead_[ n ] = now;
    }
    TRACE( 5, "GPIOExpander::getInBank( %d ) = %x", n, inputCache_[ n ] );
    *value = inputCache_[ n ];
    return PL_STATUS_OK;
}

pl_status GPIOExpander::getOutBank( uint8_t n, uint8_t *value ) {
    assert( n < numBanks_ );
    if ( outputCache_[ n ] == nothingPending ) {
        uint8_t byte;
        const int status = ham()->read8( outputBankAddr( n ), &byte );
        if ( status ) {
            TRACE( 0, "Error: status %d while reading output bank %d", status, n );
            return Utils::hostStatus( status );
        }
        outputCache_[ n ] = byte;
    }
    TRACE( 5, "GPIOExpander::getoutBank( %d ) = %x", n, outputCache_[ n ] );
    *value = static_cast<uint8_t>( outputCache_[ n ] );
    return PL_STATUS_OK;
}

pl_status GPIOExpander::readBit( uint8_t bank, uint8_t bit, bool *value ) {
    assert( bit <= 7 );
    uint8_t byte;
    const pl_status status = getInBank( bank, &byte );
    if ( status != PL_STATUS_OK ) {
        TRACE( 5, "Error %d: GPIOExpander::readBit( %d, %d )", status, bank, bit );
        return status;
    }
    *value = ( byte >> bit & 1 ) != 0;
    TRACE( 5, "GPIOExpander::readBit( %d, %d ) = %d", bank, bit, *value );
    return PL_STATUS_OK;
}

pl_status GPIOExpander::readBit( uint8_t pin, bool *value ) {
    return readBit( bankOf( pin ), bitOf( pin ), value );
}

pl_status GPIOExpander::writeBit( uint8_t bank, uint8_t bit, bool value ) {
    assert( bit <= 7 );
    uint8_t byte;
    const pl_status status = getOutBank( bank, &byte );
    if ( status != PL_STATUS_OK ) {
        return status;
    }
    const unsigned mask = 1u << bit;
    outputCache_[ bank ] = static_cast<uint8_t>( value ? byte | mask : byte & ~mask );
    return PL_STATUS_OK;
}

pl_status GPIOExpander::writeBit( uint8_t pin, bool value ) {
    return writeBit( bankOf( pin ), bitOf( pin ), value );
}

pl_status GPIOExpander::save() {
    TRACE( 5, "GPIOExpander::save" );
    ham()->prepare();
    bool queued = false;
    for ( int n = 0; n < numBanks_; ++n ) {
        if ( outputCache_[ n ] == nothingPending ) {
            continue;
        }
        TRACE( 5, " GPIOExpander::save -- writing output bank %d = %d", n, outputCache_[ n ] );
        ham()->addWrite8( outputBankAddr( static_cast<uint8_t>( n ) ),
                          static_cast<uint8_t>( outputCache_[ n ] ), false );
        outputCache_[ n ] = nothingPending;
        queued = true;
    }
    if ( !queued ) {
        return PL_STATUS_OK;
    }
    const int status = ham()->execute();
    if ( status ) {
        TRACE( 0, "Error: status %d writing to GPIOExpander", status );
    }
    return Utils::hostStatus( status );
}

pl_status GPIOExpander::writeConfig( const uint8_t *config ) {
    ham()->prepare();
    for ( int n = 0; n < numBanks_; ++n ) {
        ham()->addWrite8( configBankAddr( static_cast<uint8_t>( n ) ), config[ n ], false );
    }
    return Utils::hostStatus( ham()->execute() );
}

} // namespace Drivers
