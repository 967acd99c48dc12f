#include "common/Child.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <string_view>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include <fmt/core.h>

#include "common/Descriptor.h"

namespace common {

namespace {

constexpr int notExecuted = 127; // as a shell says it
constexpr int probeIntervalMs = 5;

/** What execvpe() takes: pointers to texts that live elsewhere, and a null. */
std::vector<char *> pointersTo( std::vector<std::string> &texts ) {
    std::vector<char *> pointers;
    pointers.reserve( texts.size() + 1 );
    for ( std::string &text : texts ) {
        pointers.push_back( text.data() );
    }
    pointers.push_back( nullptr );
    return pointers;
}

std::string_view nameIn( std::string_view entry ) {
    return entry.substr( 0, entry.find( '=' ) );
}

/** This process's environment with @p changes in it. */
std::vector<std::string> changedEnvironment( const std::vector<std::string> &changes ) {
    std::vector<std::string> entries;
    for ( char **entry = ::environ; entry != nullptr && *entry != nullptr; ++entry ) {
        const bool replaced =
            std::any_of( changes.begin(), changes.end(), [ entry ]( const std::string &change ) {
                return nameIn( change ) == nameIn( *entry );
            } );
        if ( !replaced ) {
            entries.emplace_back( *entry );
        }
    }
    entries.insert( entries.end(), changes.begin(), changes.end() );
    return entries;
}

/** Everything that the new process needs, made before the fork: after it, allocating is not safe. */
class Start {
  public:
    Start( const std::vector<std::string> &words, const ChildOptions &options )
        : words_( words ), environment_( changedEnvironment( options.environment ) ),
          arguments_( pointersTo( words_ ) ), variables_( pointersTo( environment_ ) ),
          options_( options ), kept_( options.descriptors.size() ), parent_( ::getpid() ) {}

    /** In the new process: becomes the program. Returns only if that fails, with errno set. */
    void become( int &news ) {
        if ( options_.ownGroup ) {
            ::setpgid( 0, 0 );
        }
        if ( options_.signalAtParentsEnd != 0 ) {
            ::prctl( PR_SET_PDEATHSIG, options_.signalAtParentsEnd );
            if ( ::getppid() != parent_ ) { // it ended before the kernel was told
                ::_exit( notExecuted );
            }
        }
        if ( !options_.folder.empty() && ::chdir( options_.folder.c_str() ) != 0 ) {
            return;
        }
        if ( placeDescriptors( news ) ) {
            resetSignals();
            ::execvpe( arguments_[ 0 ], arguments_.data(), variables_.data() );
        }
    }

  private:
    /** Two steps, so that none takes the number of one that is still to be moved. */
    bool placeDescriptors( int &news ) {
        int above = STDERR_FILENO;
        for ( const auto &[ there, here ] : options_.descriptors ) {
            above = std::max( above, there );
        }
        news = ::fcntl( news, F_DUPFD_CLOEXEC, above + 1 );
        for ( size_t i = 0; i < kept_.size(); ++i ) {
            kept_[ i ] = ::fcntl( options_.descriptors[ i ].second, F_DUPFD_CLOEXEC, above + 1 );
            if ( kept_[ i ] < 0 ) {
                return false;
            }
        }
        for ( size_t i = 0; i < kept_.size(); ++i ) {
            if ( ::dup2( kept_[ i ], options_.descriptors[ i ].first ) < 0 ) {
                return false;
            }
        }
        return true;
    }

    static void resetSignals() {
        struct sigaction standard {};
        standard.sa_handler = SIG_DFL;
        for ( int signal = 1; signal < NSIG; ++signal ) {
            struct sigaction now {};
            if ( ::sigaction( signal, nullptr, &now ) == 0 && now.sa_handler != SIG_IGN ) {
                ::sigaction( signal, &standard, nullptr );
            }
        }
        sigset_t none;
        sigemptyset( &none );
        ::sigprocmask( SIG_SETMASK, &none, nullptr );
    }

    std::vector<std::string> words_;
    std::vector<std::string> environment_;
    std::vector<char *> arguments_;
    std::vector<char *> variables_;
    const ChildOptions &options_;
    std::vector<int> kept_;
    pid_t parent_;
};

/** A fork whose child meets no signal before it has put its handlers away. */
pid_t forkWithoutSignals() {
    sigset_t all;
    sigset_t before;
    sigfillset( &all );
    ::pthread_sigmask( SIG_SETMASK, &all, &before );
    const pid_t child = ::fork();
    if ( child != 0 ) {
        const int error = errno;
        ::pthread_sigmask( SIG_SETMASK, &before, nullptr );
        errno = error;
    }
    return child;
}

ChildEnd endOf( int status ) {
    ChildEnd end;
    if ( WIFEXITED( status ) ) {
        end.exitCode = WEXITSTATUS( status );
    } else {
        end.signal = WTERMSIG( status );
    }
    return end;
}

ChildEnd collect( pid_t pid ) {
    int status = 0;
    while ( ::waitpid( pid, &status, 0 ) < 0 && errno == EINTR ) {
    }
    return endOf( status );
}

} // namespace

std::string ChildEnd::text() const {
    return signal != 0 ? fmt::format( "was ended by signal {}", signal )
                       : fmt::format( "ended with {}", exitCode );
}

Child::Child( const std::vector<std::string> &words, const ChildOptions &options )
    : endLimit_( options.endLimit ) {
    Start start( words, options );
    // Closes with the exec; what comes before is the reason why there is none.
    Pipe news = makePipe();
    pid_ = forkWithoutSignals();
    if ( pid_ == 0 ) {
        int number = news.writeEnd.get();
        start.become( number );
        const int error = errno;
        static_cast<void>( !::write( number, &error, sizeof( error ) ) );
        ::_exit( notExecuted );
    }
    int error = errno;
    news.writeEnd.close();
    if ( pid_ > 0 ) {
        const std::string reason = readAll( news.readEnd );
        if ( reason.size() != sizeof( error ) ) {
            return;
        }
        reason.copy( reinterpret_cast<char *>( &error ), sizeof( error ) );
        collect( std::exchange( pid_, -1 ) );
    }
    throw std::system_error( error, std::generic_category(), "cannot start " + words.at( 0 ) );
}

Child::Child( Child &&other ) noexcept
    : pid_( std::exchange( other.pid_, -1 ) ), endLimit_( other.endLimit_ ) {}

Child &Child::operator=( Child &&other ) noexcept {
    if ( this != &other ) {
        end();
        pid_ = std::exchange( other.pid_, -1 );
        endLimit_ = other.endLimit_;
    }
    return *this;
}

Child::~Child() {
    end();
}

bool Child::runs() {
    if ( pid_ > 0 && ::waitpid( pid_, nullptr, WNOHANG ) != 0 ) {
        pid_ = -1;
    }
    return pid_ > 0;
}

void Child::signal( int signal ) const {
    if ( pid_ > 0 ) {
        ::kill( pid_, signal );
    }
}

ChildEnd Child::wait() {
    return collect( std::exchange( pid_, -1 ) );
}

ChildEnd Child::end() {
    return pid_ > 0 ? endProcess( std::exchange( pid_, -1 ), endLimit_ ) : ChildEnd();
}

ChildEnd endProcess( pid_t pid, std::chrono::milliseconds limit ) noexcept {
    ::kill( pid, SIGTERM );
    int status = 0;
    for ( int waited = 0; ::waitpid( pid, &status, WNOHANG ) == 0; waited += probeIntervalMs ) {
        if ( waited >= limit.count() ) {
            ::kill( pid, SIGKILL );
            return collect( pid );
        }
        ::poll( nullptr, 0, probeIntervalMs );
    }
    return endOf( status );
}

} // namespace common
