#include "tests/support/ScriptedHam.h"

#include <cstdio>
#include <stdexcept>

namespace {

std::string hex( unsigned value, int digits = 2 ) {
    char text[ 16 ];
    std::snprintf( text, sizeof( text ), "0x%0*x", digits, value );
    return text;
}

std::string dump( const void *data, unsigned len ) {
    std::string text;
    char digits[ 4 ];
    for ( unsigned i = 0; i < len; ++i ) {
        std::snprintf( digits, sizeof( digits ), "%02x",
                       static_cast<const unsigned char *>( data )[ i ] );
        text += digits;
    }
    return text;
}

const char *marks( bool pec ) {
    return pec ? " pec" : "";
}

} // namespace

std::vector<std::string> ScriptedHam::takeLog() {
    std::vector<std::string> taken;
    taken.swap( log );
    return taken;
}

void ScriptedHam::prepare() {
    log.push_back( "prepare" );
    batch_.clear();
}

int ScriptedHam::execute() {
    log.push_back( "execute" );
    if ( !statuses.empty() ) {
        const int status = statuses.front();
        statuses.pop_front();
        if ( status ) {
            return status;
        }
    }
    for ( const Operation &operation : batch_ ) {
        if ( operation.kind == Operation::Write8 ) {
            bytes[ operation.reg ] = static_cast<uint8_t>( operation.value );
        }
        if ( operation.kind == Operation::Write16 ) {
            words[ operation.reg ] = static_cast<uint16_t>( operation.value );
        }
    }
    return 0;
}

::Ham::ResponseId ScriptedHam::add( Operation operation, const std::string &text ) {
    log.push_back( text );
    batch_.push_back( operation );
    return static_cast<::Ham::ResponseId>( batch_.size() - 1 );
}

::Ham::ResponseId ScriptedHam::addRecvByte() {
    return add( { Operation::Receive, 0, 0 }, "recvByte" );
}
::Ham::ResponseId ScriptedHam::addRead8( unsigned reg ) {
    return add( { Operation::Register, reg, 0 }, "read8 " + hex( reg ) );
}
::Ham::ResponseId ScriptedHam::addRead16( unsigned reg ) {
    return add( { Operation::Register, reg, 0 }, "read16 " + hex( reg ) );
}
::Ham::ResponseId ScriptedHam::addRead( unsigned reg, unsigned len, bool flag ) {
    return add( { Operation::Register, reg, 0 },
                "read " + hex( reg ) + " " + std::to_string( len ) + ( flag ? " flag" : "" ) );
}
::Ham::ResponseId ScriptedHam::addReadBlock( unsigned reg ) {
    return add( { Operation::Register, reg, 0 }, "readBlock " + hex( reg ) );
}
void ScriptedHam::addSendByte( uint8_t value, bool pec ) {
    add( { Operation::Register, value, 0 }, "sendByte " + hex( value ) + marks( pec ) );
}
void ScriptedHam::addWrite8( unsigned reg, uint8_t value, bool pec ) {
    add( { Operation::Write8, reg, value },
         "write8 " + hex( reg ) + " " + hex( value ) + marks( pec ) );
}
void ScriptedHam::addWrite16( unsigned reg, uint16_t value, bool pec ) {
    add( { Operation::Write16, reg, value },
         "write16 " + hex( reg ) + " " + hex( value, 4 ) + marks( pec ) );
}
void ScriptedHam::addWrite( unsigned reg, const void *data, unsigned len, bool pec ) {
    add( { Operation::Register, reg, 0 },
         "write " + hex( reg ) + " " + dump( data, len ) + marks( pec ) );
}
void ScriptedHam::addWriteBlock( unsigned reg, const void *data, unsigned len, bool pec ) {
    add( { Operation::Register, reg, 0 },
         "writeBlock " + hex( reg ) + " " + dump( data, len ) + marks( pec ) );
}
::Ham::ResponseId ScriptedHam::addProcessCall( unsigned reg, uint16_t value ) {
    return add( { Operation::Register, reg, 0 },
                "processCall " + hex( reg ) + " " + hex( value, 4 ) );
}

const ScriptedHam::Operation &ScriptedHam::operation( ::Ham::ResponseId id ) const {
    if ( id >= batch_.size() ) {
        throw std::out_of_range( "no operation of this id in the batch" );
    }
    return batch_[ id ];
}

uint8_t ScriptedHam::get8( ::Ham::ResponseId id ) {
    const Operation &asked = operation( id );
    return asked.kind == Operation::Receive ? receivedByte : bytes[ asked.reg ];
}
uint16_t ScriptedHam::get16( ::Ham::ResponseId id ) {
    return words[ operation( id ).reg ];
}
std::string ScriptedHam::getBlock( ::Ham::ResponseId id, unsigned ) {
    return blocks[ operation( id ).reg ];
}
