#include "OrvanGeneric/Drivers/SmbusProxyDriver.h"

#include <algorithm>
#include <cassert>
#include <string>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Ham/Ham.h"
#include "OrvanGeneric/HostServices.h"
#include "OrvanGeneric/Status.h"
#include "OrvanGeneric/Utils.h"

namespace Drivers {

namespace {

constexpr unsigned microsecondsPerMillisecond = 1000;

/** Bytes that the host's buffer for a block read holds (pl/smbus.h). */
constexpr size_t blockReadBufferSize = 255;

/** The pause that a description asks for in milliseconds; a product beyond 32 bits wraps around. */
int pauseOf( const DriverArgs &args, const char *name ) {
    const auto milliseconds = static_cast<unsigned>( intArg( args, name, 0 ) );
    return static_cast<int>( milliseconds * microsecondsPerMillisecond );
}

/** Pauses after an operation, also after a failed one. @return its status as the host knows it */
pl_status pauseAfter( int status, int microseconds ) {
    if ( microseconds ) {
        Utils::os.usleep( microseconds );
    }
    return Utils::hostStatus( status );
}

} // namespace

Component::HardwareDevice *SmbusProxyDriver::create( const DriverArgs &, Ham::Ham *ham ) {
    assert( ham );
    // A raw transfer is never repeated: the first attempt may have had its effect.
    ham->retryCountIs( 0 );
    return new SmbusProxyDriver();
}

Component::LogicalDevice::SmbusProxy *SmbusProxyDriver::newSmbusProxy( const DriverArgs &args ) {
    const int readDelay = pauseOf( args, "localReadDelayMs" );
    const int writeDelay = pauseOf( args, "localWriteDelayMs" );
    TRACE( 0, "setting read delay of %d useconds\n", readDelay );
    TRACE( 0, "setting write delay of %d useconds\n", writeDelay );
    return new SmbusProxy( this, readDelay, writeDelay );
}

pl_status SmbusProxyDriver::SmbusProxy::afterRead( int status ) {
    return pauseAfter( status, readDelay_ );
}

pl_status SmbusProxyDriver::SmbusProxy::afterWrite( int status ) {
    return pauseAfter( status, writeDelay_ );
}

pl_status SmbusProxyDriver::SmbusProxy::receiveByte( unsigned char *value ) {
    return afterRead( driver_->ham()->recvByte( value ) );
}

pl_status SmbusProxyDriver::SmbusProxy::sendByte( unsigned char value ) {
    return afterWrite( driver_->ham()->sendByte( value, false ) );
}

pl_status SmbusProxyDriver::SmbusProxy::readByte( unsigned char command, unsigned char *value ) {
    return afterRead( driver_->ham()->read8( command, value ) );
}

pl_status SmbusProxyDriver::SmbusProxy::writeByte( unsigned char command, unsigned char value ) {
    return afterWrite( driver_->ham()->write8( command, value, false ) );
}

pl_status SmbusProxyDriver::SmbusProxy::readWord( unsigned char command, unsigned short *value ) {
    return afterRead( driver_->ham()->read16( command, value ) );
}

pl_status SmbusProxyDriver::SmbusProxy::writeWord( unsigned char command, unsigned short value ) {
    return afterWrite( driver_->ham()->write16( command, value, false ) );
}

pl_status SmbusProxyDriver::SmbusProxy::blockRead( unsigned char command, unsigned char *data,
                                                   unsigned int *length ) {
    std::string block;
    int status = driver_->ham()->readBlock( command, &block );
    if ( status == PL_STATUS_OK && block.size() > blockReadBufferSize ) {
        status = PL_STATUS_TRANSPORT;
    }
    if ( status == PL_STATUS_OK ) {
        std::copy( block.begin(), block.end(), data );
        *length = block.size();
    }
    return afterRead( status );
}

pl_status SmbusProxyDriver::SmbusProxy::blockWrite( unsigned char command,
                                                    const unsigned char *data,
                                                    unsigned int length ) {
    return afterWrite( driver_->ham()->writeBlock( command, data, length, false ) );
}

pl_status SmbusProxyDriver::SmbusProxy::i2cBlockRead( unsigned char command, unsigned char *data,
                                                      unsigned int length ) {
    std::string block;
    const int status = driver_->ham()->read( command, length, &block, false );
    if ( status != PL_STATUS_OK || block.size() != length ) {
        return PL_STATUS_TRANSPORT;
    }
    std::copy( block.begin(), block.end(), data );
    return afterRead( status );
}

pl_status SmbusProxyDriver::SmbusProxy::i2cBlockWrite( unsigned char command,
                                                       const unsigned char *data,
                                                       unsigned int length ) {
    return afterWrite( driver_->ham()->write( command, data, length, false ) );
}

pl_status SmbusProxyDriver::SmbusProxy::processCall( unsigned char command, unsigned short value,
                                                     unsigned short *reply ) {
    return afterWrite( driver_->ham()->processCall( command, value, reply ) );
}

} // namespace Drivers
