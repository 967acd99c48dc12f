#pragma once

#include <string>

#include <CLI/App.hpp>

namespace smbusd {

/** What all commands of the control tool need. */
struct ToolOptions {
    std::string control; ///< path of the service's control socket
    bool json = false;   ///< whether answers are printed as the service gives them
};

/**
 * Adds every command, each with options of its own, to the tool's command line. Parsing it carries
 * the command out, and throws what ControlClient throws.
 *
 * @param options  read when a command is carried out; outlives @p app
 */
void addCommands( CLI::App &app, const ToolOptions &options );

} // namespace smbusd
