#include "orvan/host/HostServices.h"

#include <algorithm>
#include <cstdio>
#include <poll.h>
#include <utility>

#include "orvan/base/Errors.h"

namespace orvan {

namespace {

HostServices *instance = nullptr;

constexpr std::size_t failureTracesKept = 8;

std::string formatText( const char *format, va_list arguments ) {
    va_list again;
    va_copy( again, arguments );
    const int length = std::vsnprintf( nullptr, 0, format, arguments );
    std::string text;
    if ( length > 0 ) {
        text.resize( static_cast<std::size_t>( length ) + 1 );
        std::vsnprintf( text.data(), text.size(), format, again );
        text.pop_back();
    }
    va_end( again );
    while ( !text.empty() && text.back() == '\n' ) {
        text.pop_back();
    }
    return text;
}

} // namespace

HostServices::HostServices( HostClock &clock )
    : clock_( clock ), work_( asio::make_work_guard( loop_ ) ) {
    instance = this;
}

HostServices::~HostServices() {
    // The descriptors belong to the library: forget them without closing.
    while ( !watchers_.empty() ) {
        deleteWatcher( watchers_.begin()->first );
    }
    if ( instance == this ) {
        instance = nullptr;
    }
}

HostServices *HostServices::current() {
    return instance;
}

void HostServices::traceTo( int maxLevel, TraceSink sink ) {
    traceLevel_ = maxLevel;
    sink_ = std::move( sink );
}

void HostServices::reportTo( std::function<void( const std::string & )> report ) {
    report_ = std::move( report );
}

void HostServices::trace( int level, const char *format, va_list arguments ) {
    const bool wanted = level <= traceLevel_ && sink_;
    if ( !wanted && level != 0 ) {
        return;
    }
    std::string text = formatText( format, arguments );
    if ( wanted ) {
        sink_( level, text );
    }
    if ( level == 0 ) {
        if ( failureTraces_.size() == failureTracesKept ) {
            failureTraces_.erase( failureTraces_.begin() );
        }
        failureTraces_.push_back( std::move( text ) );
    }
}

std::vector<std::string> HostServices::takeFailureTraces() {
    return std::exchange( failureTraces_, {} );
}

uint32_t HostServices::addTimer( Callback callback, void *context ) {
    if ( !callback ) {
        return 0;
    }
    timers_[ ++lastHandle_ ] = Timer{ callback, context };
    return lastHandle_;
}

int HostServices::setTimer( uint32_t timer, uint32_t milliseconds ) {
    const auto it = timers_.find( timer );
    if ( it == timers_.end() ) {
        return -1;
    }
    // At least a millisecond, so that a callback that re-arms with 0 cannot hold the loop.
    const std::chrono::milliseconds delay( std::max<uint32_t>( milliseconds, 1 ) );
    it->second.armed = true;
    it->second.due = clock_.now() + delay;
    it->second.sequence = ++sequence_;
    return 0;
}

void HostServices::deleteTimer( uint32_t timer ) {
    timers_.erase( timer );
}

uint32_t HostServices::addWatcher( int fd, WatchCallback callback, void *context ) {
    if ( !callback ) {
        return 0;
    }
    auto watcher = std::make_unique<Watcher>(
        Watcher{ asio::posix::stream_descriptor( loop_ ), callback, context } );
    asio::error_code error;
    watcher->descriptor.assign( fd, error );
    if ( error ) {
        return 0;
    }
    const uint32_t handle = ++lastHandle_;
    watchers_[ handle ] = std::move( watcher );
    watch( handle );
    return handle;
}

void HostServices::deleteWatcher( uint32_t watcher ) {
    const auto it = watchers_.find( watcher );
    if ( it != watchers_.end() ) {
        it->second->descriptor.release();
        watchers_.erase( it );
    }
}

void HostServices::watch( uint32_t handle ) {
    watchers_.at( handle )->descriptor.async_wait(
        asio::posix::stream_descriptor::wait_read, [ this, handle ]( asio::error_code error ) {
            const auto it = watchers_.find( handle );
            if ( error || it == watchers_.end() ) {
                return;
            }
            pollfd state{ it->second->descriptor.native_handle(), POLLIN | POLLPRI, 0 };
            if ( ::poll( &state, 1, 0 ) > 0 ) {
                const Watcher &watcher = *it->second;
                guarded( "a descriptor watcher", [ &watcher, &state ] {
                    watcher.callback( watcher.context, state.revents );
                } );
            }
            if ( watchers_.contains( handle ) ) {
                watch( handle );
            }
        } );
}

void HostServices::guarded( const char *what, const std::function<void()> &callback ) {
    try {
        callback();
    } catch ( ... ) {
        if ( report_ ) {
            report_( std::string( what ) + " of the library threw " + describeCurrentException() );
        }
    }
}

bool HostServices::nextTimer( uint32_t &handle, HostClock::Time &due ) const {
    bool found = false;
    unsigned long sequence = 0;
    for ( const auto &[ id, timer ] : timers_ ) {
        if ( timer.armed &&
             ( !found || timer.due < due || ( timer.due == due && timer.sequence < sequence ) ) ) {
            found = true;
            handle = id;
            due = timer.due;
            sequence = timer.sequence;
        }
    }
    return found;
}

void HostServices::fire( uint32_t handle ) {
    Timer &timer = timers_.at( handle );
    timer.armed = false;
    ++timer.fired;
    // The callback may delete its own timer.
    const Callback callback = timer.callback;
    void *const context = timer.context;
    guarded( "a timer", [ callback, context ] { callback( context ); } );
}

void HostServices::run( std::chrono::milliseconds duration ) {
    runUntil( [] { return false; }, duration );
}

bool HostServices::runUntil( const std::function<bool()> &done, std::chrono::milliseconds limit ) {
    const HostClock::Time end = clock_.now() + limit;
    for ( ;; ) {
        if ( done() ) {
            return true;
        }
        const HostClock::Time now = clock_.now();
        uint32_t handle = 0;
        HostClock::Time due{};
        const bool armed = nextTimer( handle, due );
        if ( armed && due <= now && due <= end ) {
            fire( handle );
            loop_.poll_one(); // timers that are always due must not starve the watchers
            continue;
        }
        if ( now >= end ) {
            return false;
        }
        clock_.waitUntil( loop_, armed ? std::min( due, end ) : end );
    }
}

bool HostServices::firstTickPending() const {
    return std::any_of( timers_.begin(), timers_.end(), []( const auto &entry ) {
        return entry.second.armed && entry.second.fired == 0;
    } );
}

std::map<uint32_t, unsigned long> HostServices::armedTimers() const {
    std::map<uint32_t, unsigned long> armed;
    for ( const auto &[ handle, timer ] : timers_ ) {
        if ( timer.armed ) {
            armed[ handle ] = timer.fired;
        }
    }
    return armed;
}

} // namespace orvan

using orvan::HostServices;

extern "C" {

void pl_trace( int level, const char *format, ... ) {
    if ( HostServices *host = HostServices::current() ) {
        va_list arguments;
        va_start( arguments, format );
        host->trace( level, format, arguments );
        va_end( arguments );
    }
}

uint32_t pl_timer_add( void ( *callback )( void *context ), void *context ) {
    HostServices *host = HostServices::current();
    return host ? host->addTimer( callback, context ) : 0;
}

int pl_timer_set( uint32_t timer, uint32_t milliseconds ) {
    HostServices *host = HostServices::current();
    return host ? host->setTimer( timer, milliseconds ) : -1;
}

void pl_timer_delete( uint32_t timer ) {
    if ( HostServices *host = HostServices::current() ) {
        host->deleteTimer( timer );
    }
}

uint32_t pl_fd_watcher_add( int fd, void ( *callback )( void *context, int events ),
                            void *context ) {
    HostServices *host = HostServices::current();
    return host ? host->addWatcher( fd, callback, context ) : 0;
}

void pl_fd_watcher_delete( uint32_t watcher ) {
    if ( HostServices *host = HostServices::current() ) {
        host->deleteWatcher( watcher );
    }
}

} // extern "C"
