#include "smbusd/service/ClientSession.h"

#include <asio/read.hpp>
#include <asio/write.hpp>

namespace smbusd {

namespace {

/** A frame's memory grows by this much as its bytes come, never ahead of them. */
constexpr size_t readStep = 16 * 1024;
/** A larger buffer is given back after its frame. */
constexpr size_t keptCapacity = 64 * 1024;

} // namespace

ClientSession::ClientSession( Socket socket, unsigned number, Dispatcher &dispatcher, Log &log,
                              Ended ended )
    : socket_( std::move( socket ) ), number_( number ), dispatcher_( dispatcher ), log_( log ),
      ended_( std::move( ended ) ) {}

void ClientSession::readHeader() {
    if ( buffer_.capacity() > keptCapacity ) {
        buffer_ = {};
    }
    buffer_.clear();
    asio::async_read( socket_, asio::buffer( header_ ),
                      [ self = shared_from_this() ]( std::error_code error, size_t size ) {
                          if ( error ) {
                              self->end( size == 0 ? "gone" : "gone within a frame" );
                              return;
                          }
                          const uint32_t length = frameLength( self->header_ );
                          if ( length > maxFrame ) {
                              self->end( fmt::format( "claims a frame of {} bytes", length ) );
                              return;
                          }
                          self->readBody( length );
                      } );
}

void ClientSession::readBody( size_t left ) {
    if ( left == 0 ) {
        handleFrame();
        return;
    }
    const size_t step = std::min( left, readStep );
    const size_t had = buffer_.size();
    buffer_.resize( had + step );
    asio::async_read( socket_, asio::buffer( buffer_.data() + had, step ),
                      [ self = shared_from_this(), left, step ]( std::error_code error, size_t ) {
                          if ( error ) {
                              self->end( "gone within a frame" );
                              return;
                          }
                          self->readBody( left - step );
                      } );
}

void ClientSession::handleFrame() {
    auto transaction = std::make_shared<Transaction>();
    if ( !transaction->request.ParseFromString( buffer_ ) ) {
        end( fmt::format( "sent a frame of {} bytes that is not a transaction", buffer_.size() ) );
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
    frameMessage( transaction.response, buffer_ );
    asio::async_write( socket_, asio::buffer( buffer_ ),
                       [ self = shared_from_this() ]( std::error_code error, size_t ) {
                           if ( error ) {
                               self->end( "gone before its reply" );
                               return;
                           }
                           self->readHeader();
                       } );
}

void ClientSession::discardEverything() {
    buffer_.resize( readStep );
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
