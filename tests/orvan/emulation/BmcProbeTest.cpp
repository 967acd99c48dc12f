#include "orvan/emulation/BmcProbe.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>

namespace {

using orvan::BmcProbe;
using testing::ElementsAre;

constexpr int generousMs = 30000;

sockaddr_in loopback( uint16_t port ) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons( port );
    address.sin_addr.s_addr = htonl( INADDR_LOOPBACK );
    return address;
}

bool readable( int fd, int timeoutMs ) {
    pollfd state{ fd, POLLIN, 0 };
    return ::poll( &state, 1, timeoutMs ) == 1;
}

/** Something on a UDP port that answers when the test says so. */
class Peer {
  public:
    explicit Peer( uint16_t port ) : fd_( ::socket( AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0 ) ) {
        const sockaddr_in address = loopback( port );
        EXPECT_EQ( ::bind( fd_, reinterpret_cast<const sockaddr *>( &address ), sizeof( address ) ),
                   0 );
    }
    ~Peer() { ::close( fd_ ); }
    Peer( const Peer & ) = delete;
    Peer &operator=( const Peer & ) = delete;

    std::vector<int> question() {
        EXPECT_TRUE( readable( fd_, generousMs ) );
        uint8_t bytes[ 64 ];
        socklen_t size = sizeof( from_ );
        const ssize_t count = ::recvfrom( fd_, bytes, sizeof( bytes ), 0,
                                          reinterpret_cast<sockaddr *>( &from_ ), &size );
        return { bytes, bytes + std::max<ssize_t>( count, 0 ) };
    }
    void answer() {
        EXPECT_EQ(
            ::sendto( fd_, "x", 1, 0, reinterpret_cast<sockaddr *>( &from_ ), sizeof( from_ ) ),
            1 );
    }

  private:
    int fd_;
    sockaddr_in from_{};
};

TEST( BmcProbe, PortsThatAreFreeCanBeBound ) {
    for ( const int type : { SOCK_DGRAM, SOCK_STREAM } ) {
        const uint16_t port = type == SOCK_DGRAM ? orvan::freeUdpPort() : orvan::freeTcpPort();
        const sockaddr_in address = loopback( port );
        const int fd = ::socket( AF_INET, type | SOCK_CLOEXEC, 0 );
        EXPECT_NE( port, 0 );
        EXPECT_EQ( ::bind( fd, reinterpret_cast<const sockaddr *>( &address ), sizeof( address ) ),
                   0 );
        ::close( fd );
    }
}

TEST( BmcProbe, AsksForTheAuthenticationCapabilities ) {
    const uint16_t port = orvan::freeUdpPort();
    Peer peer( port );
    BmcProbe( port ).ask();
    EXPECT_THAT( peer.question(),
                 ElementsAre( 0x06, 0x00, 0xFF, 0x07,       // RMCP 1.0, no acknowledge, class IPMI
                              0x00, 0, 0, 0, 0, 0, 0, 0, 0, // no authentication, sequence, session
                              0x09,                         // bytes of the message
                              0x20, 0x18,
                              0xC8, // to the BMC, network function App; 0x20 + 0x18 + 0xC8 = 0x100
                              0x81, 0x00,
                              0x38, // from the console; Get Channel Authentication Capabilities
                              0x0E, 0x04, 0x35 ) ) // this channel, administrator; sum 0x100
        << "0x81 + 0x38 + 0x0E + 0x04 + 0x35 = 0x100";
}

TEST( BmcProbe, AnAnswerIsSeenAndTakenOnce ) {
    const uint16_t port = orvan::freeUdpPort();
    Peer peer( port );
    const BmcProbe probe( port );
    EXPECT_FALSE( probe.answered() ) << "nothing was asked";
    probe.ask();
    peer.question();
    EXPECT_FALSE( probe.answered() ) << "asked, but not answered yet";
    peer.answer();
    EXPECT_TRUE( readable( probe.descriptor(), generousMs ) );
    EXPECT_TRUE( probe.answered() );
    EXPECT_FALSE( probe.answered() );
}

TEST( BmcProbe, TheMessageThatNobodyListensIsNoAnswer ) {
    const BmcProbe probe( orvan::freeUdpPort() );
    probe.ask();
    EXPECT_TRUE( readable( probe.descriptor(), generousMs ) );
    EXPECT_FALSE( probe.answered() );
    EXPECT_FALSE( readable( probe.descriptor(), 0 ) );
}

} // namespace
