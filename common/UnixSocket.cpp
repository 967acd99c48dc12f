#include "common/UnixSocket.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <fmt/core.h>

namespace common {

namespace {

using std::chrono::microseconds;
using std::chrono::steady_clock;

std::error_code lastError() {
    return { errno, std::generic_category() };
}

Descriptor newSocket() {
    Descriptor made( ::socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 ) );
    if ( !made ) {
        throw std::system_error( lastError(), "cannot make a socket" );
    }
    return made;
}

/** Bounds what the socket's calls wait for; zero: there is no bound. */
void setSendTimeout( const Descriptor &socket, microseconds limit ) {
    constexpr auto perSecond = microseconds( std::chrono::seconds( 1 ) ).count();
    timeval time{};
    time.tv_sec = static_cast<time_t>( limit.count() / perSecond );
    time.tv_usec = static_cast<suseconds_t>( limit.count() % perSecond );
    ::setsockopt( socket.get(), SOL_SOCKET, SO_SNDTIMEO, &time, sizeof( time ) );
}

/** Linux takes a socket file's mode from the umask; a later chmod alone would let anyone in before. */
bool bindWithMode( const Descriptor &socket, const UnixAddress &address,
                   std::optional<mode_t> mode ) {
    if ( !mode ) {
        return ::bind( socket.get(), address.data(), address.size() ) == 0;
    }
    const mode_t before = ::umask( 0777 & ~*mode );
    const int bound = ::bind( socket.get(), address.data(), address.size() );
    const int error = errno;
    ::umask( before );
    errno = error;
    return bound == 0;
}

} // namespace

UnixAddress::UnixAddress( const std::string &path ) {
    if ( path.empty() || path.size() > longestPath ) {
        throw std::invalid_argument(
            fmt::format( "{}: a socket's path has 1 to {} characters", path, longestPath ) );
    }
    address_.sun_family = AF_UNIX;
    path.copy( address_.sun_path, path.size() );
}

Descriptor listenOn( const std::string &path, std::optional<mode_t> mode, int backlog ) {
    const UnixAddress address( path );
    Descriptor socket = newSocket();
    if ( !bindWithMode( socket, address, mode ) ) {
        throw std::system_error( lastError(), path + ": cannot be bound" );
    }
    if ( ( mode && ::chmod( path.c_str(), *mode ) != 0 ) ||
         ::listen( socket.get(), backlog ) != 0 ) {
        const std::error_code error = lastError();
        ::unlink( path.c_str() );
        throw std::system_error( error, path + ": cannot be listened on" );
    }
    return socket;
}

Descriptor connectTo( const std::string &path, std::chrono::milliseconds limit ) {
    const UnixAddress address( path );
    Descriptor socket = newSocket();
    const auto end = steady_clock::now() + limit;
    // No poll() tells when a UNIX listener's backlog has room again; the send time-out wakes as soon
    // as it has.
    int error = 0;
    do {
        const auto left = std::chrono::duration_cast<microseconds>( end - steady_clock::now() );
        setSendTimeout( socket, std::max<microseconds>( left, std::chrono::milliseconds( 1 ) ) );
        error = ::connect( socket.get(), address.data(), address.size() ) == 0 ? 0 : errno;
    } while ( error == EINTR && steady_clock::now() < end );
    if ( error != 0 ) {
        const bool late = error == EAGAIN || error == EINTR;
        throw std::system_error( late ? ETIMEDOUT : error, std::generic_category(),
                                 path + ": cannot be connected to" );
    }
    setSendTimeout( socket, microseconds( 0 ) );
    return socket;
}

std::error_code probe( const UnixAddress &address ) {
    const Descriptor socket = newSocket();
    // Without blocking: a listener that accepts nothing must not hold the caller up.
    ::fcntl( socket.get(), F_SETFL, O_NONBLOCK );
    if ( ::connect( socket.get(), address.data(), address.size() ) == 0 || errno == EAGAIN ) {
        return {};
    }
    return lastError();
}

bool sendAll( const Descriptor &socket, std::string_view bytes ) {
    while ( !bytes.empty() ) {
        const ssize_t sent = ::send( socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL );
        if ( sent < 0 && errno != EINTR ) {
            return false;
        }
        bytes.remove_prefix( static_cast<size_t>( std::max<ssize_t>( sent, 0 ) ) );
    }
    return true;
}

bool receiveAll( const Descriptor &socket, std::span<char> room ) {
    while ( !room.empty() ) {
        const ssize_t got = ::recv( socket.get(), room.data(), room.size(), 0 );
        if ( got == 0 || ( got < 0 && errno != EINTR ) ) {
            return false;
        }
        room = room.subspan( static_cast<size_t>( std::max<ssize_t>( got, 0 ) ) );
    }
    return true;
}

bool receiveFrame( const Descriptor &socket, FrameDecoder &frame ) {
    frame.restart();
    while ( !frame.complete() ) {
        const auto room = frame.room();
        if ( !receiveAll( socket, room ) ) {
            return false;
        }
        frame.received( room.size() );
    }
    return true;
}

} // namespace common
