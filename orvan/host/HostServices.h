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
 * The host's event loop. The functions of <pl/host.h>, which this program exports to the library, reach
 * the instance that was made last; while there is none, they do nothing and report failure. Callbacks run
 * on the calling thread, inside run() and runUntil(). Handles are never 0, and none is given twice.
 */
class HostServices {
  public:
    /** A timer's callback, with the context it was added with. */
    using Callback = void ( * )( void *context );
    /** A watcher's callback; @p events are those of poll(): POLLIN, POLLPRI, POLLHUP, POLLERR. */
    using WatchCallback = void ( * )( void *context, int events );
    /** Takes one trace: its level, 0 (failures, life cycle) to 7, and its text without line ends. */
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
    /** Has @p report called with the name of each exception that leaves a timer's or watcher's callback. */
    void reportTo( std::function<void( const std::string & )> report );

    /** pl_trace(): formats as vprintf() does and hands the text on if its level is wanted. */
    void trace( int level, const char *format, va_list arguments );
    /**
     * The level-0 traces since the last call, oldest first: what a failing operation said. At most the
     * last eight.
     */
    std::vector<std::string> takeFailureTraces();

    /**
     * pl_timer_add(): makes a timer, not armed. @p context stays the caller's.
     * @return its handle; 0 without a @p callback
     */
    uint32_t addTimer( Callback callback, void *context );
    /**
     * pl_timer_set(): arms @p timer to fire once, after @p milliseconds (0 counts as 1); an armed timer
     * starts anew.
     * @return 0; -1 when there is no such timer
     */
    int setTimer( uint32_t timer, uint32_t milliseconds );
    /** pl_timer_delete(): @p timer never fires again. Its callback may call this; unknown handles may come. */
    void deleteTimer( uint32_t timer );

    /**
     * pl_fd_watcher_add(): calls @p callback whenever @p fd is readable, hung up or in error. The library
     * keeps the descriptor: it must stay open until the watcher is deleted, and is never closed here.
     * @return the watcher's handle; 0 without a @p callback or when @p fd cannot be watched
     */
    uint32_t addWatcher( int fd, WatchCallback callback, void *context );
    /** pl_fd_watcher_delete(): @p watcher is called no more. Its callback may call this. */
    void deleteWatcher( uint32_t watcher );

    /** Serves timers and watchers for @p duration of the clock's time. */
    void run( std::chrono::milliseconds duration );
    /**
     * Serves them until @p done, which is asked before each callback, returns true.
     * @return false when @p limit of the clock's time passed before that
     */
    bool runUntil( const std::function<bool()> &done, std::chrono::milliseconds limit );

    /** True while a timer is armed that has never fired: some device has not been polled yet. */
    bool firstTickPending() const;
    /** The armed timers: how often each has fired so far, by its handle. */
    std::map<uint32_t, unsigned long> armedTimers() const;

  private:
    struct Timer {
        Callback callback = nullptr;
        void *context = nullptr;
        bool armed = false;
        unsigned long fired = 0; ///< how often
        HostClock::Time due{};
        unsigned long sequence =
            0; ///< of arming: of timers due together the first armed fires first
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
