#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

/**
 * The host as the library sees it in unit tests: it keeps every trace, and its timers fire when the
 * test says so. Every test runs in a process of its own, so there is nothing to reset.
 */
class FakeHost {
  public:
    struct Trace {
        int level;
        std::string text;
        bool operator==( const Trace &other ) const {
            return level == other.level && text == other.text;
        }
    };
    struct Timer {
        void ( *callback )( void * );
        void *context;
        bool armed = false;
        uint32_t milliseconds = 0;
        int sets = 0; ///< how often it was armed
    };

    /** The one host of the process. */
    static FakeHost &instance();

    std::vector<Trace> traces;
    std::map<uint32_t, Timer> timers;
    std::vector<uint32_t> deletedTimers;
    std::vector<uint32_t> deletedWatchers;
    bool refuseTimers = false;   ///< pl_timer_add answers 0
    bool refuseTimerSet = false; ///< pl_timer_set fails
    bool dropTraces = false;     ///< pl_trace keeps nothing, and allocates nothing

    bool traced( int level, const std::string &text ) const {
        return std::find( traces.begin(), traces.end(), Trace{ level, text } ) != traces.end();
    }
    /** The texts traced at @p level, in order. */
    std::vector<std::string> texts( int level ) const;
    /** Disarms an armed timer and runs its callback; false when it is not armed. */
    bool fire( uint32_t timer );
    /** Fires every armed timer once, in the order of their handles; tells how many there were. */
    int fireAll();
};

/** Prints a trace in test failures. */
void PrintTo( const FakeHost::Trace &trace, std::ostream *out );

/** Shorthand for expected trace lists. */
using Trace = FakeHost::Trace;
using Traces = std::vector<FakeHost::Trace>;

/**
 * Stands in for the operating system's clock and pauses while it lives: the monotonic clock shows
 * `now`, and pauses are recorded instead of slept.
 */
class FakeTime {
  public:
    FakeTime();
    ~FakeTime();

    static double now;                        ///< monotonic seconds
    static std::vector<unsigned> sleeps;      ///< seconds
    static std::vector<unsigned> microsleeps; ///< microseconds
};
