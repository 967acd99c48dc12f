#include "orvan/Program.h"

#include <cstdlib>
#include <optional>

#include <fmt/core.h>

#include "orvan/base/Paths.h"
#include "orvan/emulation/BmcEmulation.h"
#include "orvan/emulation/Emulation.h"

namespace orvan {

namespace {

constexpr const char *bmcPortVariable = "ORVAN_BMC_PORT";
constexpr const char *bmcConsoleVariable = "ORVAN_BMC_CONSOLE";
constexpr int highestTraceLevel = 7;

struct Options {
    std::string board;
    std::string library;
    std::string service;
    std::string socket;
    std::string control;
    std::string serviceLog = "warning";
    int traceLevel = -1;
    bool emulate = false;
    bool skipWaits = false;
};

void defineOptions( CLI::App &app, Options &options ) {
    app.add_option( "--board", options.board,
                    "The board's folder: topology.json, peripherals.json, hardware.json" )
        ->required();
    app.add_flag(
        "--emulate", options.emulate,
        "Start a private SMBus service on the board's hardware.json for this run, and a\n"
        "simulated BMC if the board has one (bmc/); its ports are in $ORVAN_BMC_PORT and\n"
        "$ORVAN_BMC_CONSOLE" );
    app.add_option(
        "--library", options.library,
        "The driver library; default: the one this program was built or installed with" );
    app.add_option(
        "--socket", options.socket,
        "The SMBus service's socket; default: $PL_SMBUS_SOCKET or /run/smbusd.sock; with "
        "--emulate where the private service listens, by default in a private folder" );
    app.add_option(
           "--control", options.control,
           "With --emulate: the private service's control socket, for smbusctl; default: the "
           "socket's path and .control" )
        ->needs( "--emulate" );
    app.add_option( "--service", options.service,
                    "With --emulate: the service's program; default: smbusd beside this program" )
        ->needs( "--emulate" );
    app.add_option( "--service-log", options.serviceLog,
                    "With --emulate: what the service logs on standard error" )
        ->needs( "--emulate" )
        ->check( CLI::IsMember( { "error", "warning", "info", "debug" } ) );
    app.add_option( "--trace", options.traceLevel,
                    "Print the library's traces up to this level (0 to 7) on standard error" )
        ->check( CLI::Range( 0, highestTraceLevel ) );
    app.add_flag( "--skip-waits", options.skipWaits,
                  "Let the library's timers fire without waiting for them in real time" );
    app.footer(
        "Exit codes: 0 done (show: also with readings that fail); 1 something on the board failed; "
        "2 the command line, the board's\n"
        "files or the service are not usable, and nothing was done.\n"
        "Statuses: ok, not present, fault, invalid, transport, unsupported, failed.\n"
        "With SIMULATION_VMID in the environment the library works on simulation files in\n"
        "$ORVANLIB_SIMDIR instead of buses; a service must accept connections all the same." );
}

/** Loads the board. False: it has mistakes, which have been reported. */
bool load( const Options &options, Board &board, const Streams &streams ) {
    Problems problems;
    loadBoard( options.board, board, problems );
    streams.error << problems.text();
    return !problems.hasErrors();
}

/** The emulated hardware of one run; it ends with the object. */
struct EmulatedHardware {
    EmulatedHardware( const Options &options, const Board &board )
        : service( EmulationOptions{
              options.service.empty() ? defaultServicePath() : options.service, board.hardware(),
              options.socket, options.control, options.serviceLog } ) {
        if ( BmcEmulation::isDescribedIn( board.folder ) ) {
            bmc.emplace( BmcOptions{ board.folder } );
            ::setenv( bmcPortVariable, std::to_string( bmc->port() ).c_str(), 1 );
            ::setenv( bmcConsoleVariable, std::to_string( bmc->console() ).c_str(), 1 );
        }
    }

    Emulation service;
    std::optional<BmcEmulation> bmc; // of boards that have one
};

ExitCode runOnBoard( const Options &options, const Board &board, Command &command,
                     const Streams &streams ) {
    std::optional<EmulatedHardware> emulated;
    if ( options.emulate ) {
        emulated.emplace( options, board );
    }
    // The library's client reads the variable when the first kind is initialised.
    const std::string socket = emulated ? emulated->service.socket() : options.socket;
    if ( !socket.empty() ) {
        ::setenv( socketVariable, socket.c_str(), 1 );
    }
    const std::string effectiveSocket = socketPath();

    bool callbackThrew = false;
    SystemClock systemClock;
    SkippingClock skippingClock;
    HostServices host( options.skipWaits ? static_cast<HostClock &>( skippingClock )
                                         : systemClock );
    host.traceTo( options.traceLevel, [ &streams ]( int level, std::string_view text ) {
        streams.error << fmt::format( "trace {}: {}\n", level, text );
    } );
    host.reportTo( [ &streams, &callbackThrew ]( const std::string &what ) {
        callbackThrew = true;
        streams.error << "error: " << what << '\n';
    } );

    const Library library( options.library.empty() ? defaultLibraryPath() : options.library );
    if ( !emulated && !accepts( effectiveSocket ) ) {
        streams.error << fmt::format(
            "no SMBus service at {} yet; the library waits up to 30 s for it\n", effectiveSocket );
    }
    Session session( board, library, host, effectiveSocket );
    const ExitCode code = command.run( session, streams );
    return code == ExitCode::Ok && callbackThrew ? ExitCode::Failed : code;
}

ExitCode checkOnly( const Board &board, const Streams &streams ) {
    streams.out << fmt::format( "{}: good, {} peripherals\n", board.folder.string(),
                                board.peripherals.size() );
    return ExitCode::Ok;
}

} // namespace

int runProgram( int argc, const char *const *argv, const Streams &streams ) {
    CLI::App app(
        "Brings a board up through its driver library, shows its peripherals and sets them.",
        "orvan" );
    Options options;
    defineOptions( app, options );
    app.require_subcommand( 1 );
    app.fallthrough();
    Commands commands = boardCommands();
    commands.push_back( shellCommand() );
    const CommandLine commandLine( app, commands );
    const CLI::App *check =
        app.add_subcommand( "check", "Check the board's files without bringing it up" );
    try {
        app.parse( argc, argv );
    } catch ( const CLI::ParseError &error ) {
        return app.exit( error, streams.out, streams.error ) == 0
                   ? static_cast<int>( ExitCode::Ok )
                   : static_cast<int>( ExitCode::BadInput );
    }
    ExitCode code = ExitCode::BadInput;
    try {
        Board board;
        if ( load( options, board, streams ) ) {
            code = check->parsed() ? checkOnly( board, streams )
                                   : runOnBoard( options, board, *commandLine.chosen(), streams );
        }
    } catch ( const BadInput &error ) {
        streams.error << "error: " << error.what() << '\n';
    } catch ( const Failure &error ) {
        streams.error << "error: " << error.what() << '\n';
        code = ExitCode::Failed;
    }
    streams.out.flush();
    return static_cast<int>( code );
}

} // namespace orvan
