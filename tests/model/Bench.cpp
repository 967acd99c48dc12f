#include "tests/model/Bench.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <pl/host.h>

#include "OrvanGeneric/Utils.h"

namespace model {

namespace {

timespec realNow;

std::string inWords( const Traces &traces ) {
    std::string text;
    for ( const Trace &trace : traces ) {
        text += fmt::format( "    {} {}\n", trace.level, trace.text );
    }
    return text;
}

std::string inWords( const std::vector<Transaction> &log ) {
    std::string text;
    for ( const Transaction &transaction : log ) {
        text += "    " + inWords( transaction ) + "\n";
    }
    return text;
}

std::string inWords( const std::map<uint32_t, TimerState> &timers ) {
    std::string text;
    for ( const auto &[ handle, state ] : timers ) {
        text += fmt::format( "    timer {}: {} {} ms, armed {} times\n", handle,
                             state.armed ? "armed" : "idle", state.milliseconds, state.sets );
    }
    return text;
}

std::map<uint32_t, TimerState> realTimers() {
    std::map<uint32_t, TimerState> timers;
    for ( const auto &[ handle, timer ] : FakeHost::instance().timers ) {
        timers[ handle ] = { timer.armed, timer.milliseconds, timer.sets };
    }
    return timers;
}

uint64_t numberFromEnvironment( const char *name, uint64_t byDefault ) {
    const char *text = std::getenv( name );
    return text ? std::strtoull( text, nullptr, 10 ) : byDefault;
}

} // namespace

Service &realService() {
    static Service service;
    return service;
}

Bench::Bench( uint64_t seed ) : random( seed ), seed_( seed ) {
    realService() = {};
    FakeHost &host = FakeHost::instance();
    world.timers = realTimers();
    const uint32_t probe = pl_timer_add( nullptr, nullptr );
    pl_timer_delete( probe );
    world.nextTimer = probe + 1;
    host.deletedTimers.clear();
    world.now = { static_cast<time_t>( random.below( 5 ) ), random.between( 0, 999999999 ) };
    if ( random.oneIn( 2 ) ) {
        world.now.tv_sec += random.between( 0, 1 << 30 );
    }
    Utils::os.clockGettime = []( clockid_t, timespec *time ) {
        *time = realNow;
        return 0;
    };
    faultRate = random.of( { 0u, 1u, 2u, 4u, 20u } );
}

Bench::~Bench() {
    Utils::os.clockGettime = ::clock_gettime;
}

void Bench::change( uint8_t chip, const std::function<void( Chip & )> &change ) {
    Chip &modelled = world.service.chips[ chip ];
    change( modelled );
    realService().chips[ chip ] = modelled;
}

void Bench::setByte( uint8_t chip, uint32_t reg, uint8_t value ) {
    world.service.chips[ chip ].bytes.at( reg ) = value;
    realService().chips[ chip ].bytes.at( reg ) = value;
}

void Bench::setWord( uint8_t chip, uint32_t reg, uint16_t value ) {
    world.service.chips[ chip ].words.at( reg ) = value;
    realService().chips[ chip ].words.at( reg ) = value;
}

void Bench::pass( int seconds, int nanoseconds ) {
    constexpr long second = 1000000000;
    timespec &now = world.now;
    now.tv_sec += seconds;
    now.tv_nsec += nanoseconds;
    if ( now.tv_nsec >= second ) {
        now.tv_nsec -= second;
        ++now.tv_sec;
    }
}

void Bench::spoil() {
    if ( faultRate == 0 || !random.oneIn( faultRate ) ) {
        return;
    }
    const int transactions = random.between( 1, 4 );
    for ( int n = 0; n < transactions; ++n ) {
        Fault fault;
        if ( random.oneIn( 2 ) ) {
            fault.kind = static_cast<Fault::Kind>( random.between( 1, Fault::Kinds - 1 ) );
            fault.at = random.below( 12 );
            fault.error = random.of( { ECONNRESET, ETIMEDOUT, EPIPE, EBADMSG, ECONNREFUSED } );
            if ( random.oneIn( 2 ) ) {
                fault.reason = fmt::format( "request {} of some: no acknowledge", fault.at );
            }
        }
        faults_.push_back( fault );
    }
}

void Bench::fire( uint32_t timer ) {
    FakeHost::instance().fire( timer );
}

std::string Bench::told( int status, double value ) {
    return fmt::format( "{} {}", status, value );
}

void Bench::checkThatAborts( const std::function<void()> &real, const std::string &assertion ) {
    int ends[ 2 ];
    if ( pipe( ends ) != 0 ) {
        throw std::system_error( errno, std::generic_category(), "pipe" );
    }
    const pid_t child = fork();
    if ( child == 0 ) {
        dup2( ends[ 1 ], STDERR_FILENO );
        const rlimit noCore{ 0, 0 };
        setrlimit( RLIMIT_CORE, &noCore );
        beginReal();
        real();
        _exit( 0 );
    }
    close( ends[ 1 ] );
    std::string said;
    char buffer[ 512 ];
    for ( ssize_t got; ( got = read( ends[ 0 ], buffer, sizeof( buffer ) ) ) > 0; ) {
        said.append( buffer, static_cast<size_t>( got ) );
    }
    close( ends[ 0 ] );
    int status = 0;
    waitpid( child, &status, 0 );
    if ( !WIFSIGNALED( status ) || WTERMSIG( status ) != SIGABRT ||
         said.find( assertion ) == std::string::npos ) {
        throw Disagreement{ report( "ends with " + std::to_string( status ) + ": " + said,
                                    "aborts on " + assertion ) };
    }
}

void Bench::begin( const std::string &what ) {
    ++steps;
    std::string line = what;
    for ( const Fault &fault : faults_ ) {
        line += "; " + inWords( fault );
    }
    line += world.refuseTimerSet ? "; timers refused" : "";
    history_.push_back( line );
    if ( history_.size() > 20 ) {
        history_.pop_front();
    }
    spoiled += !faults_.empty();
    world.traces.clear();
    world.service.log.clear();
    world.service.faults = faults_;
}

void Bench::beginReal() {
    FakeHost &host = FakeHost::instance();
    host.traces.clear();
    host.refuseTimerSet = world.refuseTimerSet;
    realNow = world.now;
    realService().log.clear();
    realService().faults = faults_;
}

void Bench::compare( const std::string &got, const std::string &expected ) {
    faults_.clear();
    world.service.faults.clear();
    const Service &real = realService();
    const Service &modelled = world.service;
    if ( got != expected || real.log != modelled.log || real.chips != modelled.chips ||
         FakeHost::instance().traces != world.traces || realTimers() != world.timers ) {
        throw Disagreement{ report( got, expected ) };
    }
}

std::string Bench::report( const std::string &got, const std::string &expected ) const {
    std::string text =
        fmt::format( "Driver and model disagree after {} steps. The last ones:\n", steps );
    for ( const std::string &line : history_ ) {
        text += "  " + line + "\n";
    }
    const auto side = [ & ]( const char *name, const std::string &outcome, const Service &service,
                             const Traces &traces, const std::map<uint32_t, TimerState> &timers ) {
        text += fmt::format( "{}: {}\n  bus:\n{}  traces:\n{}  timers:\n{}", name, outcome,
                             inWords( service.log ), inWords( traces ), inWords( timers ) );
    };
    side( "DRIVER", got, realService(), FakeHost::instance().traces, realTimers() );
    side( "MODEL", expected, world.service, world.traces, world.timers );
    if ( realService().chips != world.service.chips ) {
        text += "The chips hold different values.\n";
    }
    return text + fmt::format( "Again with: ORVAN_MODEL_SEED={}\n", seed_ );
}

void runInStep( const std::function<std::unique_ptr<Life>( Bench & )> &makeLife ) {
    const uint64_t steps = numberFromEnvironment( "ORVAN_MODEL_STEPS", 10000 );
    uint64_t seed = numberFromEnvironment( "ORVAN_MODEL_SEED", 1 );
    uint64_t done = 0;
    uint64_t spoiled = 0;
    uint64_t aborting = 0;
    uint64_t lives = 0;
    for ( ; done < steps; ++seed, ++lives ) {
        Bench bench( seed );
        try {
            const std::unique_ptr<Life> life = makeLife( bench );
            const uint64_t span = bench.random.below( 400 );
            while ( bench.steps < span ) {
                bench.spoil();
                life->step();
            }
            life->end();
        } catch ( const Disagreement &disagreement ) {
            ADD_FAILURE() << disagreement.report;
            return;
        }
        done += bench.steps;
        spoiled += bench.spoiled;
        aborting += bench.aborting;
    }
    fmt::print( "{} steps in {} lives, {} under faults, {} left out because they abort\n", done,
                lives, spoiled, aborting );
    EXPECT_GE( spoiled, done / 100 );
}

} // namespace model
