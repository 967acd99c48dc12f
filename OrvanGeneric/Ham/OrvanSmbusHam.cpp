#include "OrvanGeneric/Ham/OrvanSmbusHam.h"

#include <PLSocket.h>
#include <cassert>
#include <cerrno>
#include <cstring>

#include <pl/types.h>

#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/Components/Mux.h"
#include "OrvanGeneric/HostServices.h"
#include "OrvanGeneric/Orvan.h"

namespace Ham {

namespace {

constexpr uint8_t addressMask = 0x7F;

/** Copies into the string that the entry keeps between batches; set_data would make another one. */
void setData( Smbus::Request *entry, const void *data, size_t size ) {
    entry->mutable_data()->assign( static_cast<const char *>( data ), size );
}

} // namespace

OrvanSmbusHam *OrvanSmbusHam::createFromAddress( const Topology::HamAddress &address,
                                                 const PCIAddress &pci ) {
    auto *ham = new OrvanSmbusHam( address );
    if ( pci ) {
        ham->masterType = Smbus::SCD;
        ham->pci = *pci;
    } else {
        assert( address.accelerator == 0 );
        ham->masterType = Smbus::I2C;
    }
    return ham;
}

uint8_t OrvanSmbusHam::muxAddress( const Component::LogicalDevice::Mux *mux ) const {
    auto *ham = dynamic_cast<OrvanSmbusHam *>( mux->device()->ham() );
    assert( ham && "a mux on an SMBus path is reached by SMBus itself" );
    return ham->getAddress();
}

void OrvanSmbusHam::init() {
    prepareRequestCount = 0;
    request.Clear();
    response.Clear();
    const uint8_t device = getAddress();
    for ( auto *mux : muxes ) {
        setAddress( muxAddress( mux ) );
        prepareRequestCount += mux->selectRequest( this );
    }
    setAddress( device );
}

void OrvanSmbusHam::prepare() {
    // RemoveLast keeps the removed entries allocated for the next batch, DeleteSubrange would not.
    while ( request.requests_size() > prepareRequestCount ) {
        request.mutable_requests()->RemoveLast();
    }
    response.Clear();
    nextResponseId = -1;
}

int OrvanSmbusHam::execute() {
    if ( !muxes.empty() ) {
        const uint8_t device = getAddress();
        for ( auto mux = muxes.rbegin(); mux != muxes.rend(); ++mux ) {
            setAddress( muxAddress( *mux ) );
            ( *mux )->resetRequest( this );
        }
        setAddress( device );
    }
    TRACE( 4, "executing OrvanSmbusHam request" );
    if ( retrySet ) {
        request.set_retrycount( retryCount );
    }
    if ( _plSock->sendRequestWait( &request, &reply ) < 0 ) {
        TRACE( 3, "%s: error. %d, %s", "execute", errno, strerror( errno ) );
        return PL_STATUS_TRANSPORT;
    }
    response.Swap( &reply );
    if ( response.failed() ) {
        TRACE( 3, "%s: failure in response %s", "execute",
               response.has_reason() ? response.reason().c_str() : "unknown reason" );
        return PL_STATUS_FAILED;
    }
    if ( response.responses_size() != request.requests_size() ) {
        TRACE( 3, "%s: invalid number of response entries; expected %d, got %d", "execute",
               request.requests_size(), response.responses_size() );
        return PL_STATUS_FAILED;
    }
    return PL_STATUS_OK;
}

Smbus::Request *OrvanSmbusHam::requestInit( unsigned reg, int type, unsigned len, bool pec,
                                            bool flag ) {
    address.reg = reg;
    address.flag = flag;
    Smbus::Request *entry = request.add_requests();
    entry->set_type( static_cast<Smbus::RequestType>( type ) );
    entry->set_length( len );
    entry->set_address( address.packed() );
    entry->set_pciaddress( pci );
    entry->set_mastertype( masterType );
    entry->set_pec( pec );
    ++nextResponseId;
    return entry;
}

ResponseId OrvanSmbusHam::addRecvByte() {
    requestInit( 0, Smbus::READ, 0, false, false );
    return nextResponseId;
}

ResponseId OrvanSmbusHam::addRead8( unsigned reg ) {
    requestInit( reg, Smbus::READ, sizeof( uint8_t ), false, false );
    return nextResponseId;
}

ResponseId OrvanSmbusHam::addRead16( unsigned reg ) {
    requestInit( reg, Smbus::READ, sizeof( uint16_t ), false, false );
    return nextResponseId;
}

ResponseId OrvanSmbusHam::addRead( unsigned reg, unsigned len, bool flag ) {
    requestInit( reg, Smbus::READ, len, false, flag );
    return nextResponseId;
}

ResponseId OrvanSmbusHam::addReadBlock( unsigned reg ) {
    requestInit( reg, Smbus::BLOCK_READ, 0, false, false );
    return nextResponseId;
}

void OrvanSmbusHam::addSendByte( uint8_t value, bool pec ) {
    requestInit( value, Smbus::WRITE, 0, pec, false );
}

void OrvanSmbusHam::addWrite8( unsigned reg, uint8_t value, bool pec ) {
    addWrite( reg, &value, sizeof( value ), pec );
}

void OrvanSmbusHam::addWrite16( unsigned reg, uint16_t value, bool pec ) {
    const uint8_t bytes[] = { static_cast<uint8_t>( value ), static_cast<uint8_t>( value >> 8 ) };
    addWrite( reg, bytes, sizeof( bytes ), pec );
}

void OrvanSmbusHam::addWrite( unsigned reg, const void *data, unsigned len, bool pec ) {
    setData( requestInit( reg, Smbus::WRITE, len, pec, false ), data, len );
}

void OrvanSmbusHam::addWriteBlock( unsigned reg, const void *data, unsigned len, bool pec ) {
    setData( requestInit( reg, Smbus::BLOCK_WRITE, len, pec, false ), data, len );
}

ResponseId OrvanSmbusHam::addProcessCall( unsigned reg, uint16_t value ) {
    const uint8_t bytes[] = { static_cast<uint8_t>( value ), static_cast<uint8_t>( value >> 8 ) };
    setData( requestInit( reg, Smbus::PROCESS_CALL, sizeof( bytes ), false, false ), bytes,
             sizeof( bytes ) );
    return nextResponseId;
}

const std::string &OrvanSmbusHam::responseData( ResponseId id ) const {
    assert( id != INVALID_RESPONSE_ID );
    const auto index = static_cast<uint64_t>( prepareRequestCount ) + id;
    assert( index < static_cast<uint64_t>( response.responses_size() ) );
    return response.responses( static_cast<int>( index ) ).data();
}

uint8_t OrvanSmbusHam::get8( ResponseId id ) {
    const std::string &data = responseData( id );
    assert( data.size() == 1 );
    return static_cast<uint8_t>( data[ 0 ] );
}

uint16_t OrvanSmbusHam::get16( ResponseId id ) {
    const std::string &data = responseData( id );
    assert( data.size() == 2 );
    return static_cast<uint16_t>( static_cast<uint8_t>( data[ 0 ] ) |
                                  static_cast<uint8_t>( data[ 1 ] ) << 8 );
}

std::string OrvanSmbusHam::getBlock( ResponseId id, unsigned ) {
    return responseData( id );
}

void OrvanSmbusHam::setAddress( uint8_t deviceAddress ) {
    address.address = deviceAddress & addressMask;
}
uint8_t OrvanSmbusHam::getAddress() {
    return address.address;
}
void OrvanSmbusHam::setBus( uint8_t bus ) {
    address.bus = bus & addressMask;
}
uint8_t OrvanSmbusHam::getBus() {
    return address.bus;
}

} // namespace Ham
