#include "OrvanGeneric/Components/SmbusProxy.h"

#include <cstdio>

#include "OrvanGeneric/Components/AddDevice.h"
#include "OrvanGeneric/HostServices.h"
#include "OrvanGeneric/NotImplementedException.h"
#include "OrvanGeneric/TopologyVisitor.h"

namespace Component::LogicalDevice {

// What the host expects on 32-bit x86.
static_assert( sizeof( void * ) != 4 ||
               ( sizeof( pl_smbus ) == 12 && sizeof( pl_smbus_ops ) == 56 ) );

const pl_smbus_ops SmbusProxy::ops_ = {
    sizeof( pl_smbus_ops ), quickCommandCallback,    receiveByteCallback,  sendByteCallback,
    readByteCallback,       writeByteCallback,       readWordCallback,     writeWordCallback,
    blockReadCallback,      blockWriteCallback,      i2cBlockReadCallback, i2cBlockWriteCallback,
    processCallCallback,    blockProcessCallCallback };

pl_status SmbusProxy::quickCommand( int ) {
    throw NotImplementedException( "quickCommand" );
}

pl_status SmbusProxy::blockProcessCall( unsigned char, const unsigned char *, unsigned char,
                                        unsigned char *, unsigned char * ) {
    throw NotImplementedException( "blockProcessCall" );
}

pl_status SmbusProxy::quickCommandCallback( pl_smbus *smbus, int read ) {
    TRACE( 1, "quickCommandCallback" );
    return objectOf<SmbusProxy>( smbus )->quickCommand( read );
}

pl_status SmbusProxy::receiveByteCallback( pl_smbus *smbus, unsigned char *value ) {
    TRACE( 1, "receiveByteCallback" );
    return objectOf<SmbusProxy>( smbus )->receiveByte( value );
}

pl_status SmbusProxy::sendByteCallback( pl_smbus *smbus, unsigned char value ) {
    TRACE( 1, "sendByteCallback" );
    return objectOf<SmbusProxy>( smbus )->sendByte( value );
}

pl_status SmbusProxy::readByteCallback( pl_smbus *smbus, unsigned char command,
                                        unsigned char *value ) {
    TRACE( 1, "readByteCallback" );
    return objectOf<SmbusProxy>( smbus )->readByte( command, value );
}

pl_status SmbusProxy::writeByteCallback( pl_smbus *smbus, unsigned char command,
                                         unsigned char value ) {
    TRACE( 1, "writeByteCallback" );
    return objectOf<SmbusProxy>( smbus )->writeByte( command, value );
}

pl_status SmbusProxy::readWordCallback( pl_smbus *smbus, unsigned char command,
                                        unsigned short *value ) {
    TRACE( 1, "readWordCallback" );
    return objectOf<SmbusProxy>( smbus )->readWord( command, value );
}

pl_status SmbusProxy::writeWordCallback( pl_smbus *smbus, unsigned char command,
                                         unsigned short value ) {
    TRACE( 1, "writeWordCallback" );
    return objectOf<SmbusProxy>( smbus )->writeWord( command, value );
}

pl_status SmbusProxy::blockReadCallback( pl_smbus *smbus, unsigned char command,
                                         unsigned char *data, unsigned int *length ) {
    TRACE( 1, "blockReadCallback" );
    return objectOf<SmbusProxy>( smbus )->blockRead( command, data, length );
}

pl_status SmbusProxy::blockWriteCallback( pl_smbus *smbus, unsigned char command,
                                          const unsigned char *data, unsigned int length ) {
    TRACE( 1, "blockWriteCallback" );
    return objectOf<SmbusProxy>( smbus )->blockWrite( command, data, length );
}

pl_status SmbusProxy::i2cBlockReadCallback( pl_smbus *smbus, unsigned char command,
                                            unsigned char *data, unsigned int length ) {
    TRACE( 1, "i2cBlockReadCallback" );
    return objectOf<SmbusProxy>( smbus )->i2cBlockRead( command, data, length );
}

pl_status SmbusProxy::i2cBlockWriteCallback( pl_smbus *smbus, unsigned char command,
                                             const unsigned char *data, unsigned int length ) {
    TRACE( 1, "i2cBlockWriteCallback" );
    return objectOf<SmbusProxy>( smbus )->i2cBlockWrite( command, data, length );
}

pl_status SmbusProxy::processCallCallback( pl_smbus *smbus, unsigned char command,
                                           unsigned short value, unsigned short *reply ) {
    TRACE( 1, "processCallCallback" );
    return objectOf<SmbusProxy>( smbus )->processCall( command, value, reply );
}

pl_status SmbusProxy::blockProcessCallCallback( pl_smbus *smbus, unsigned char command,
                                                const unsigned char *data, unsigned char length,
                                                unsigned char *reply, unsigned char *replyLength ) {
    TRACE( 1, "blockProcessCallCallback" );
    return objectOf<SmbusProxy>( smbus )->blockProcessCall( command, data, length, reply,
                                                            replyLength );
}

} // namespace Component::LogicalDevice

namespace {

/**
 * Gives the arguments of the topology's device that is labelled "<label><0xaddress>", and makes it a
 * raw endpoint.
 * @return false, after a trace, when there is no such device with arguments
 */
bool findByLabel( const std::string &label, unsigned char address, Drivers::DriverArgs &args ) {
    char suffix[ sizeof( "<0xff>" ) ];
    std::snprintf( suffix, sizeof( suffix ), "<0x%02x>", address );
    const Topology::Device *device = Topology::getDeviceByLabel( ( label + suffix ).c_str() );
    if ( !device || !device->args ) {
        TRACE( 0, "smbus_add failed: device does not exist in topology" );
        return false;
    }
    // The topology keeps this name: whatever the device was, from now on it is a raw endpoint.
    device->args->driver = "SmbusProxyDriver";
    args = *device->args;
    return true;
}

} // namespace

extern "C" pl_smbus *pl_smbus_add( const char *device, unsigned char address ) {
    using namespace Component;
    TRACE( 7, "pl_smbus_add( '%s', %u )", device, address );
    if ( Topology::isDeviceObject( device ) ) {
        return recordOf( addDevice( device, "newSmbusProxy", &DeviceBase::newSmbusProxy ) );
    }
    DriverArgs args;
    if ( !findByLabel( device, address, args ) ) {
        return nullptr;
    }
    DeviceBase *driver = orTrace( HardwareDevice::create( args, nullptr ), "DeviceBase::create" );
    return driver ? recordOf( orTrace( driver->newSmbusProxy( args ), "newSmbusProxy" ) ) : nullptr;
}
