#include <csignal>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>
#include <fmt/format.h>

#include "common/SocketPaths.h"
#include "smbusd/base/AsioScheduler.h"
#include "smbusd/board/HardwareConfig.h"
#include "smbusd/control/ControlService.h"
#include "smbusd/linux/LinuxBus.h"
#include "smbusd/service/Service.h"

namespace {

constexpr int exitBadConfiguration = 2;

struct Options {
    std::string config;
    std::string socket = common::defaultSocketPath;
    std::string control;
    std::string mode = "0600";
    std::string logLevel = "info";
    size_t maxClients = 256;
    int readyDescriptor = -1;
    bool checkOnly = false;
};

mode_t modeOf( const std::string &text ) {
    size_t end = 0;
    const unsigned long mode = std::stoul( text, &end, 8 );
    if ( end != text.size() || mode > 0777 ) {
        throw CLI::ValidationError( "--mode", "expected an octal mode such as 0600, not " + text );
    }
    return static_cast<mode_t>( mode );
}

/** A socket that the service manager handed over, or a new one on a path. */
std::unique_ptr<smbusd::ListenSocket> listenOn( int inherited, const std::string &path,
                                                const std::string &mode ) {
    return inherited >= 0 ? std::make_unique<smbusd::ListenSocket>( inherited )
                          : std::make_unique<smbusd::ListenSocket>( path, modeOf( mode ) );
}

/** A byte and the end of the pipe tell the process that started the service that it can be used. */
void tellReady( int descriptor, smbusd::Log &log ) {
    if ( descriptor < 0 ) {
        return;
    }
    if ( ::write( descriptor, "\n", 1 ) != 1 ) {
        log.warning( "nobody waits at the ready descriptor {}", descriptor );
    }
    ::close( descriptor );
}

int run( const Options &options ) {
    using namespace smbusd;
    Log log( logLevelFromName( options.logLevel ).value() );
    asio::io_context loop( 1 );
    AsioScheduler scheduler( loop );
    Hardware hardware( scheduler, log );
    loadHardware( options.config, hardware, linuxBusFactory( scheduler, log ) );
    if ( options.checkOnly ) {
        fmt::print( "{}: {} buses, {} chips\n", options.config, hardware.buses().size(),
                    hardware.chips().size() );
        return EXIT_SUCCESS;
    }

    const InheritedSockets inherited = inheritedSockets();
    const std::string control =
        options.control.empty() ? common::controlPathOf( options.socket ) : options.control;
    const auto socket = listenOn( inherited.service, options.socket, options.mode );
    const auto controlSocket = listenOn( inherited.control, control, options.mode );

    asio::signal_set signals( loop, SIGTERM, SIGINT );
    signals.async_wait( [ & ]( std::error_code error, int signal ) {
        if ( !error ) {
            log.info( "ends on signal {}", signal );
            loop.stop();
        }
    } );
    Dispatcher dispatcher( hardware );
    Service service( loop, *socket, hardware, dispatcher, options.maxClients );
    Control requests( hardware, dispatcher, [ &service ] { return service.clients(); } );
    ControlService controlService( loop, *controlSocket, requests, dispatcher );
    log.info( "listens on {}: {} buses, {} chips", socket->path(), hardware.buses().size(),
              hardware.chips().size() );
    tellReady( options.readyDescriptor, log );
    loop.run();
    return EXIT_SUCCESS;
}

} // namespace

int main( int argc, char **argv ) {
    Options options;
    CLI::App app( "SMBus service: carries out its clients' SMBus transactions on kernel adapters "
                  "and on buses of emulated chips." );
    app.add_option( "--config", options.config, "hardware.json: buses and emulated chips" )
        ->required();
    app.add_option( "--socket", options.socket, "Socket that clients connect to" )
        ->capture_default_str();
    app.add_option( "--control", options.control, "Control socket; SOCKET.control unless given" );
    app.add_option( "--mode", options.mode, "Mode of the socket files, octal" )
        ->capture_default_str()
        ->check( []( const std::string &text ) -> std::string {
            try {
                modeOf( text );
                return {};
            } catch ( const std::exception & ) {
                return "expected an octal mode such as 0600, not " + text;
            }
        } );
    app.add_option( "--log-level", options.logLevel, "error, warning, info or debug" )
        ->capture_default_str()
        ->check( CLI::IsMember( { "error", "warning", "info", "debug" } ) );
    app.add_option( "--max-clients", options.maxClients, "Clients connected at once" )
        ->capture_default_str();
    app.add_option( "--ready-fd", options.readyDescriptor,
                    "Descriptor that gets a line, and is closed, once the sockets are there" );
    app.add_flag( "--check", options.checkOnly, "Only check the configuration" );
    CLI11_PARSE( app, argc, argv );

    // Everything that the service writes to may be gone by then; write() says so as well.
    std::signal( SIGPIPE, SIG_IGN );
    try {
        return run( options );
    } catch ( const smbusd::ConfigError &error ) {
        fmt::print( stderr, "smbusd: {}\n", error.what() );
        return exitBadConfiguration;
    } catch ( const std::exception &error ) {
        fmt::print( stderr, "smbusd: {}\n", error.what() );
        return EXIT_FAILURE;
    }
}
