/**
 * @file
 * Where the service, its control tool and whoever starts them find the sockets unless told.
 */
#pragma once

#include <string>

namespace smbusd {

/** Names the clients' socket in the environment of clients and of the control tool. */
inline constexpr char socketVariable[] = "PL_SMBUS_SOCKET";

/** The clients' socket, which the platform's client looks for as well. */
inline constexpr char defaultSocketPath[] = "/run/smbusd.sock";

/** @return the control socket of a service whose clients' socket is that one */
inline std::string controlPathOf( const std::string &socketPath ) {
    return socketPath + ".control";
}

} // namespace smbusd
