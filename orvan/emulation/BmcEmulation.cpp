#include "orvan/emulation/BmcEmulation.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <fmt/core.h>

#include "orvan/base/Errors.h"
#include "orvan/emulation/BmcProbe.h"
#include "orvan/emulation/PrivateFolder.h"

namespace orvan {

namespace fs = std::filesystem;

namespace {

constexpr const char *networkFile = "lan.conf";
constexpr const char *emulationFile = "bmc.emu";
constexpr const char *sensorFile = "bmc.sdrs";
constexpr const char *logFile = "log";
/** Where the simulator looks for the sensors of the BMC named "bmc" in its state's folder. */
constexpr const char *compiledSensors = "state/ipmi_sim/bmc/sdr.20.main";

constexpr int portAttempts = 5;
constexpr int probeIntervalMs = 20;
constexpr int politeEndMs = 1000;

std::string textOf( const fs::path &file ) {
    std::ifstream stream( file, std::ios::binary );
    return { std::istreambuf_iterator<char>( stream ), std::istreambuf_iterator<char>() };
}

void replaceAll( std::string &text, const std::string &from, const std::string &to ) {
    for ( std::size_t at = 0; ( at = text.find( from, at ) ) != std::string::npos;
          at += to.size() ) {
        text.replace( at, from.size(), to );
    }
}

/** In a child: becomes @p words in @p folder, with nothing to read and its output in the log. */
[[noreturn]] void become( std::vector<std::string> words, const std::string &folder ) {
    std::vector<char *> arguments;
    for ( std::string &word : words ) {
        arguments.push_back( word.data() );
    }
    arguments.push_back( nullptr );
    if ( ::chdir( folder.c_str() ) == 0 ) {
        const int nothing = ::open( "/dev/null", O_RDONLY );
        const int log = ::open( logFile, O_CREAT | O_WRONLY | O_TRUNC, 0600 );
        ::dup2( nothing, STDIN_FILENO );
        ::dup2( log, STDOUT_FILENO );
        ::dup2( log, STDERR_FILENO );
        ::execvp( arguments[ 0 ], arguments.data() );
        static_cast<void>( !::write( log, "cannot be started: ", 19 ) );
        const char *why = std::strerror( errno );
        static_cast<void>( !::write( log, why, std::strlen( why ) ) );
    }
    ::_exit( 127 );
}

void endChild( pid_t child ) {
    ::kill( child, SIGTERM );
    for ( int waited = 0; ::waitpid( child, nullptr, WNOHANG ) == 0; waited += probeIntervalMs ) {
        if ( waited >= politeEndMs ) {
            ::kill( child, SIGKILL );
            ::waitpid( child, nullptr, 0 );
            return;
        }
        ::poll( nullptr, 0, probeIntervalMs );
    }
}

/**
 * The life of the keeper, a process between this one and the simulator: whichever way this one ends,
 * the lifeline closes, and the keeper ends the simulator and removes its folder.
 */
[[noreturn]] void keep( const std::vector<std::string> &simulator, const std::string &folder,
                        int lifeline, int news ) {
    // A terminal's Ctrl-C is for orvan alone.
    ::setpgid( 0, 0 );
    for ( const int signal : { SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGABRT } ) {
        ::signal( signal, SIG_DFL );
    }
    sigset_t childEnds, before;
    sigemptyset( &childEnds );
    sigaddset( &childEnds, SIGCHLD );
    ::sigprocmask( SIG_BLOCK, &childEnds, &before );
    const int childNews = ::signalfd( -1, &childEnds, SFD_CLOEXEC );

    const pid_t child = ::fork();
    if ( child == 0 ) {
        ::sigprocmask( SIG_SETMASK, &before, nullptr );
        ::prctl( PR_SET_PDEATHSIG, SIGKILL );
        become( simulator, folder );
    }
    bool runs = child > 0;
    if ( !runs ) {
        ::close( news );
    }
    pollfd states[] = { { lifeline, POLLIN, 0 }, { childNews, POLLIN, 0 } };
    while ( ( states[ 0 ].revents & ( POLLIN | POLLHUP ) ) == 0 ) {
        ::poll( states, runs ? 2 : 1, -1 );
        if ( runs && ::waitpid( child, nullptr, WNOHANG ) == child ) {
            runs = false;
            ::close( news );
        }
    }
    if ( runs ) {
        endChild( child );
    }
    std::error_code ignored;
    fs::remove_all( folder, ignored );
    ::_exit( 0 );
}

} // namespace

bool BmcEmulation::isDescribedIn( const fs::path &board ) {
    return fs::exists( board / "bmc" );
}

BmcEmulation::BmcEmulation( const BmcOptions &options ) {
    for ( const char *file : { networkFile, emulationFile, sensorFile } ) {
        const fs::path path = options.board / "bmc" / file;
        if ( !fs::is_regular_file( path ) ) {
            throw BadInput( fmt::format( "{}: expected a file of the BMC", path.string() ) );
        }
    }
    try {
        for ( int attempt = 1;; ++attempt ) {
            folder_ = makePrivateFolder();
            copyFiles( options );
            compileSensors( options );
            choosePorts();
            start( options );
            if ( awaitAnswer( options ) ) {
                return;
            }
            // Somebody else may have taken a port meanwhile.
            if ( attempt == portAttempts ) {
                throw BadInput( fmt::format( "{} ended before the BMC answered: {}",
                                             options.simulator, complaint() ) );
            }
            end();
        }
    } catch ( ... ) {
        end();
        throw;
    }
}

BmcEmulation::~BmcEmulation() {
    end();
}

void BmcEmulation::copyFiles( const BmcOptions &options ) const {
    try {
        fs::copy( options.board / "bmc", folder_, fs::copy_options::recursive );
        fs::create_directories( ( fs::path( folder_ ) / compiledSensors ).parent_path() );
    } catch ( const fs::filesystem_error &error ) {
        throw BadInput( fmt::format( "cannot copy the BMC's files: {}", error.what() ) );
    }
}

void BmcEmulation::compileSensors( const BmcOptions &options ) const {
    // Plain names: the packed ones of the compiler's default are not read back as written.
    const std::vector<std::string> words = { options.sensorCompiler, "-8", "-o", compiledSensors,
                                             sensorFile };
    const pid_t child = ::fork();
    if ( child == 0 ) {
        become( words, folder_ );
    }
    int status = 0;
    ::waitpid( child, &status, 0 );
    if ( !WIFEXITED( status ) || WEXITSTATUS( status ) != 0 ) {
        throw BadInput( fmt::format( "{}: {} cannot compile it: {}",
                                     ( options.board / "bmc" / sensorFile ).string(),
                                     options.sensorCompiler, complaint() ) );
    }
}

void BmcEmulation::choosePorts() {
    port_ = freeUdpPort();
    console_ = freeTcpPort();
    std::string network = textOf( fs::path( folder_ ) / networkFile );
    replaceAll( network, "$LAN_PORT", std::to_string( port_ ) );
    replaceAll( network, "$CONSOLE_PORT", std::to_string( console_ ) );
    std::ofstream( fs::path( folder_ ) / networkFile, std::ios::binary ) << network;
}

void BmcEmulation::start( const BmcOptions &options ) {
    int lifeline[ 2 ], news[ 2 ];
    if ( ::pipe2( lifeline, O_CLOEXEC ) != 0 || ::pipe2( news, O_CLOEXEC ) != 0 ) {
        throw BadInput( fmt::format( "cannot make a pipe: {}", std::strerror( errno ) ) );
    }
    keeper_ = ::fork();
    if ( keeper_ == 0 ) {
        ::close( lifeline[ 1 ] );
        ::close( news[ 0 ] );
        keep( { options.simulator, "-c", networkFile, "-f", emulationFile, "-s", "state", "-n" },
              folder_, lifeline[ 0 ], news[ 1 ] );
    }
    ::close( lifeline[ 0 ] );
    ::close( news[ 1 ] );
    lifeline_ = lifeline[ 1 ];
    news_ = news[ 0 ];
    if ( keeper_ < 0 ) {
        throw BadInput(
            fmt::format( "cannot start {}: {}", options.simulator, std::strerror( errno ) ) );
    }
}

bool BmcEmulation::awaitAnswer( const BmcOptions &options ) {
    const BmcProbe probe( port_ );
    const auto limit = std::chrono::steady_clock::now() + options.startLimit;
    pollfd states[] = { { probe.descriptor(), POLLIN, 0 }, { news_, POLLIN, 0 } };
    while ( std::chrono::steady_clock::now() < limit ) {
        probe.ask();
        ::poll( states, std::size( states ), probeIntervalMs );
        if ( ( states[ 1 ].revents & POLLHUP ) != 0 ) {
            return false;
        }
        if ( probe.answered() ) {
            return true;
        }
        // Word that nobody listens yet comes at once.
        if ( states[ 0 ].revents != 0 ) {
            ::poll( &states[ 1 ], 1, probeIntervalMs );
        }
    }
    throw BadInput( fmt::format( "the BMC of {} does not answer after {} ms: {}", options.simulator,
                                 options.startLimit.count(), complaint() ) );
}

std::string BmcEmulation::complaint() const {
    std::string text = textOf( fs::path( folder_ ) / logFile );
    while ( !text.empty() && ( text.back() == '\n' || text.back() == ' ' ) ) {
        text.pop_back();
    }
    std::replace( text.begin(), text.end(), '\n', ' ' );
    return text.empty() ? "it says nothing" : text;
}

void BmcEmulation::end() {
    for ( int *fd : { &lifeline_, &news_ } ) {
        if ( *fd >= 0 ) {
            ::close( *fd );
        }
        *fd = -1;
    }
    if ( keeper_ > 0 ) {
        ::waitpid( keeper_, nullptr, 0 );
        keeper_ = -1;
    }
    if ( !folder_.empty() ) {
        std::error_code ignored;
        fs::remove_all( folder_, ignored );
        folder_.clear();
    }
}

} // namespace orvan
