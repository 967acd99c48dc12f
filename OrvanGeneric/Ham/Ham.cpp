#include "OrvanGeneric/Ham/Ham.h"

#include <cassert>

#include "OrvanGeneric/Drivers/Drivers.h"
#include "OrvanGeneric/Ham/Hams.h"
#include "OrvanGeneric/Ham/OrvanSmbusHam.h"
#include "OrvanGeneric/Ham/SearchVisitor.h"
#include "OrvanGeneric/Ham/SimHam.h"
#include "OrvanGeneric/HostServices.h"
#include "OrvanGeneric/NotImplementedException.h"

namespace Ham {

std::map<std::string, HamFactory> hams = {
    { "OrvanSmbus", OrvanSmbusHam::create },
    { "SimHam", SimHam::create },
};

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

Ham *Ham::create( const std::string &name, const Topology::Topology &topology,
                  const Drivers::DriverArgs &args ) {
    TRACE( 3, "looking up for %s in %p with %p", name.c_str(),
           static_cast<const void *>( &topology ), static_cast<const void *>( &args ) );
    const auto it = hams.find( name );
    if ( it == hams.end() ) {
        TRACE( 0, "Couldn't find HAM %s", name.c_str() );
        return nullptr;
    }
    TRACE( 3, "calling %s factory function", name.c_str() );
    Ham *ham = it->second( topology, args );
    if ( !ham ) {
        TRACE( 0, "Factory function returned, couldn't create HAM %s", name.c_str() );
        return nullptr;
    }
    TRACE( 3, "ham initialisation" );
    ham->init();
    return ham;
}

Ham *createHam( const Drivers::DriverArgs &args ) {
    const Topology::Topology *topology = Topology::_topology;
    assert( topology );
    TRACE( 0, "looking for component %u of device %u in topology", args.uid, args.did );
    SearchVisitor search( args.uid, args.did );
    topology->accept( &search );
    if ( !search.found ) {
        TRACE( 0, "could not find component uid %d in topology", static_cast<int>( args.uid ) );
        return nullptr;
    }
    const std::string name = Utils::inSimulation() ? "SimHam" : search.hamName;
    TRACE( 0, "creating %s HAM using topology information", name.c_str() );
    Ham *ham = Ham::create( name, *topology, args );
    if ( !ham ) {
        TRACE( 0, "failed to create HAM" );
    }
    return ham;
}

} // namespace Ham
