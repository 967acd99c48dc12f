/**
 * @file
 * The services that a driver library may call: traces, timers, descriptor watchers.
 */
#pragma once

#include <chrono>
#include <cstdarg>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <pl/host.h>

#include "orvan/host/HostClock.h"

namespace orvan {

/**
 * The host's event loop. The exported pl_* functions reach the one instance that lives; without one
 * they do nothing. Everything runs on the calling thread, inside run() and runUntil().
 */
class HostServices {
  public:
    using Callback = void ( * )( void *context );
    using WatchCallback = void ( * )( void *context, int events );
    using TraceSink = std::function<void( int level, std::string_view text )>;

    /** @p clock must outlive this object. */
    explicit HostServices( HostClock &clock );
    ~HostServices();
    HostServices( const HostServices & ) = delete;
    HostServices &operator=( const HostServices & ) = delete;

    /** The living instance, or null. */
    static HostServices *current();

    /** Hands traces of level 0 to @p maxLevel to @p sink; -1: none. */
    void traceTo( int maxLevel, TraceSink sink );
    /** Is called with the name of each exception that leaves a timer's or watcher's callback. */
    void reportTo( std::function<void( const std::string & )> report );

    void trace( int level, const char *format, va_list arguments );
    /** The level-0 traces since the last call: what a failing operation said. At most the last eight. */
    std::vector<std::string> takeFailureTraces();

    uint32_t addTimer( Callback callback, void *context );
    int setTimer( uint32_t timer, uint32_t milliseconds );
    void deleteTimer( uint32_t timer );

    /** Watches for readability, hang-up and errors. 0: @p fd cannot be watched. */
    uint32_t addWatcher( int fd, WatchCallback callback, void *context );
    void deleteWatcher( uint32_t watcher );

    /** Lets timers and watchers run for @p duration of the clock's time. */
    void run( std::chrono::milliseconds duration );
    /** The same until @p done, asked between callbacks; false: @p limit passed before it was. */
    bool runUntil( const std::function<bool()> &done, std::chrono::milliseconds limit );

    /** True while a timer is armed that has never fired: a device that is yet to be polled. */
    bool firstTickPending() const;
    /** How often each armed timer has fired, by its handle. */
    std::map<uint32_t, unsigned long> armedTimers() const;

  private:
    struct Timer {
        Callback callback = nullptr;
        void *context = nullptr;
        bool armed = false;
        unsigned long fired = 0; ///< how often
        HostClock::Time due{};
        unsigned long sequence =
            0; ///< of arming: of timers due at once the first armed fires first
    };
    struct Watcher {
        asio::posix::stream_descriptor descriptor;
        WatchCallback callback;
        void *context;
    };

    bool nextTimer( uint32_t &handle, HostClock::Time &due ) const;
    void fire( uint32_t handle );
    void watch( uint32_t handle );
    void guarded( const char *what, const std::function<void()> &callback );

    HostClock &clock_;
    asio::io_context loop_;
    asio::executor_work_guard<asio::io_context::executor_type> work_;
    std::map<uint32_t, Timer> timers_;
    std::map<uint32_t, std::unique_ptr<Watcher>> watchers_;
    uint32_t lastHandle_ = 0;
    unsigned long sequence_ = 0;
    int traceLevel_ = -1;
    TraceSink sink_;
    std::function<void( const std::string & )> report_;
    std::vector<std::string> failureTraces_;
};

} // namespace orvan
