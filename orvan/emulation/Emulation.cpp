#include "orvan/emulation/Emulation.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <poll.h>
#include <stdexcept>
#include <unistd.h>
#include <vector>

#include <fmt/core.h>

#include "common/SocketPaths.h"
#include "common/UnixSocket.h"
#include "orvan/base/Errors.h"

namespace orvan {

namespace {

constexpr std::array endingSignals = { SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGABRT };

// For the signal handler, which may use little else.
volatile pid_t runningService = -1;
volatile int endLimitMs = 0;
char socketToRemove[ 256 ];
char controlToRemove[ 256 ];
char folderToRemove[ 256 ];

void remember( char ( &to )[ 256 ], const std::string &text ) {
    const std::size_t length = std::min( text.size(), sizeof( to ) - 1 );
    std::memcpy( to, text.data(), length );
    to[ length ] = '\0';
}

void endOnSignal( int signal ) {
    const int savedErrno = errno;
    if ( runningService > 0 ) {
        common::endProcess( runningService, std::chrono::milliseconds( endLimitMs ) );
        runningService = -1;
        // The service removes them itself unless it was killed.
        ::unlink( socketToRemove );
        ::unlink( controlToRemove );
        if ( *folderToRemove ) {
            ::rmdir( folderToRemove );
        }
    }
    errno = savedErrno;
    // The default action ends the process as the signal's sender, or abort(), expects.
    ::signal( signal, SIG_DFL );
    ::raise( signal );
}

void handleSignals( void ( *handler )( int ) ) {
    struct sigaction action {};
    action.sa_handler = handler;
    sigemptyset( &action.sa_mask );
    for ( const int signal : endingSignals ) {
        ::sigaction( signal, &action, nullptr );
    }
}

} // namespace

bool accepts( const std::string &path ) {
    try {
        return !common::probe( common::UnixAddress( path ) );
    } catch ( const std::invalid_argument & ) { // no socket can be there
        return false;
    }
}

Emulation::Emulation( const EmulationOptions &options ) {
    if ( !std::filesystem::exists( options.hardware ) ) {
        throw BadInput( fmt::format( "{}: expected the emulated hardware's description",
                                     options.hardware.string() ) );
    }
    try {
        if ( options.socket.empty() ) {
            folder_.emplace();
        }
        socket_ = folder_ ? folder_->file( "smbusd.sock" ) : options.socket;
        control_ = options.control.empty() ? common::controlPathOf( socket_ ) : options.control;
        if ( !common::probe( common::UnixAddress( socket_ ) ) ) {
            throw BadInput( fmt::format( "{}: a service listens there already", socket_ ) );
        }
        common::Pipe ready = common::makePipe();
        start( options, ready.writeEnd );
        ready.writeEnd.close();
        awaitReady( options, ready.readEnd );
    } catch ( const BadInput & ) {
        end();
        throw;
    } catch ( const std::exception &error ) { // of the operating system, or a path that is too long
        end();
        throw BadInput( error.what() );
    }
}

Emulation::~Emulation() {
    end();
}

void Emulation::start( const EmulationOptions &options, const common::Descriptor &ready ) {
    remember( socketToRemove, socket_ );
    remember( controlToRemove, control_ );
    remember( folderToRemove, folder_ ? folder_->path() : std::string() );
    const std::vector<std::string> words = { options.service,
                                             "--socket",
                                             socket_,
                                             "--config",
                                             options.hardware.string(),
                                             "--log-level",
                                             options.logLevel,
                                             "--ready-fd",
                                             std::to_string( ready.get() ),
                                             "--control",
                                             control_ };
    common::ChildOptions how;
    how.descriptors = { { ready.get(), ready.get() } };
    how.signalAtParentsEnd = SIGTERM;
    // A terminal's Ctrl-C is for orvan alone, which ends the service in its own time.
    how.ownGroup = true;
    how.endLimit = options.endLimit;
    service_ = common::Child( words, how );
    endLimitMs = static_cast<int>( options.endLimit.count() );
    runningService = service_.pid();
    handleSignals( endOnSignal );
}

void Emulation::awaitReady( const EmulationOptions &options, const common::Descriptor &ready ) {
    pollfd state{ ready.get(), POLLIN, 0 };
    const auto limit = std::chrono::steady_clock::now() + options.startLimit;
    int events = 0;
    do {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            limit - std::chrono::steady_clock::now() );
        events = ::poll( &state, 1, static_cast<int>( std::max<long long>( left.count(), 0 ) ) );
    } while ( events < 0 && errno == EINTR );
    if ( events == 0 ) {
        throw BadInput( fmt::format( "{} does not listen on {} after {} ms", options.service,
                                     socket_, options.startLimit.count() ) );
    }
    char line = 0;
    if ( ::read( ready.get(), &line, 1 ) != 1 ) {
        // The pipe ended without the line: so did the service, whose own code a signal leaves alone.
        service_.signal( SIGKILL );
        runningService = -1;
        throw BadInput(
            fmt::format( "{} {} before it listened", options.service, service_.wait().text() ) );
    }
}

void Emulation::end() {
    if ( service_.pid() > 0 ) {
        service_.end();
        runningService = -1;
        handleSignals( SIG_DFL );
    }
    folder_.reset();
}

} // namespace orvan
