/**
 * @file
 * Where things are that the command line does not name.
 */
#pragma once

#include <filesystem>
#include <string>

namespace orvan {

/** Where the SMBus service listens if nothing else is said: an absolute path of a UNIX stream socket. */
inline constexpr const char *defaultSocketPath = "/run/smbusd.sock";

/** The environment variable with the path of the service's socket; the library's client reads it. */
inline constexpr const char *socketVariable = "PL_SMBUS_SOCKET";

/** The folder of the running program. Throws std::filesystem::filesystem_error without /proc. */
std::filesystem::path ownFolder();

/** The library that belongs to this program: of the build tree or installation it was started from. */
std::string defaultLibraryPath();

/** The SMBus service's program: the one beside this program, whether or not it exists. */
std::string defaultServicePath();

/** The path of the socket of a service that already runs: that of the environment, or the default. */
std::string socketPath();

} // namespace orvan
