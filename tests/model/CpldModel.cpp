#include "tests/model/CpldModel.h"

namespace model {

namespace {

uint16_t swapped( int word ) {
    return static_cast<uint16_t>( ( word >> 8 & 0xFF ) | ( word & 0xFF ) << 8 );
}

} // namespace

CpldModel::Port CpldModel::sfp( int number ) {
    const int i = number - 1;
    return { i, static_cast<uint8_t>( i % 16 / 4 + 1 ), ( 3 - i % 4 ) * 4 };
}

CpldModel::Port CpldModel::qsfp( int number ) {
    const int i = number > 16 ? number - 17 : number - 1;
    return { i, static_cast<uint8_t>( i / 4 + 1 ), ( 3 - i % 4 ) * 4 };
}

void CpldModel::create() {
    world_->trace( 5, "Creating %s device", name_.c_str() );
    poll.construct();
}

int CpldModel::init() {
    world_->trace( 5, "%s init function", name_.c_str() );
    for ( uint8_t reg = 4; reg >= 1; --reg ) {
        polled_.insert( polled_.begin(), reg );
    }
    world_->trace( 0, "MireXcvrCPLD::init()" );
    const bool isRefreshed = refresh();
    if ( poll.isStarted() ) {
        return isRefreshed;
    }
    poll.start();
    return 0;
}

bool CpldModel::refresh() {
    ham_.prepare();
    std::vector<uint32_t> ids;
    for ( const uint8_t reg : polled_ ) {
        ids.push_back( ham_.addRead16( reg ) );
    }
    if ( ham_.execute() ) {
        world_->trace( 0, "Failed to poll information for MireXcvrCPLD" );
        return false;
    }
    for ( size_t n = 0; n < polled_.size(); ++n ) {
        cache_[ polled_[ n ] ] = swapped( ham_.get16( ids[ n ] ) );
    }
    world_->trace( 6, "Register cache updated for MireXcvrCPLD" );
    return true;
}

int CpldModel::get( const char *operation, const Port &port, Line line, int *value ) {
    world_->trace( 5, "%s(): id=%d", operation, port.id );
    const int level = cache_[ port.reg ] >> ( port.bit + line.offset ) & 1;
    *value = line.isActiveLow ? !level : level;
    return 0;
}

int CpldModel::set( const char *operation, const Port &port, Line line, int value ) {
    world_->trace( 5, "%s(): id=%d", operation, port.id );
    const bool level = line.isActiveLow ? !value : value != 0;
    const int mask = 1 << ( port.bit + line.offset );
    const int before = cache_[ port.reg ];
    const int after = level ? before | mask : before & ~mask;
    const int status = ham_.write16( port.reg, swapped( after ), false );
    if ( status == 0 ) {
        cache_[ port.reg ] = static_cast<uint16_t>( after );
    }
    return status;
}

int CpldModel::nothing( const char *operation, const Port &port ) {
    world_->trace( 5, "%s(): id=%d", operation, port.id );
    return 0;
}

} // namespace model
