#include "orvan/emulation/BmcProbe.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <fmt/core.h>

#include "orvan/base/Errors.h"

namespace orvan {

namespace {

/**
 * Get Channel Authentication Capabilities (IPMI 2.0, section 22.13) of the channel it comes in on,
 * for an administrator: RMCP header, session header without a session, and the message with its two
 * checksums.
 */
constexpr uint8_t question[] = { 0x06, 0x00, 0xFF, 0x07, 0x00, 0x00, 0x00, 0x00,
                                 0x00, 0x00, 0x00, 0x00, 0x00, 0x09, 0x20, 0x18,
                                 0xC8, 0x81, 0x00, 0x38, 0x0E, 0x04, 0x35 };

sockaddr_in loopback( uint16_t port ) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons( port );
    address.sin_addr.s_addr = htonl( INADDR_LOOPBACK );
    return address;
}

int openSocket( int type ) {
    const int fd = ::socket( AF_INET, type | SOCK_CLOEXEC, 0 );
    if ( fd < 0 ) {
        throw BadInput( fmt::format( "cannot open a socket: {}", std::strerror( errno ) ) );
    }
    return fd;
}

uint16_t freePort( int type ) {
    const int fd = openSocket( type );
    sockaddr_in address = loopback( 0 );
    socklen_t size = sizeof( address );
    const bool bound = ::bind( fd, reinterpret_cast<sockaddr *>( &address ), size ) == 0 &&
                       ::getsockname( fd, reinterpret_cast<sockaddr *>( &address ), &size ) == 0;
    ::close( fd );
    if ( !bound ) {
        throw BadInput( "there is no free port on the loopback" );
    }
    return ntohs( address.sin_port );
}

} // namespace

uint16_t freeUdpPort() {
    return freePort( SOCK_DGRAM );
}

uint16_t freeTcpPort() {
    return freePort( SOCK_STREAM );
}

BmcProbe::BmcProbe( uint16_t port ) : fd_( openSocket( SOCK_DGRAM | SOCK_NONBLOCK ) ) {
    const sockaddr_in address = loopback( port );
    // A failure shows when the probe asks: nothing answers.
    static_cast<void>(
        ::connect( fd_, reinterpret_cast<const sockaddr *>( &address ), sizeof( address ) ) );
}

BmcProbe::~BmcProbe() {
    ::close( fd_ );
}

void BmcProbe::ask() const {
    // Nobody may listen yet; the next try will tell.
    static_cast<void>( ::send( fd_, question, sizeof( question ), 0 ) );
}

bool BmcProbe::answered() const {
    uint8_t answer[ 64 ];
    return ::recv( fd_, answer, sizeof( answer ), 0 ) > 0;
}

} // namespace orvan
