#include "smbusd/service/ListenSocket.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <string_view>
#include <sys/file.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

#include <fmt/format.h>

#include "common/UnixSocket.h"
#include "smbusd/base/JsonView.h"

namespace smbusd {

namespace {

constexpr int firstInherited = 3; // by the convention of sd_listen_fds(3)

[[noreturn]] void fail( const std::string &path, std::string_view what, int error ) {
    throw ListenError( fmt::format( "{}: {}: {}", path, what, std::strerror( error ) ) );
}

/** Removes a socket file that nobody listens on any more. */
void removeStale( const std::string &path, const common::UnixAddress &address ) {
    struct stat status {};
    if ( ::lstat( path.c_str(), &status ) != 0 ) {
        if ( errno == ENOENT ) {
            return;
        }
        fail( path, "cannot be looked at", errno );
    }
    if ( !S_ISSOCK( status.st_mode ) ) {
        throw ListenError( fmt::format( "{}: is there, and is not a socket", path ) );
    }
    const std::error_code nobody = common::probe( address );
    if ( !nobody ) {
        throw ListenError( fmt::format( "{}: another service listens on it", path ) );
    }
    if ( nobody != std::errc::connection_refused ) {
        fail( path, "cannot find out whether another service listens on it", nobody.value() );
    }
    if ( ::unlink( path.c_str() ) != 0 && errno != ENOENT ) {
        fail( path, "cannot remove the socket of a service that is gone", errno );
    }
}

void checkInherited( int fd ) {
    int listening = 0;
    int type = 0;
    sockaddr_storage address{};
    socklen_t size = sizeof( listening );
    socklen_t addressSize = sizeof( address );
    if ( ::getsockopt( fd, SOL_SOCKET, SO_ACCEPTCONN, &listening, &size ) != 0 ||
         ::getsockopt( fd, SOL_SOCKET, SO_TYPE, &type, &size ) != 0 ||
         ::getsockname( fd, reinterpret_cast<sockaddr *>( &address ), &addressSize ) != 0 ||
         listening == 0 || type != SOCK_STREAM || address.ss_family != AF_UNIX ) {
        throw ListenError( fmt::format( "inherited descriptor {}: not a listening UNIX stream "
                                        "socket",
                                        fd ) );
    }
    ::fcntl( fd, F_SETFD, FD_CLOEXEC );
}

std::optional<uint32_t> environmentNumber( const char *name ) {
    const char *text = ::getenv( name );
    return text == nullptr ? std::nullopt : parseNumber( text );
}

} // namespace

ListenSocket::ListenSocket( const std::string &path, mode_t mode ) : path_( path ) {
    try {
        listen( mode );
    } catch ( const std::invalid_argument &error ) {
        throw ListenError( error.what() );
    } catch ( const std::system_error &error ) {
        throw ListenError( error.what() );
    }
}

void ListenSocket::listen( mode_t mode ) {
    const common::UnixAddress address( path_ ); // before anything is touched: does the path fit?
    const std::filesystem::path parent = std::filesystem::path( path_ ).parent_path();
    const std::string folder = parent.empty() ? std::string( "." ) : parent.string();
    // The folder itself is the lock under which the path is looked at and taken.
    const common::Descriptor lock( ::open( folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC ) );
    if ( !lock || ::flock( lock.get(), LOCK_EX ) != 0 ) {
        fail( folder, "the socket's folder cannot be locked", errno );
    }
    removeStale( path_, address );

    socket_ = common::listenOn( path_, mode );
    struct stat status {};
    if ( ::lstat( path_.c_str(), &status ) == 0 ) {
        ownsFile_ = true;
        device_ = status.st_dev;
        inode_ = status.st_ino;
    }
}

ListenSocket::ListenSocket( int inherited )
    : path_( fmt::format( "inherited descriptor {}", inherited ) ), socket_( inherited ) {}

ListenSocket::~ListenSocket() {
    socket_.close();
    struct stat status {};
    if ( ownsFile_ && ::lstat( path_.c_str(), &status ) == 0 && status.st_dev == device_ &&
         status.st_ino == inode_ ) {
        ::unlink( path_.c_str() );
    }
}

int ListenSocket::release() {
    return socket_.release();
}

InheritedSockets inheritedSockets() {
    InheritedSockets sockets;
    const std::optional<uint32_t> pid = environmentNumber( "LISTEN_PID" );
    const uint32_t count = environmentNumber( "LISTEN_FDS" ).value_or( 0 );
    if ( !pid || *pid != static_cast<uint32_t>( ::getpid() ) || count == 0 ) {
        return sockets;
    }
    const char *namesText = ::getenv( "LISTEN_FDNAMES" );
    std::string_view names = namesText == nullptr ? "" : namesText;
    for ( int i = 0; i < static_cast<int>( count ); i++ ) {
        const int fd = firstInherited + i;
        checkInherited( fd );
        const size_t colon = names.find( ':' );
        const std::string_view name = names.substr( 0, colon );
        names = colon == std::string_view::npos ? "" : names.substr( colon + 1 );
        const bool control = name == "control" || ( sockets.service >= 0 && i > 0 );
        ( control ? sockets.control : sockets.service ) = fd;
    }
    ::unsetenv( "LISTEN_PID" );
    ::unsetenv( "LISTEN_FDS" );
    ::unsetenv( "LISTEN_FDNAMES" );
    return sockets;
}

} // namespace smbusd
