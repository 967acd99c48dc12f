/**
 * @file
 * Where the sockets of the SMBus service are unless a program is told otherwise.
 *
 * The platform's client, which a site may replace, knows the first two by itself.
 */
#pragma once

#include <string>

namespace common {

/** The environment variable with the path of the clients' socket; the library's client reads it. */
inline constexpr char socketVariable[] = "PL_SMBUS_SOCKET";

/** The clients' socket, if nothing else is said: an absolute path of a UNIX stream socket. */
inline constexpr char defaultSocketPath[] = "/run/smbusd.sock";

/** @return the control socket of a service whose clients' socket is that one, if nothing else is said */
inline std::string controlPathOf( const std::string &socketPath ) {
    return socketPath + ".control";
}

} // namespace common
