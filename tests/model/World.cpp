#include "tests/model/World.h"

#include <cstdarg>
#include <cstdio>
#include <stdexcept>

namespace model {

void World::trace( int level, const char *format, ... ) {
    char text[ 1024 ];
    va_list args;
    va_start( args, format );
    const int length = vsnprintf( text, sizeof( text ), format, args );
    va_end( args );
    if ( length < 0 || static_cast<size_t>( length ) >= sizeof( text ) ) {
        throw std::length_error( format );
    }
    traces.push_back( { level, text } );
}

uint32_t World::timerAdd() {
    timers[ nextTimer ] = {};
    return nextTimer++;
}

int World::timerSet( uint32_t timer ) {
    constexpr uint32_t period = 1000;
    if ( refuseTimerSet ) {
        return -1;
    }
    TimerState &state = timers.at( timer );
    state = { true, period, state.sets + 1 };
    return 0;
}

} // namespace model
