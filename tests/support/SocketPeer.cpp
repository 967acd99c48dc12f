#include "tests/support/SocketPeer.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>

namespace support {

namespace {

[[noreturn]] void fail( const char *what ) {
    throw std::system_error( errno, std::generic_category(), what );
}

std::string makeFolder() {
    std::string folder = ( std::filesystem::temp_directory_path() / "orvan-peer-XXXXXX" ).string();
    if ( !mkdtemp( folder.data() ) ) {
        fail( "mkdtemp" );
    }
    return folder;
}

} // namespace

void Event::set() {
    const std::lock_guard lock( mutex_ );
    set_ = true;
    changed_.notify_all();
}

bool Event::wait() {
    std::unique_lock lock( mutex_ );
    return changed_.wait_for( lock, std::chrono::seconds( 30 ), [ this ] { return set_; } );
}

SocketPeer::Connection::Connection( int fd, int index, std::atomic<int> &frames )
    : index_( index ), frames_( frames ), fd_( fd ) {}

SocketPeer::Connection::~Connection() {
    close();
}

bool SocketPeer::Connection::read( size_t size, std::string &bytes ) {
    bytes.resize( size );
    for ( size_t have = 0; have < size; ) {
        const ssize_t count = ::recv( fd_, bytes.data() + have, size - have, 0 );
        if ( count <= 0 ) {
            return false;
        }
        have += static_cast<size_t>( count );
    }
    return true;
}

bool SocketPeer::Connection::readFrame( std::string &message ) {
    std::string header;
    if ( !read( 4, header ) ) {
        return false;
    }
    size_t size = 0;
    for ( const char byte : header ) {
        size = size << 8 | static_cast<uint8_t>( byte );
    }
    if ( !read( size, message ) ) {
        return false;
    }
    ++frames_;
    return true;
}

bool SocketPeer::Connection::send( std::string_view bytes ) {
    while ( !bytes.empty() ) {
        const ssize_t count = ::send( fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL );
        if ( count < 0 ) {
            return false;
        }
        bytes.remove_prefix( static_cast<size_t>( count ) );
    }
    return true;
}

bool SocketPeer::Connection::sendFrame( std::string_view message ) {
    return send( framed( message ) );
}

void SocketPeer::Connection::awaitClose() {
    std::string dropped( 65536, '\0' );
    while ( ::recv( fd_, dropped.data(), dropped.size(), 0 ) > 0 ) {
    }
}

void SocketPeer::Connection::shutDown( int how ) {
    const std::lock_guard lock( mutex_ );
    if ( fd_ >= 0 ) {
        ::shutdown( fd_, how );
    }
}

void SocketPeer::Connection::close() {
    const std::lock_guard lock( mutex_ );
    if ( fd_ >= 0 ) {
        ::close( fd_ );
    }
    fd_ = -1;
}

SocketPeer::SocketPeer( Handler handler )
    : handler_( std::move( handler ) ), folder_( makeFolder() ), path_( folder_ + "/socket" ) {
    start();
}

SocketPeer::~SocketPeer() {
    stop();
    std::error_code ignored;
    std::filesystem::remove_all( folder_, ignored );
}

void SocketPeer::start() {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if ( path_.size() >= sizeof address.sun_path ) {
        throw std::length_error( "SocketPeer: path too long: " + path_ );
    }
    path_.copy( address.sun_path, path_.size() );
    listener_ = socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 );
    if ( listener_ < 0 ) {
        fail( "socket" );
    }
    if ( bind( listener_, reinterpret_cast<const sockaddr *>( &address ), sizeof address ) != 0 ) {
        fail( "bind" );
    }
    if ( listen( listener_, 16 ) != 0 ) {
        fail( "listen" );
    }
    acceptor_ = std::thread( [ this ] { acceptAll(); } );
}

void SocketPeer::stop() {
    if ( listener_ < 0 ) {
        return;
    }
    ::shutdown( listener_, SHUT_RDWR ); // ends the accept
    acceptor_.join();
    ::close( listener_ );
    listener_ = -1;
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
        const int fd = accept4( listener_, nullptr, nullptr, SOCK_CLOEXEC );
        if ( fd < 0 ) {
            return;
        }
        const std::lock_guard lock( mutex_ );
        Connection &connection = open_.emplace_back( fd, connections_++, frames_ );
        handlers_.emplace_back( [ this, &connection ] {
            handler_( connection );
            connection.close();
        } );
    }
}

std::string framed( std::string_view message ) {
    std::string frame;
    for ( int shift = 24; shift >= 0; shift -= 8 ) {
        frame += static_cast<char>( message.size() >> shift & 0xFF );
    }
    return frame.append( message );
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
