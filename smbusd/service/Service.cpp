#include "smbusd/service/Service.h"

namespace smbusd {

namespace {
/** After a failed accept (no descriptors left, say) trying again immediately would only spin. */
constexpr auto pauseAfterFailure = std::chrono::milliseconds( 100 );
} // namespace

Acceptor::Acceptor( asio::io_context &loop, ListenSocket &socket, Log &log,
                    std::function<void( Socket )> accepted )
    : acceptor_( loop, asio::local::stream_protocol(), socket.release() ), pause_( loop ),
      log_( log ), accepted_( std::move( accepted ) ) {
    accept();
}

void Acceptor::accept() {
    acceptor_.async_accept( [ this ]( std::error_code error, Socket socket ) {
        if ( error == asio::error::operation_aborted ) {
            return;
        }
        if ( error ) {
            log_.warning( "cannot accept a connection: {}", error.message() );
            pause_.expires_after( pauseAfterFailure );
            pause_.async_wait( [ this ]( std::error_code aborted ) {
                if ( !aborted ) {
                    accept();
                }
            } );
            return;
        }
        accepted_( std::move( socket ) );
        accept();
    } );
}

Service::Service( asio::io_context &loop, ListenSocket &socket, Hardware &hardware,
                  Dispatcher &dispatcher, size_t maxClients )
    : log_( hardware.log() ), dispatcher_( dispatcher ), maxClients_( maxClients ),
      acceptor_( loop, socket, hardware.log(), [ this ]( Acceptor::Socket connection ) {
          accepted( std::move( connection ) );
      } ) {}

Service::~Service() {
    for ( const std::shared_ptr<ClientSession> &session : sessions_ ) {
        session->close();
    }
}

void Service::accepted( Acceptor::Socket socket ) {
    if ( sessions_.size() >= maxClients_ ) {
        log_.warning( "refused a client: {} are connected already", sessions_.size() );
        return;
    }
    const auto session = std::make_shared<ClientSession>(
        std::move( socket ), ++lastNumber_, dispatcher_, log_,
        [ this ]( ClientSession &ended ) { sessions_.erase( ended.shared_from_this() ); } );
    log_.debug( "client {}: connected", session->number() );
    sessions_.insert( session );
    session->start();
}

} // namespace smbusd
