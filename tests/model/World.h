#pragma once

#include <ctime>
#include <map>
#include <string>
#include <vector>

#include "tests/model/Service.h"
#include "tests/support/FakeHost.h"

namespace model {

/** Thrown by a model where the contract is that the process aborts. */
struct WouldAbort {
    std::string assertion;
};

/** A timer of the host. */
struct TimerState {
    bool armed = false;
    uint32_t milliseconds = 0;
    int sets = 0; ///< how often it was armed

    bool operator==( const TimerState & ) const = default;
};

/** All that a model's code sees of its surroundings: the bus, the host and the clock. */
class World {
  public:
    Service service;
    Traces traces;
    std::map<uint32_t, TimerState> timers; ///< by the host's handle
    timespec now{};                        ///< the monotonic clock
    bool refuseTimerSet = false;           ///< the host does not arm timers

    [[gnu::format( printf, 3, 4 )]] void trace( int level, const char *format, ... );
    /** Arms a timer; non-zero when the host refuses. */
    int timerSet( uint32_t timer );
    /** Makes a timer, unarmed. */
    uint32_t timerAdd();
    /** The handle that the host gives next. */
    uint32_t nextTimer = 1;
};

} // namespace model
