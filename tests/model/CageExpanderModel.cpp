#include "tests/model/CageExpanderModel.h"

namespace model {

CageExpanderModel::Port CageExpanderModel::port( int number ) const {
    const int i = number - 1;
    return { i, static_cast<uint8_t>( i / 2 % kind_->banks ),
             static_cast<uint8_t>( 4 * ( i % 2 ) ) };
}

int CageExpanderModel::init() {
    const int status = chip_.writeConfig( config_ );
    if ( kind_->banks == 4 ) {
        if ( status ) {
            world_->trace( 0, "Error: failed to write PCA9698 pin configuration" );
        }
        return status;
    }
    // The PCA9555 looks only at what save() brings, and nothing is pending.
    return chip_.save();
}

int CageExpanderModel::failed( const char *what, const Port &port, int offset, int status ) {
    world_->trace( 0, "%s %s failed on Bank %d Bit %d!", kind_->name, what, port.bank,
                   kind_->tracesBaseBit ? port.bit : port.bit + offset );
    return status;
}

int CageExpanderModel::get( const char *operation, const Port &port, int offset, bool isActiveLow,
                            int *value ) {
    world_->trace( 5, "%s(): id=%d", operation, port.id );
    bool level = false;
    const int status =
        chip_.readBit( port.bank, static_cast<uint8_t>( port.bit + offset ), &level );
    if ( status ) {
        return failed( "bitRead()", port, offset, status );
    }
    *value = isActiveLow ? !level : level;
    return 0;
}

int CageExpanderModel::set( const char *operation, const Port &port, int offset, bool isActiveLow,
                            int value ) {
    world_->trace( 5, "%s(): id=%d", operation, port.id );
    const bool level = isActiveLow ? !value : value != 0;
    int status = chip_.writeBit( port.bank, static_cast<uint8_t>( port.bit + offset ), level );
    if ( status == 0 ) {
        status = chip_.save();
    }
    return status ? failed( "bitset()", port, offset, status ) : 0;
}

int CageExpanderModel::nothing( const char *operation, const Port &port ) {
    world_->trace( 5, "%s(): id=%d", operation, port.id );
    return 0;
}

} // namespace model
