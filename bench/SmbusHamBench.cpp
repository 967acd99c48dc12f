// A batch of word reads through the SMBus Ham, against the bare exchange of the same bytes.

#include <PLSocket.h>
#include <chrono>
#include <cstdlib>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <vector>

#include "OrvanGeneric/Ham/OrvanSmbusHam.h"
#include "OrvanGeneric/Orvan.h"
#include "bench/Ratio.h"
#include "common/Descriptor.h"
#include "common/Frame.h"
#include "common/TemporaryFolder.h"
#include "common/UnixSocket.h"
#include "tests/support/AllocationCounter.h"

namespace {

constexpr int wordReads = 8;

/** Answers every frame on every connection with the same reply, built once. */
class Responder {
  public:
    Responder() {
        Smbus::TransactionResponse response;
        for ( int i = 0; i < wordReads; ++i ) {
            response.add_responses()->set_data( "\x34\x12" );
        }
        reply = common::framed( response.SerializeAsString() );
        setenv( "PL_SMBUS_SOCKET", path_.c_str(), 1 );
        thread_ = std::thread( [ this ] { serve(); } );
    }

    ~Responder() {
        shutdown( listener_.get(), SHUT_RDWR ); // ends the thread's wait
        thread_.join();
    }
    Responder( const Responder & ) = delete;
    Responder &operator=( const Responder & ) = delete;

    /** A new connection to it. */
    common::Descriptor connected() const {
        return common::connectTo( path_, std::chrono::seconds( 10 ) );
    }

    std::string reply;

  private:
    /** One thread for all connections, as the service has, so that both sides wake the same one. */
    void serve() const {
        std::vector<common::Descriptor> connections;
        std::vector<pollfd> polled = { { listener_.get(), POLLIN, 0 } };
        while ( poll( polled.data(), polled.size(), -1 ) > 0 ) {
            for ( size_t i = 1; i < polled.size(); ++i ) {
                if ( polled[ i ].revents && !answer( connections[ i - 1 ] ) ) {
                    connections.erase( connections.begin() + static_cast<ptrdiff_t>( i - 1 ) );
                    polled.erase( polled.begin() + static_cast<ptrdiff_t>( i-- ) );
                }
            }
            if ( polled[ 0 ].revents ) {
                const int accepted = accept( listener_.get(), nullptr, nullptr );
                if ( accepted < 0 ) {
                    return;
                }
                connections.emplace_back( accepted );
                polled.push_back( { accepted, POLLIN, 0 } );
            }
        }
    }

    bool answer( const common::Descriptor &connection ) const {
        static common::FrameDecoder frame; // one thread answers
        return common::receiveFrame( connection, frame ) && common::sendAll( connection, reply );
    }

    common::TemporaryFolder folder_{ "orvan-bench" };
    std::string path_ = folder_.file( "s" );
    common::Descriptor listener_ = common::listenOn( path_ );
    std::thread thread_;
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
    const std::string frame = common::framed( request.SerializeAsString() );
    const common::Descriptor bare = responder.connected();
    std::string received( responder.reply.size(), '\0' );

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
                if ( !common::sendAll( bare, frame ) || !common::receiveAll( bare, received ) ) {
                    std::abort();
                }
            }
        } );
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
