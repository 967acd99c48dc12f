#include "smbusd/control/ControlService.h"

#include <asio/read_until.hpp>
#include <asio/write.hpp>

namespace smbusd {

namespace {
constexpr size_t longestLine = 64 * 1024;
}

/** One control connection: a request and its answer at a time, until it follows the traffic. */
class ControlSession : public std::enable_shared_from_this<ControlSession> {
  public:
    ControlSession( Acceptor::Socket socket, ControlService &service )
        : socket_( std::move( socket ) ), service_( service ) {}

    void readLine() {
        asio::async_read_until(
            socket_, asio::dynamic_buffer( received_, longestLine ), '\n',
            [ self = shared_from_this() ]( std::error_code error, size_t length ) {
                if ( error ) {
                    self->end();
                    return;
                }
                const ControlAnswer answer =
                    self->service_.control_.answer( { self->received_.data(), length - 1 } );
                self->received_.erase( 0, length );
                self->write( answer.line + '\n', answer );
            } );
    }

    bool follows( const Bus &bus ) const {
        return following_ && ( followedBus_.empty() || followedBus_ == bus.name() );
    }

    void add( const std::string &line ) {
        queue_.add( line );
        pump();
    }

    void close() {
        open_ = false;
        std::error_code ignored;
        socket_.close( ignored );
    }

  private:
    void write( std::string text, const ControlAnswer &answer ) {
        outgoing_ = std::move( text );
        asio::async_write( socket_, asio::buffer( outgoing_ ),
                           [ self = shared_from_this(), follows = answer.follows,
                             bus = answer.followedBus ]( std::error_code error, size_t ) {
                               if ( error ) {
                                   self->end();
                               } else if ( follows ) {
                                   self->follow( bus );
                               } else {
                                   self->readLine();
                               }
                           } );
    }

    void follow( const std::string &bus ) {
        following_ = true;
        followedBus_ = bus;
        service_.followers_++;
        service_.listen();
        received_.resize( 256 );
        awaitEnd();
        pump();
    }

    /** A follower's connection takes no more requests; reading only shows when it is gone. */
    void awaitEnd() {
        socket_.async_read_some( asio::buffer( received_ ),
                                 [ self = shared_from_this() ]( std::error_code error, size_t ) {
                                     if ( error ) {
                                         self->end();
                                     } else {
                                         self->awaitEnd();
                                     }
                                 } );
    }

    void pump() {
        if ( sending_ || queue_.empty() || !open_ ) {
            return;
        }
        sending_ = true;
        outgoing_ = queue_.take();
        asio::async_write( socket_, asio::buffer( outgoing_ ),
                           [ self = shared_from_this() ]( std::error_code error, size_t ) {
                               self->sending_ = false;
                               if ( error ) {
                                   self->end();
                               } else {
                                   self->pump();
                               }
                           } );
    }

    void end() {
        if ( !open_ ) {
            return;
        }
        close();
        if ( following_ ) {
            service_.followers_--;
            service_.listen();
        }
        service_.sessions_.erase( shared_from_this() );
    }

    Acceptor::Socket socket_;
    ControlService &service_;
    bool open_ = true;
    bool following_ = false;
    bool sending_ = false;
    std::string followedBus_;
    std::string received_;
    std::string outgoing_;
    TrafficQueue queue_;
};

ControlService::ControlService( asio::io_context &loop, ListenSocket &socket, Control &control,
                                Dispatcher &dispatcher )
    : control_( control ), dispatcher_( dispatcher ),
      start_( control.hardware().scheduler().now() ),
      acceptor_( loop, socket, control.hardware().log(), [ this ]( Acceptor::Socket connection ) {
          accepted( std::move( connection ) );
      } ) {}

ControlService::~ControlService() {
    dispatcher_.setTrafficListener( nullptr );
    for ( const std::shared_ptr<ControlSession> &session : sessions_ ) {
        session->close();
    }
}

void ControlService::accepted( Acceptor::Socket socket ) {
    if ( sessions_.size() >= maxSessions ) {
        control_.hardware().log().warning( "refused a control connection: {} are there already",
                                           sessions_.size() );
        return;
    }
    const auto session = std::make_shared<ControlSession>( std::move( socket ), *this );
    sessions_.insert( session );
    session->readLine();
}

/** Without followers the dispatcher has no listener, so that traffic costs nothing more. */
void ControlService::listen() {
    if ( followers_ == 0 ) {
        dispatcher_.setTrafficListener( nullptr );
    } else {
        dispatcher_.setTrafficListener(
            [ this ]( const TrafficEvent &event ) { traffic( event ); } );
    }
}

void ControlService::traffic( const TrafficEvent &event ) {
    std::string line;
    for ( const std::shared_ptr<ControlSession> &session : sessions_ ) {
        if ( session->follows( event.bus ) ) {
            if ( line.empty() ) {
                line = trafficLine( event, control_.hardware().scheduler().now() - start_ );
            }
            session->add( line );
        }
    }
}

} // namespace smbusd
