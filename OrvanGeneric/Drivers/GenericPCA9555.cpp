#include "OrvanGeneric/Drivers/GenericPCA9555.h"

#include <algorithm>
#include <cassert>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Drivers/Pca9555Registers.h"
#include "OrvanGeneric/HostServices.h"

namespace Drivers {

using namespace Pca9555;

namespace {

constexpr int defaultCacheTimeout = 2;

} // namespace

Component::HardwareDevice *GenericPCA9555::create( const DriverArgs &args, Ham::Ham * ) {
    uint8_t config[ banks ];
    config[ 0 ] = static_cast<uint8_t>( requiredIntArg( args, "bank-io-0" ) );
    config[ 1 ] = static_cast<uint8_t>( requiredIntArg( args, "bank-io-1" ) );
    const auto cacheTimeout =
        static_cast<uint8_t>( intArg( args, "cacheTimeout", defaultCacheTimeout ) );
    const auto inputBankBase = static_cast<uint8_t>( intArg( args, "inputBankBase", inputPort0 ) );
    const auto outputBankBase =
        static_cast<uint8_t>( intArg( args, "outputBankBase", outputPort0 ) );
    const auto configBankBase =
        static_cast<uint8_t>( intArg( args, "configBankBase", configuration0 ) );
    TRACE( 0, "Creating ambiguous PCA9555 Device: cacheTimeout %ds", cacheTimeout );
    return new GenericPCA9555( config, banks, cacheTimeout, inputBankBase, outputBankBase,
                               configBankBase );
}

GenericPCA9555::GenericPCA9555( const uint8_t *config, uint8_t numBanks, uint8_t cacheTimeout,
                                uint8_t inputBankBase, uint8_t outputBankBase,
                                uint8_t configBankBase )
    : GPIOExpander( numBanks, cacheTimeout, inputBankBase, outputBankBase, configBankBase ),
      config{} {
    assert( numBanks <= sizeof( this->config ) / sizeof( this->config[ 0 ] ) );
    std::copy_n( config, numBanks, this->config );
}

int GenericPCA9555::init() {
    writeConfig( config );
    const pl_status status = save();
    if ( status != PL_STATUS_OK ) {
        TRACE( 0, "Error: failed to write PCA9555 pin configuration" );
    }
    return status;
}

Component::LogicalDevice::Gpio *GenericPCA9555::newGpio( const DriverArgs &args ) {
    return new ExpGpio( args, this );
}

GenericPCA9555::ExpGpio::ExpGpio( const DriverArgs &args, GenericPCA9555 *expander )
    : expander_( expander ), bank( requiredIntArg( args, "bank" ) ),
      bit( requiredIntArg( args, "bit" ) ) {}

pl_status GenericPCA9555::ExpGpio::bitSet() {
    expander_->writeBit( static_cast<uint8_t>( bank ), static_cast<uint8_t>( bit ), true );
    const pl_status status = expander_->save();
    if ( status != PL_STATUS_OK ) {
        TRACE( 0, "GenericPCA9555 bitSet() failed!" );
    }
    return status;
}

pl_status GenericPCA9555::ExpGpio::bitClear() {
    expander_->writeBit( static_cast<uint8_t>( bank ), static_cast<uint8_t>( bit ), false );
    const pl_status status = expander_->save();
    if ( status != PL_STATUS_OK ) {
        TRACE( 0, "GenericPCA9555 bitClear() failed!" );
    }
    return status;
}

pl_status GenericPCA9555::ExpGpio::bitRead( unsigned int *value ) {
    bool set = false;
    const pl_status status =
        expander_->readBit( static_cast<uint8_t>( bank ), static_cast<uint8_t>( bit ), &set );
    *value = set ? 1 : 0;
    if ( status != PL_STATUS_OK ) {
        TRACE( 0, "GenericPCA9555 bitRead() failed!" );
    }
    return status;
}

} // namespace Drivers
