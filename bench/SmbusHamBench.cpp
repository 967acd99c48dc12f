// A batch of word reads through the SMBus Ham, against the bare exchange of the same bytes.

#include <PLSocket.h>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "OrvanGeneric/Ham/OrvanSmbusHam.h"
#include "OrvanGeneric/Orvan.h"
#include "bench/Ratio.h"
#include "tests/support/AllocationCounter.h"

namespace {

constexpr int wordReads = 8;
constexpr size_t prefixSize = 4;

std::string framed( const google::protobuf::Message &message ) {
    const std::string body = message.SerializeAsString();
    std::string frame( prefixSize, '\0' );
    for ( size_t i = 0; i < prefixSize; ++i ) {
        frame[ i ] = static_cast<char>( body.size() >> 8 * ( prefixSize - 1 - i ) );
    }
    return frame + body;
}

bool readExactly( int fd, char *data, size_t size ) {
    while ( size ) {
        const ssize_t n = read( fd, data, size );
        if ( n <= 0 ) {
            return false;
        }
        data += n;
        size -= static_cast<size_t>( n );
    }
    return true;
}

/** Answers every frame on every connection with the same reply, built once. */
class Responder {
  public:
    Responder() {
        Smbus::TransactionResponse response;
        for ( int i = 0; i < wordReads; ++i ) {
            response.add_responses()->set_data( "\x34\x12" );
        }
        reply = framed( response );
        char directory[] = "/tmp/orvan-bench-XXXXXX";
        path_ = std::string( mkdtemp( directory ) ) + "/s";
        listener_ = socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 );
        const sockaddr_un at = address();
        if ( bind( listener_, reinterpret_cast<const sockaddr *>( &at ), sizeof( at ) ) < 0 ||
             listen( listener_, 4 ) < 0 ) {
            std::abort();
        }
        setenv( "PL_SMBUS_SOCKET", path_.c_str(), 1 );
        std::thread( [ this ] { serve(); } ).detach();
    }

    ~Responder() {
        unlink( path_.c_str() );
        rmdir( path_.substr( 0, path_.rfind( '/' ) ).c_str() );
    }

    int connected() const {
        const int fd = socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 );
        const sockaddr_un to = address();
        if ( connect( fd, reinterpret_cast<const sockaddr *>( &to ), sizeof( to ) ) < 0 ) {
            std::abort();
        }
        return fd;
    }

    std::string reply;

  private:
    sockaddr_un address() const {
        sockaddr_un at = {};
        at.sun_family = AF_UNIX;
        std::strncpy( at.sun_path, path_.c_str(), sizeof( at.sun_path ) - 1 );
        return at;
    }

    /** One thread for all connections, as the service has, so that both sides wake the same one. */
    void serve() const {
        std::vector<pollfd> polled = { { listener_, POLLIN, 0 } };
        std::vector<char> body;
        while ( poll( polled.data(), polled.size(), -1 ) > 0 ) {
            if ( polled[ 0 ].revents ) {
                polled.push_back( { accept( listener_, nullptr, nullptr ), POLLIN, 0 } );
            }
            for ( size_t i = 1; i < polled.size(); ++i ) {
                if ( !polled[ i ].revents || answer( polled[ i ].fd, body ) ) {
                    continue;
                }
                close( polled[ i ].fd );
                polled.erase( polled.begin() + static_cast<ptrdiff_t>( i-- ) );
            }
        }
    }

    bool answer( int fd, std::vector<char> &body ) const {
        unsigned char prefix[ prefixSize ];
        if ( !readExactly( fd, reinterpret_cast<char *>( prefix ), prefixSize ) ) {
            return false;
        }
        body.resize( static_cast<size_t>( prefix[ 2 ] ) << 8 | prefix[ 3 ] );
        return readExactly( fd, body.data(), body.size() ) &&
               send( fd, reply.data(), reply.size(), MSG_NOSIGNAL ) > 0;
    }

    std::string path_;
    int listener_;
};

unsigned batch( Ham::OrvanSmbusHam &ham ) {
    ham.prepare();
    Ham::ResponseId ids[ wordReads ];
    for ( int i = 0; i < wordReads; ++i ) {
        ids[ i ] = ham.addRead16( 0x88 + i );
    }
    if ( ham.execute() ) {
        std::abort();
    }
    unsigned sum = 0;
    for ( const Ham::ResponseId id : ids ) {
        sum += ham.get16( id );
    }
    return sum;
}

void SmbusHamBatchAgainstBareExchange( benchmark::State &state ) {
    const Responder responder;
    if ( plSockInit( "bench", 1 ) ) {
        std::abort();
    }
    Topology::HamAddress address{};
    address.address = 0x58;
    address.addrSize = 1;
    Ham::OrvanSmbusHam &ham = *Ham::OrvanSmbusHam::createFromAddress( address, std::nullopt );

    // The same messages, built once.
    Smbus::TransactionRequest request;
    for ( int i = 0; i < wordReads; ++i ) {
        Topology::HamAddress word = address;
        word.reg = 0x88 + static_cast<unsigned>( i );
        Smbus::Request *entry = request.add_requests();
        entry->set_type( Smbus::READ );
        entry->set_length( 2 );
        entry->set_address( word.packed() );
        entry->set_pciaddress( 0 );
        entry->set_mastertype( Smbus::I2C );
        entry->set_pec( false );
    }
    const std::string frame = framed( request );
    const int bare = responder.connected();
    std::vector<char> received( responder.reply.size() );

    constexpr int exchangesPerTurn = 20;
    bench::compare(
        state,
        [ & ] {
            for ( int i = 0; i < exchangesPerTurn; ++i ) {
                benchmark::DoNotOptimize( batch( ham ) );
            }
        },
        [ & ] {
            for ( int i = 0; i < exchangesPerTurn; ++i ) {
                if ( send( bare, frame.data(), frame.size(), MSG_NOSIGNAL ) < 0 ) {
                    std::abort();
                }
                if ( !readExactly( bare, received.data(), received.size() ) ) {
                    std::abort();
                }
            }
        } );
    close( bare );
    {
        const support::AllocationCounter allocations;
        batch( ham );
        state.counters[ "allocations" ] = static_cast<double>( allocations.count() );
    }
    delete _plSock;
    _plSock = nullptr;
}
BENCHMARK( SmbusHamBatchAgainstBareExchange )->UseManualTime();

} // namespace
