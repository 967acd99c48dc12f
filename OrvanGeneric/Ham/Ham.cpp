#include "OrvanGeneric/Ham/Ham.h"

#include <cassert>

#include "OrvanGeneric/HostServices.h"
#include "OrvanGeneric/NotImplementedException.h"
#include "OrvanGeneric/Topology.h"

namespace Ham {

using Component::NotImplementedException;

ResponseId Ham::addRecvByte() {
    throw NotImplementedException( "addRecvByte" );
}
ResponseId Ham::addRead8( unsigned ) {
    throw NotImplementedException( "addRead8" );
}
ResponseId Ham::addRead16( unsigned ) {
    throw NotImplementedException( "addRead16" );
}
ResponseId Ham::addRead32( unsigned ) {
    throw NotImplementedException( "addRead32" );
}
ResponseId Ham::addRead( unsigned, unsigned, bool ) {
    throw NotImplementedException( "addRead" );
}
ResponseId Ham::addReadBlock( unsigned ) {
    throw NotImplementedException( "addReadBlock" );
}
void Ham::addSendByte( uint8_t, bool ) {
    throw NotImplementedException( "addSendByte" );
}
void Ham::addWrite8( unsigned, uint8_t, bool ) {
    throw NotImplementedException( "addWrite8" );
}
void Ham::addWrite16( unsigned, uint16_t, bool ) {
    throw NotImplementedException( "addWrite16" );
}
void Ham::addWrite32( unsigned, uint32_t, bool ) {
    throw NotImplementedException( "addWrite32" );
}
void Ham::addWrite( unsigned, const void *, unsigned, bool ) {
    throw NotImplementedException( "addWrite" );
}
void Ham::addWriteBlock( unsigned, const void *, unsigned, bool ) {
    throw NotImplementedException( "addWriteBlock" );
}
ResponseId Ham::addProcessCall( unsigned, uint16_t ) {
    throw NotImplementedException( "addProcessCall" );
}
uint8_t Ham::get8( ResponseId ) {
    throw NotImplementedException( "get8" );
}
uint16_t Ham::get16( ResponseId ) {
    throw NotImplementedException( "get16" );
}
uint32_t Ham::get32( ResponseId ) {
    throw NotImplementedException( "get32" );
}
std::string Ham::getBlock( ResponseId, unsigned ) {
    throw NotImplementedException( "getBlock" );
}

void Ham::setExpected( const Utils::ExpectedValues * ) {
    TRACE( 0, "virtual Ham::setExpected() invoked!!!" );
}

void Ham::setDriverName( const std::string &, const std::string & ) {
    TRACE( 0, "virtual Ham::setDriverName() invoked!!!" );
}

int Ham::recvByte( uint8_t *out ) {
    prepare();
    const ResponseId id = addRecvByte();
    const int status = execute();
    if ( status == 0 ) {
        *out = get8( id );
    }
    return status;
}

int Ham::read8( unsigned reg, uint8_t *out ) {
    prepare();
    const ResponseId id = addRead8( reg );
    const int status = execute();
    if ( status == 0 ) {
        *out = get8( id );
    }
    return status;
}

int Ham::read16( unsigned reg, uint16_t *out ) {
    prepare();
    const ResponseId id = addRead16( reg );
    const int status = execute();
    if ( status == 0 ) {
        *out = get16( id );
    }
    return status;
}

int Ham::read32( unsigned reg, uint32_t *out ) {
    prepare();
    const ResponseId id = addRead32( reg );
    const int status = execute();
    if ( status == 0 ) {
        *out = get32( id );
    }
    return status;
}

int Ham::sendByte( uint8_t value, bool pec ) {
    prepare();
    addSendByte( value, pec );
    return execute();
}

int Ham::write8( unsigned reg, uint8_t value, bool pec ) {
    prepare();
    addWrite8( reg, value, pec );
    return execute();
}

int Ham::write16( unsigned reg, uint16_t value, bool pec ) {
    prepare();
    addWrite16( reg, value, pec );
    return execute();
}

int Ham::write32( unsigned reg, uint32_t value, bool pec ) {
    prepare();
    addWrite32( reg, value, pec );
    return execute();
}

int Ham::write( unsigned reg, const void *data, unsigned len, bool pec ) {
    prepare();
    addWrite( reg, data, len, pec );
    return execute();
}

int Ham::writeBlock( unsigned reg, const void *data, unsigned len, bool pec ) {
    prepare();
    addWriteBlock( reg, data, len, pec );
    return execute();
}

int Ham::processCall( unsigned reg, uint16_t value, uint16_t *out ) {
    prepare();
    const ResponseId id = addProcessCall( reg, value );
    const int status = execute();
    if ( status == 0 ) {
        *out = get16( id );
    }
    return status;
}

int Ham::read( unsigned reg, unsigned len, std::string *out, bool flag ) {
    prepare();
    const ResponseId id = addRead( reg, len, flag );
    const int status = execute();
    if ( status == 0 ) {
        getBlock( id, len ).swap( *out );
    }
    return status;
}

int Ham::readBlock( unsigned reg, std::string *out ) {
    prepare();
    const ResponseId id = addReadBlock( reg );
    const int status = execute();
    if ( status == 0 ) {
        getBlock( id, 0 ).swap( *out );
    }
    return status;
}

void Ham::retryCountIs( unsigned n ) {
    retryCount = n;
    retrySet = true;
}

Ham *createHam( const Drivers::DriverArgs &args ) {
    const Topology::Topology *topology = Topology::_topology;
    assert( topology );
    return createHam( *topology, args );
}

} // namespace Ham
