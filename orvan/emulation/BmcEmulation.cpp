#include "orvan/emulation/BmcEmulation.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <poll.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

#include <fmt/core.h>

#include "common/Child.h"
#include "orvan/base/Errors.h"
#include "orvan/emulation/BmcProbe.h"

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
constexpr std::chrono::milliseconds politeEnd{ 1000 };

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

/** Starts @p words in @p folder, with nothing to read and its output in the log there. */
common::Child startLogged( const std::vector<std::string> &words, const std::string &folder ) {
    const common::Descriptor nothing( ::open( "/dev/null", O_RDONLY | O_CLOEXEC ) );
    const common::Descriptor log( ::open( ( folder + "/" + logFile ).c_str(),
                                          O_CREAT | O_WRONLY | O_TRUNC | O_CLOEXEC, 0600 ) );
    common::ChildOptions how;
    how.folder = folder;
    how.descriptors = { { STDIN_FILENO, nothing.get() },
                        { STDOUT_FILENO, log.get() },
                        { STDERR_FILENO, log.get() } };
    how.signalAtParentsEnd = SIGKILL;
    how.endLimit = politeEnd;
    try {
        return common::Child( words, how );
    } catch ( const std::system_error &error ) { // told as whatever else the program says
        const std::string why = "cannot be started: " + error.code().message();
        static_cast<void>( !::write( log.get(), why.data(), why.size() ) );
        return {};
    }
}

/**
 * The life of the keeper, a process between this one and the simulator: whichever way this one ends,
 * the lifeline closes, and the keeper ends the simulator and removes its folder.
 */
[[noreturn]] void keep( const std::vector<std::string> &simulator, const std::string &folder,
                        const common::Descriptor &lifeline, common::Descriptor &news ) {
    // A terminal's Ctrl-C is for orvan alone.
    ::setpgid( 0, 0 );
    for ( const int signal : { SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGABRT } ) {
        ::signal( signal, SIG_DFL );
    }
    sigset_t childEnds;
    sigemptyset( &childEnds );
    sigaddset( &childEnds, SIGCHLD );
    ::sigprocmask( SIG_BLOCK, &childEnds, nullptr );
    const common::Descriptor childNews( ::signalfd( -1, &childEnds, SFD_CLOEXEC ) );

    common::Child child = startLogged( simulator, folder );
    pollfd states[] = { { lifeline.get(), POLLIN, 0 }, { childNews.get(), POLLIN, 0 } };
    while ( ( states[ 0 ].revents & ( POLLIN | POLLHUP ) ) == 0 ) {
        if ( !child.runs() ) {
            news.close();
        }
        ::poll( states, news ? 2 : 1, -1 );
    }
    child.end();
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
            folder_.emplace();
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
    } catch ( const std::system_error &error ) {
        end();
        throw BadInput( error.what() );
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
        fs::copy( options.board / "bmc", folder_->path(), fs::copy_options::recursive );
        fs::create_directories( ( fs::path( folder_->path() ) / compiledSensors ).parent_path() );
    } catch ( const fs::filesystem_error &error ) {
        throw BadInput( fmt::format( "cannot copy the BMC's files: {}", error.what() ) );
    }
}

void BmcEmulation::compileSensors( const BmcOptions &options ) const {
    // Plain names: the packed ones of the compiler's default are not read back as written.
    const std::vector<std::string> words = { options.sensorCompiler, "-8", "-o", compiledSensors,
                                             sensorFile };
    common::Child compiler = startLogged( words, folder_->path() );
    if ( compiler.pid() < 0 || !compiler.wait().good() ) {
        throw BadInput( fmt::format( "{}: {} cannot compile it: {}",
                                     ( options.board / "bmc" / sensorFile ).string(),
                                     options.sensorCompiler, complaint() ) );
    }
}

void BmcEmulation::choosePorts() {
    port_ = freeUdpPort();
    console_ = freeTcpPort();
    std::string network = textOf( fs::path( folder_->path() ) / networkFile );
    replaceAll( network, "$LAN_PORT", std::to_string( port_ ) );
    replaceAll( network, "$CONSOLE_PORT", std::to_string( console_ ) );
    std::ofstream( fs::path( folder_->path() ) / networkFile, std::ios::binary ) << network;
}

void BmcEmulation::start( const BmcOptions &options ) {
    common::Pipe lifeline = common::makePipe();
    common::Pipe news = common::makePipe();
    keeper_ = ::fork();
    if ( keeper_ == 0 ) {
        lifeline.writeEnd.close();
        news.readEnd.close();
        keep( { options.simulator, "-c", networkFile, "-f", emulationFile, "-s", "state", "-n" },
              folder_->path(), lifeline.readEnd, news.writeEnd );
    }
    if ( keeper_ < 0 ) {
        throw BadInput(
            fmt::format( "cannot start {}: {}", options.simulator, std::strerror( errno ) ) );
    }
    lifeline_ = std::move( lifeline.writeEnd );
    news_ = std::move( news.readEnd );
}

bool BmcEmulation::awaitAnswer( const BmcOptions &options ) {
    const BmcProbe probe( port_ );
    const auto limit = std::chrono::steady_clock::now() + options.startLimit;
    pollfd states[] = { { probe.descriptor(), POLLIN, 0 }, { news_.get(), POLLIN, 0 } };
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
    std::string text = textOf( fs::path( folder_->path() ) / logFile );
    while ( !text.empty() && ( text.back() == '\n' || text.back() == ' ' ) ) {
        text.pop_back();
    }
    std::replace( text.begin(), text.end(), '\n', ' ' );
    return text.empty() ? "it says nothing" : text;
}

void BmcEmulation::end() {
    lifeline_.close();
    news_.close();
    if ( keeper_ > 0 ) {
        ::waitpid( keeper_, nullptr, 0 );
        keeper_ = -1;
    }
    folder_.reset();
}

} // namespace orvan
