#include "tests/model/HamModel.h"

#include <cstring>

namespace model {

namespace {

enum { Read = 0, Write = 1 };

std::string lowByteFirst( uint16_t value ) {
    return { static_cast<char>( value & 0xFF ), static_cast<char>( value >> 8 ) };
}

} // namespace

uint32_t HamModel::add( uint32_t word, int type, uint32_t reg, uint32_t length, bool pec,
                        const std::optional<std::string> &data ) {
    const uint64_t address = static_cast<uint64_t>( word ) << 32 | reg;
    batch_.requests.push_back( { type, length, address, path_.pci, path_.master, pec, data } );
    return static_cast<uint32_t>( batch_.requests.size() ) - head() - 1;
}

void HamModel::addToMux( const Path::Mux &mux, uint8_t value ) {
    constexpr uint32_t deviceAddress = 0x7F;
    add( ( path_.word & ~deviceAddress ) | mux.address, Write, value, 0, false, {} );
}

void HamModel::prepare() {
    batch_.requests.clear();
    answers_.clear();
    for ( const Path::Mux &mux : path_.muxes ) {
        addToMux( mux, mux.select );
    }
}

uint32_t HamModel::addRead( uint32_t reg, uint32_t length ) {
    return add( path_.word, Read, reg, length, false, {} );
}

void HamModel::addSendByte( uint8_t value, bool pec ) {
    add( path_.word, Write, value, 0, pec, {} );
}

void HamModel::addWrite8( uint32_t reg, uint8_t value, bool pec ) {
    add( path_.word, Write, reg, 1, pec, std::string( 1, static_cast<char>( value ) ) );
}

void HamModel::addWrite16( uint32_t reg, uint16_t value, bool pec ) {
    add( path_.word, Write, reg, 2, pec, lowByteFirst( value ) );
}

int HamModel::execute() {
    for ( auto mux = path_.muxes.rbegin(); mux != path_.muxes.rend(); ++mux ) {
        addToMux( *mux, 0 );
    }
    world_->trace( 4, "executing OrvanSmbusHam request" );
    const Reply reply = world_->service.carry( batch_ );
    if ( reply.error ) {
        world_->trace( 3, "execute: error. %d, %s", reply.error, std::strerror( reply.error ) );
        return 4;
    }
    if ( reply.failed ) {
        world_->trace( 3, "execute: failure in response %s",
                       reply.reason ? reply.reason->c_str() : "unknown reason" );
        return 6;
    }
    if ( reply.data.size() != batch_.requests.size() ) {
        world_->trace( 3, "execute: invalid number of response entries; expected %zu, got %zu",
                       batch_.requests.size(), reply.data.size() );
        return 6;
    }
    answers_ = reply.data;
    return 0;
}

uint8_t HamModel::get8( uint32_t id ) const {
    const std::string &data = getBlock( id );
    if ( data.size() != 1 ) {
        throw WouldAbort{ "data.size() == 1" };
    }
    return static_cast<uint8_t>( data[ 0 ] );
}

uint16_t HamModel::get16( uint32_t id ) const {
    const std::string &data = getBlock( id );
    if ( data.size() != 2 ) {
        throw WouldAbort{ "data.size() == 2" };
    }
    return static_cast<uint16_t>( static_cast<uint8_t>( data[ 0 ] ) |
                                  static_cast<uint8_t>( data[ 1 ] ) << 8 );
}

int HamModel::read8( uint32_t reg, uint8_t *value ) {
    prepare();
    const uint32_t id = addRead8( reg );
    const int status = execute();
    if ( status == 0 ) {
        *value = get8( id );
    }
    return status;
}

int HamModel::read16( uint32_t reg, uint16_t *value ) {
    prepare();
    const uint32_t id = addRead16( reg );
    const int status = execute();
    if ( status == 0 ) {
        *value = get16( id );
    }
    return status;
}

int HamModel::read( uint32_t reg, uint32_t length, std::string *value ) {
    prepare();
    const uint32_t id = addRead( reg, length );
    const int status = execute();
    if ( status == 0 ) {
        *value = getBlock( id );
    }
    return status;
}

int HamModel::write8( uint32_t reg, uint8_t value, bool pec ) {
    prepare();
    addWrite8( reg, value, pec );
    return execute();
}

int HamModel::write16( uint32_t reg, uint16_t value, bool pec ) {
    prepare();
    addWrite16( reg, value, pec );
    return execute();
}

} // namespace model
