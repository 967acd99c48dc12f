#include "tests/support/FakeHost.h"

#include <cstdarg>
#include <cstdio>
#include <ostream>

#include <pl/host.h>

FakeHost &FakeHost::instance() {
    static FakeHost host;
    return host;
}

std::vector<std::string> FakeHost::texts( int level ) const {
    std::vector<std::string> result;
    for ( const Trace &trace : traces ) {
        if ( trace.level == level ) {
            result.push_back( trace.text );
        }
    }
    return result;
}

bool FakeHost::fire( uint32_t timer ) {
    Timer &fired = timers.at( timer );
    if ( !fired.armed ) {
        return false;
    }
    fired.armed = false;
    fired.callback( fired.context );
    return true;
}

int FakeHost::fireAll() {
    std::vector<uint32_t> armed;
    for ( const auto &[ handle, timer ] : timers ) {
        if ( timer.armed ) {
            armed.push_back( handle );
        }
    }
    for ( const uint32_t handle : armed ) {
        fire( handle );
    }
    return static_cast<int>( armed.size() );
}

void PrintTo( const FakeHost::Trace &trace, std::ostream *out ) {
    *out << "{ " << trace.level << ", \"" << trace.text << "\" }";
}

extern "C" {

void pl_trace( int level, const char *format, ... ) {
    if ( FakeHost::instance().dropTraces ) {
        return;
    }
    va_list args;
    va_start( args, format );
    va_list again;
    va_copy( again, args );
    const int length = vsnprintf( nullptr, 0, format, args );
    std::string text( static_cast<size_t>( length ), '\0' );
    vsnprintf( text.data(), text.size() + 1, format, again );
    va_end( again );
    va_end( args );
    FakeHost::instance().traces.push_back( { level, text } );
}

uint32_t pl_timer_add( void ( *callback )( void * ), void *context ) {
    FakeHost &host = FakeHost::instance();
    if ( host.refuseTimers ) {
        return 0;
    }
    static uint32_t lastHandle = 0;
    host.timers[ ++lastHandle ] = { callback, context };
    return lastHandle;
}

int pl_timer_set( uint32_t timer, uint32_t milliseconds ) {
    FakeHost &host = FakeHost::instance();
    const auto it = host.timers.find( timer );
    if ( host.refuseTimerSet || it == host.timers.end() ) {
        return -1;
    }
    it->second.armed = true;
    it->second.milliseconds = milliseconds;
    ++it->second.sets;
    return 0;
}

void pl_timer_delete( uint32_t timer ) {
    FakeHost::instance().timers.erase( timer );
    FakeHost::instance().deletedTimers.push_back( timer );
}

void pl_fd_watcher_delete( uint32_t watcher ) {
    FakeHost::instance().deletedWatchers.push_back( watcher );
}
}
