#include <cstdio>
#include <cstdlib>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "common/SocketPaths.h"
#include "smbusd/ctl/Commands.h"
#include "smbusd/ctl/ControlClient.h"

namespace {

constexpr int exitRefused = 1;
constexpr int exitUnreachable = 2;

std::string defaultControl() {
    const char *socket = std::getenv( common::socketVariable );
    return common::controlPathOf( socket != nullptr ? socket : common::defaultSocketPath );
}

int run( int argc, char **argv ) {
    CLI::App app( "Looks into and changes an SMBus service's emulated chips, behind their buses' "
                  "back." );
    smbusd::ToolOptions options{ defaultControl() };
    app.add_option( "--control", options.control, "The service's control socket" )
        ->envname( "SMBUSD_CONTROL" )
        ->capture_default_str();
    app.add_flag( "--json", options.json, "Print answers as the service gives them" );
    smbusd::addCommands( app, options );
    CLI11_PARSE( app, argc, argv );
    return EXIT_SUCCESS;
}

} // namespace

int main( int argc, char **argv ) {
    try {
        return run( argc, argv );
    } catch ( const smbusd::ControlRefused &error ) {
        fmt::print( stderr, "smbusctl: {}\n", error.what() );
        return exitRefused;
    } catch ( const std::exception &error ) {
        fmt::print( stderr, "smbusctl: {}\n", error.what() );
        return exitUnreachable;
    }
}
