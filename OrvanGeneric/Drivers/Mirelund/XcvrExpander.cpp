#include "OrvanGeneric/Drivers/Mirelund/XcvrExpander.h"

#include "OrvanGeneric/HostServices.h"

namespace Drivers {

namespace {

constexpr unsigned portsPerBank = 2;
constexpr unsigned nibbleBits = 4;

} // namespace

XcvrPort XcvrExpander::portOf( unsigned int id ) const {
    const unsigned index = id - 1;
    return { static_cast<uint8_t>( index ),
             static_cast<uint8_t>( index / portsPerBank % family_.banks ),
             static_cast<uint8_t>( index % portsPerBank * nibbleBits ) };
}

pl_status XcvrExpander::writeRegisterBit( uint8_t bank, uint8_t bit, bool value ) {
    pl_status status = expander_->writeBit( bank, bit, value );
    if ( status == PL_STATUS_OK ) {
        status = expander_->save();
    }
    if ( status != PL_STATUS_OK ) {
        TRACE( 0, family_.writeFailed, bank, bit & family_.tracedBits );
    }
    return status;
}

pl_status XcvrExpander::getRegisterBit( uint8_t bank, uint8_t bit, int *out ) {
    bool set = false;
    const pl_status status = expander_->readBit( bank, bit, &set );
    if ( status != PL_STATUS_OK ) {
        TRACE( 0, family_.readFailed, bank, bit & family_.tracedBits );
        return status;
    }
    *out = set ? 1 : 0;
    return PL_STATUS_OK;
}

pl_status XcvrExpander::activeLow( pl_status status, int *value ) {
    if ( status == PL_STATUS_OK ) {
        *value = *value ? 0 : 1;
    }
    return status;
}

} // namespace Drivers
