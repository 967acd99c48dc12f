#include "orvan/emulation/Emulation.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <fmt/core.h>

#include "orvan/base/Errors.h"
#include "orvan/emulation/PrivateFolder.h"

namespace orvan {

namespace {

constexpr int probeIntervalMs = 5;
constexpr int execFailed = 127;
constexpr const char *controlSuffix = ".control"; // where smbusctl looks, given the socket
constexpr std::array endingSignals = { SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGABRT };

// For the signal handler, which may use little else.
volatile pid_t runningService = -1;
volatile int endLimitMs = 0;
char socketToRemove[ 256 ];
char controlToRemove[ 256 ];
char folderToRemove[ 256 ];

/** Closes a descriptor at the end of its scope. */
struct Descriptor {
    explicit Descriptor( int fd ) : number( fd ) {}
    ~Descriptor() { ::close( number ); }
    Descriptor( const Descriptor & ) = delete;
    Descriptor &operator=( const Descriptor & ) = delete;
    const int number;
};

void remember( char ( &to )[ 256 ], const std::string &text ) {
    const std::size_t length = std::min( text.size(), sizeof( to ) - 1 );
    std::memcpy( to, text.data(), length );
    to[ length ] = '\0';
}

/**
 * Ends the service, politely first. Only async-signal-safe calls: a signal handler ends it too, and
 * then the library may be anywhere.
 */
void endService( pid_t pid ) {
    ::kill( pid, SIGTERM );
    for ( int waited = 0; ::waitpid( pid, nullptr, WNOHANG ) == 0; waited += probeIntervalMs ) {
        if ( waited >= endLimitMs ) {
            ::kill( pid, SIGKILL );
            ::waitpid( pid, nullptr, 0 );
            break;
        }
        ::poll( nullptr, 0, probeIntervalMs );
    }
}

void endOnSignal( int signal ) {
    const int savedErrno = errno;
    if ( runningService > 0 ) {
        endService( runningService );
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

bool fillAddress( const std::string &path, sockaddr_un &address ) {
    address = {};
    address.sun_family = AF_UNIX;
    if ( path.size() >= sizeof( address.sun_path ) ) {
        return false;
    }
    std::memcpy( address.sun_path, path.c_str(), path.size() + 1 );
    return true;
}

std::string endText( int status ) {
    if ( WIFEXITED( status ) ) {
        return WEXITSTATUS( status ) == execFailed
                   ? std::string( "could not be started" )
                   : fmt::format( "ended with {}", WEXITSTATUS( status ) );
    }
    return fmt::format( "was ended by signal {}", WTERMSIG( status ) );
}

} // namespace

bool accepts( const std::string &path ) {
    sockaddr_un address;
    if ( !fillAddress( path, address ) ) {
        return false;
    }
    const int fd = ::socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 );
    if ( fd < 0 ) {
        return false;
    }
    const bool connected =
        ::connect( fd, reinterpret_cast<const sockaddr *>( &address ), sizeof( address ) ) == 0;
    ::close( fd );
    return connected;
}

Emulation::Emulation( const EmulationOptions &options ) {
    if ( !std::filesystem::exists( options.hardware ) ) {
        throw BadInput( fmt::format( "{}: expected the emulated hardware's description",
                                     options.hardware.string() ) );
    }
    if ( options.socket.empty() ) {
        folder_ = makePrivateFolder();
        socket_ = folder_ + "/smbusd.sock";
    } else {
        socket_ = options.socket;
    }
    control_ = options.control.empty() ? socket_ + controlSuffix : options.control;
    try {
        sockaddr_un address;
        if ( !fillAddress( socket_, address ) ) {
            throw BadInput( fmt::format( "{}: a socket's path is at most {} characters long",
                                         socket_, sizeof( address.sun_path ) - 1 ) );
        }
        if ( accepts( socket_ ) ) {
            throw BadInput( fmt::format( "{}: a service listens there already", socket_ ) );
        }
        int pipe[ 2 ];
        if ( ::pipe2( pipe, O_CLOEXEC ) != 0 ) {
            throw BadInput( fmt::format( "cannot make a pipe: {}", std::strerror( errno ) ) );
        }
        const Descriptor ready( pipe[ 0 ] );
        {
            const Descriptor readyWriter( pipe[ 1 ] );
            start( options, readyWriter.number );
        }
        awaitReady( options, ready.number );
    } catch ( ... ) {
        end();
        throw;
    }
}

Emulation::~Emulation() {
    end();
}

void Emulation::start( const EmulationOptions &options, int ready ) {
    std::vector<std::string> words = {
        options.service,           "--socket",    socket_,          "--config",
        options.hardware.string(), "--log-level", options.logLevel, "--ready-fd",
        std::to_string( ready ),   "--control",   control_ };
    std::vector<char *> arguments;
    for ( std::string &word : words ) {
        arguments.push_back( word.data() );
    }
    arguments.push_back( nullptr );

    remember( socketToRemove, socket_ );
    remember( controlToRemove, control_ );
    remember( folderToRemove, folder_ );
    const pid_t parent = ::getpid();
    pid_ = ::fork();
    if ( pid_ < 0 ) {
        throw BadInput(
            fmt::format( "cannot start {}: {}", options.service, std::strerror( errno ) ) );
    }
    if ( pid_ == 0 ) {
        ::prctl( PR_SET_PDEATHSIG, SIGTERM );
        if ( ::getppid() != parent ) { // it died before the kernel was told
            ::_exit( execFailed );
        }
        // A terminal's Ctrl-C is for orvan alone, which ends the service in its own time.
        ::setpgid( 0, 0 );
        ::fcntl( ready, F_SETFD, 0 );
        ::execvp( arguments[ 0 ], arguments.data() );
        ::_exit( execFailed );
    }
    endLimitMs = static_cast<int>( options.endLimit.count() );
    runningService = pid_;
    handleSignals( endOnSignal );
}

void Emulation::awaitReady( const EmulationOptions &options, int ready ) {
    pollfd state{ ready, POLLIN, 0 };
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
    if ( ::read( ready, &line, 1 ) != 1 ) { // the pipe ended without the line: the service did too
        int status = 0;
        ::kill( pid_, SIGKILL ); // no effect on one that is ending; its own code stays
        ::waitpid( pid_, &status, 0 );
        pid_ = -1;
        runningService = -1;
        throw BadInput(
            fmt::format( "{} {} before it listened", options.service, endText( status ) ) );
    }
}

void Emulation::end() {
    if ( pid_ > 0 ) {
        endService( pid_ );
        pid_ = -1;
        runningService = -1;
        handleSignals( SIG_DFL );
    }
    if ( !folder_.empty() ) {
        ::unlink( socket_.c_str() );
        ::unlink( control_.c_str() );
        ::rmdir( folder_.c_str() );
        folder_.clear();
    }
}

} // namespace orvan
