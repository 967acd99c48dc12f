#include "smbusd/service/ClientSession.h"

#include <asio/read.hpp>
#include <asio/write.hpp>

namespace smbusd {

namespace {

/** How much of what is not looked at is taken in one go, in bytes. */
constexpr size_t discardStep = 16 * 1024;
/** A reply's memory above this is not kept for the next one, in bytes. */
constexpr size_t keptCapacity = 64 * 1024;

} // namespace

ClientSession::ClientSession( Socket socket, unsigned number, Dispatcher &dispatcher, Log &log,
                              Ended ended )
    : socket_( std::move( socket ) ), number_( number ), dispatcher_( dispatcher ), log_( log ),
      ended_( std::move( ended ) ) {}

void ClientSession::readFrame() {
    buffer_.clear();
    if ( buffer_.capacity() > keptCapacity ) {
        buffer_.shrink_to_fit();
    }
    frame_.restart();
    readOn();
}

void ClientSession::readOn() {
    const auto room = frame_.room();
    asio::async_read( socket_, asio::buffer( room.data(), room.size() ),
                      [ self = shared_from_this() ]( std::error_code error, size_t size ) {
                          try {
                              self->frame_.received( size );
                          } catch ( const common::FrameError &claim ) {
                              self->end( claim.what() );
                              return;
                          }
                          if ( error ) {
                              self->end( self->frame_.started() ? "gone within a frame" : "gone" );
                          } else if ( self->frame_.complete() ) {
                              self->handleFrame();
                          } else {
                              self->readOn();
                          }
                      } );
}

void ClientSession::handleFrame() {
    auto transaction = std::make_shared<Transaction>();
    if ( !transaction->request.ParseFromString( frame_.message() ) ) {
        end( fmt::format( "sent a frame of {} bytes that is not a transaction",
                          frame_.message().size() ) );
        return;
    }
    transaction->client = number_;
    transaction->done = [ self = shared_from_this() ]( Transaction &done ) {
        self->answer( done );
    };
    dispatcher_.submit( std::move( transaction ) );
}

void ClientSession::answer( Transaction &transaction ) {
    if ( !open_ ) {
        return;
    }
    switch ( transaction.end ) {
    case Transaction::End::Drop:
        end( "dropped by an injected fault" );
        return;
    case Transaction::End::Mute:
        discardEverything();
        return;
    case Transaction::End::Reply:
        break;
    }
    frame_.restart();
    common::frameMessage( transaction.response, buffer_ );
    asio::async_write( socket_, asio::buffer( buffer_ ),
                       [ self = shared_from_this() ]( std::error_code error, size_t ) {
                           if ( error ) {
                               self->end( "gone before its reply" );
                               return;
                           }
                           self->readFrame();
                       } );
}

void ClientSession::discardEverything() {
    buffer_.resize( discardStep );
    socket_.async_read_some( asio::buffer( buffer_ ),
                             [ self = shared_from_this() ]( std::error_code error, size_t ) {
                                 if ( error ) {
                                     self->end( "gone, unanswered" );
                                     return;
                                 }
                                 self->discardEverything();
                             } );
}

void ClientSession::close() {
    open_ = false;
    std::error_code ignored;
    socket_.close( ignored );
}

void ClientSession::end( std::string_view why ) {
    if ( !open_ ) {
        return;
    }
    log_.debug( "client {}: {}", number_, why );
    close();
    ended_( *this );
}

} // namespace smbusd
