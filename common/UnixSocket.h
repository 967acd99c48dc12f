#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/types.h>
#include <sys/un.h>
#include <system_error>

#include "common/Descriptor.h"
#include "common/Frame.h"

namespace common {

/** The address of a UNIX socket that has a file. */
class UnixAddress {
  public:
    /** The longest path that fits an address, in bytes: the kernel wants a NUL after it. */
    static constexpr size_t longestPath = sizeof( sockaddr_un::sun_path ) - 1;

    /** Throws std::invalid_argument when @p path is empty or longer than longestPath. */
    explicit UnixAddress( const std::string &path );

    /** The address as bind(2) and connect(2) take it. Lives as long as this object. */
    const sockaddr *data() const { return reinterpret_cast<const sockaddr *>( &address_ ); }
    /** The size of data(), in bytes. */
    socklen_t size() const { return sizeof( address_ ); }

  private:
    sockaddr_un address_{};
};

/**
 * A stream socket that listens on @p path, whose file must not exist yet; removing the file is the
 * caller's.
 * @param mode     the file's mode, in force before anybody can connect; without it, the umask decides
 * @param backlog  connections that may wait to be accepted
 * Throws std::invalid_argument for a path that fits no address and std::system_error for all else;
 * what() names the path. No file is left behind then.
 */
Descriptor listenOn( const std::string &path, std::optional<mode_t> mode = std::nullopt,
                     int backlog = 64 );

/**
 * A stream socket that is connected to the listener on @p path.
 * @param limit  how long to wait for a listener whose backlog is full; at least a millisecond
 * Throws std::invalid_argument for a path that fits no address and std::system_error for all else:
 * ETIMEDOUT when the limit has passed, ENOENT or ECONNREFUSED when nobody listens.
 */
Descriptor connectTo( const std::string &path, std::chrono::milliseconds limit );

/**
 * Finds out without waiting whether somebody listens on @p address.
 * @return no error: somebody does, perhaps with a full backlog. ENOENT: there is no file.
 *         ECONNREFUSED: the file is a socket's, but nobody listens on it, or it is no socket's.
 */
std::error_code probe( const UnixAddress &address );

/** Sends all of @p bytes. @return false: the other side has closed, or a time-out has passed. */
bool sendAll( const Descriptor &socket, std::string_view bytes );

/** Receives exactly as many bytes as fit @p room. @return false as for sendAll(). */
bool receiveAll( const Descriptor &socket, std::span<char> room );

/**
 * Receives the next frame whole; frame.message() is then its message. What @p frame held is forgotten.
 * @return false as for sendAll(). Throws FrameError for a header's claim.
 */
bool receiveFrame( const Descriptor &socket, FrameDecoder &frame );

} // namespace common
