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
#include <sys/un.h>
#include <unistd.h>
#include <utility>

#include <fmt/format.h>

#include "smbusd/base/JsonView.h"

namespace smbusd {

namespace {

constexpr int backlog = 64;
constexpr int firstInherited = 3; // by the convention of sd_listen_fds(3)

[[noreturn]] void fail( const std::string &path, std::string_view what, int error ) {
    throw ListenError( fmt::format( "{}: {}: {}", path, what, std::strerror( error ) ) );
}

/** Closes a descriptor at the end of a scope. */
class Closing {
  public:
    explicit Closing( int fd ) : fd_( fd ) {}
    ~Closing() {
        if ( fd_ >= 0 ) {
            ::close( fd_ );
        }
    }
    Closing( const Closing & ) = delete;
    Closing &operator=( const Closing & ) = delete;
    int get() const { return fd_; }
    int release() { return std::exchange( fd_, -1 ); }

  private:
    int fd_;
};

sockaddr_un addressOf( const std::string &path ) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if ( path.empty() || path.size() >= sizeof( address.sun_path ) ) {
        throw ListenError( fmt::format( "{}: a socket's path has 1 to {} characters", path,
                                        sizeof( address.sun_path ) - 1 ) );
    }
    path.copy( address.sun_path, path.size() );
    return address;
}

int newSocket( const std::string &path ) {
    const int fd = ::socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 );
    if ( fd < 0 ) {
        fail( path, "cannot make a socket", errno );
    }
    return fd;
}

/** Removes a socket file that nobody listens on any more. */
void removeStale( const std::string &path, const sockaddr_un &address ) {
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
    const Closing probe( newSocket( path ) );
    // Without blocking: a listener that accepts nothing must not hold this one up.
    ::fcntl( probe.get(), F_SETFL, O_NONBLOCK );
    if ( ::connect( probe.get(), reinterpret_cast<const sockaddr *>( &address ),
                    sizeof( address ) ) == 0 ||
         errno == EAGAIN ) {
        throw ListenError( fmt::format( "{}: another service listens on it", path ) );
    }
    if ( errno != ECONNREFUSED ) {
        fail( path, "cannot find out whether another service listens on it", errno );
    }
    if ( ::unlink( path.c_str() ) != 0 && errno != ENOENT ) {
        fail( path, "cannot remove the socket of a service that is gone", errno );
    }
}

void checkInherited( int fd ) {
    int listening = 0;
    int type = 0;
    sockaddr_un address{};
    socklen_t size = sizeof( listening );
    socklen_t addressSize = sizeof( address );
    if ( ::getsockopt( fd, SOL_SOCKET, SO_ACCEPTCONN, &listening, &size ) != 0 ||
         ::getsockopt( fd, SOL_SOCKET, SO_TYPE, &type, &size ) != 0 ||
         ::getsockname( fd, reinterpret_cast<sockaddr *>( &address ), &addressSize ) != 0 ||
         listening == 0 || type != SOCK_STREAM || address.sun_family != AF_UNIX ) {
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
    const sockaddr_un address = addressOf( path );
    const std::filesystem::path parent = std::filesystem::path( path ).parent_path();
    const std::string folder = parent.empty() ? std::string( "." ) : parent.string();
    // The folder itself is the lock under which the path is looked at and taken.
    const Closing lock( ::open( folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC ) );
    if ( lock.get() < 0 || ::flock( lock.get(), LOCK_EX ) != 0 ) {
        fail( folder, "the socket's folder cannot be locked", errno );
    }
    removeStale( path, address );

    Closing fd( newSocket( path ) );
    // Linux takes a socket file's mode from the descriptor and the umask; without this, anyone
    // could connect between bind() and chmod().
    const mode_t before = ::umask( 0777 & ~mode );
    const int bound =
        ::bind( fd.get(), reinterpret_cast<const sockaddr *>( &address ), sizeof( address ) );
    const int bindError = errno;
    ::umask( before );
    if ( bound != 0 ) {
        fail( path, "cannot be bound", bindError );
    }
    struct stat status {};
    if ( ::chmod( path.c_str(), mode ) != 0 || ::lstat( path.c_str(), &status ) != 0 ||
         ::listen( fd.get(), backlog ) != 0 ) {
        const int error = errno;
        ::unlink( path.c_str() );
        fail( path, "cannot be listened on", error );
    }
    ownsFile_ = true;
    device_ = status.st_dev;
    inode_ = status.st_ino;
    fd_ = fd.release();
}

ListenSocket::ListenSocket( int inherited )
    : path_( fmt::format( "inherited descriptor {}", inherited ) ), fd_( inherited ) {}

ListenSocket::~ListenSocket() {
    if ( fd_ >= 0 ) {
        ::close( fd_ );
    }
    struct stat status {};
    if ( ownsFile_ && ::lstat( path_.c_str(), &status ) == 0 && status.st_dev == device_ &&
         status.st_ino == inode_ ) {
        ::unlink( path_.c_str() );
    }
}

int ListenSocket::release() {
    return std::exchange( fd_, -1 );
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
