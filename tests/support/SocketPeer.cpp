#include "tests/support/SocketPeer.h"

#include <chrono>
#include <fstream>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

#include "common/Frame.h"
#include "common/UnixSocket.h"

namespace support {

void Event::set() {
    const std::lock_guard lock( mutex_ );
    set_ = true;
    changed_.notify_all();
}

bool Event::wait() {
    std::unique_lock lock( mutex_ );
    return changed_.wait_for( lock, std::chrono::seconds( 30 ), [ this ] { return set_; } );
}

SocketPeer::Connection::Connection( common::Descriptor socket, int index, std::atomic<int> &frames )
    : index_( index ), frames_( frames ), socket_( std::move( socket ) ) {}

bool SocketPeer::Connection::read( size_t size, std::string &bytes ) {
    bytes.resize( size );
    return common::receiveAll( socket_, bytes );
}

bool SocketPeer::Connection::readFrame( std::string &message ) {
    common::FrameDecoder frame;
    if ( !common::receiveFrame( socket_, frame ) ) {
        return false;
    }
    message = frame.message();
    ++frames_;
    return true;
}

bool SocketPeer::Connection::send( std::string_view bytes ) {
    return common::sendAll( socket_, bytes );
}

bool SocketPeer::Connection::sendFrame( std::string_view message ) {
    return send( common::framed( message ) );
}

void SocketPeer::Connection::awaitClose() {
    std::string dropped( 65536, '\0' );
    while ( ::recv( socket_.get(), dropped.data(), dropped.size(), 0 ) > 0 ) {
    }
}

void SocketPeer::Connection::shutDown( int how ) {
    const std::lock_guard lock( mutex_ );
    if ( socket_ ) {
        ::shutdown( socket_.get(), how );
    }
}

void SocketPeer::Connection::close() {
    const std::lock_guard lock( mutex_ );
    socket_.close();
}

SocketPeer::SocketPeer( Handler handler )
    : handler_( std::move( handler ) ), path_( folder_.file( "socket" ) ) {
    start();
}

SocketPeer::~SocketPeer() {
    stop();
}

void SocketPeer::start() {
    listener_ = common::listenOn( path_ );
    acceptor_ = std::thread( [ this ] { acceptAll(); } );
}

void SocketPeer::stop() {
    if ( !listener_ ) {
        return;
    }
    ::shutdown( listener_.get(), SHUT_RDWR ); // ends the accept
    acceptor_.join();
    listener_.close();
    ::unlink( path_.c_str() );
    {
        const std::lock_guard lock( mutex_ );
        for ( Connection &connection : open_ ) {
            connection.shutDown( SHUT_RDWR );
        }
    }
    for ( std::thread &handler : handlers_ ) {
        handler.join();
    }
    handlers_.clear();
    open_.clear();
}

void SocketPeer::acceptAll() {
    for ( ;; ) {
        common::Descriptor socket( ::accept4( listener_.get(), nullptr, nullptr, SOCK_CLOEXEC ) );
        if ( !socket ) {
            return;
        }
        const std::lock_guard lock( mutex_ );
        Connection &connection = open_.emplace_back( std::move( socket ), connections_++, frames_ );
        handlers_.emplace_back( [ this, &connection ] {
            handler_( connection );
            connection.close();
        } );
    }
}

int currentThread() {
    return static_cast<int>( syscall( SYS_gettid ) );
}

void waitUntilAsleep( int thread ) {
    const std::string file = "/proc/self/task/" + std::to_string( thread ) + "/stat";
    for ( ;; ) {
        std::string line;
        std::getline( std::ifstream( file ), line );
        const size_t nameEnd = line.rfind( ')' ); // the state stands behind the name
        if ( nameEnd == std::string::npos ) {
            throw std::runtime_error( "waitUntilAsleep: no thread " + std::to_string( thread ) );
        }
        if ( line.compare( nameEnd, 3, ") S" ) == 0 ) {
            return;
        }
        std::this_thread::yield();
    }
}

} // namespace support
