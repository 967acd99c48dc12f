/**
 * @file
 * Where things are that the command line does not name.
 */
#pragma once

#include <filesystem>
#include <string>

#include "common/SocketPaths.h"

namespace orvan {

using common::defaultSocketPath;
using common::socketVariable;

/** The folder of the running program. Throws std::filesystem::filesystem_error without /proc. */
std::filesystem::path ownFolder();

/** The library that belongs to this program: of the build tree or installation it was started from. */
std::string defaultLibraryPath();

/** The SMBus service's program: the one beside this program, whether or not it exists. */
std::string defaultServicePath();

/** The path of the socket of a service that already runs: that of the environment, or the default. */
std::string socketPath();

} // namespace orvan
