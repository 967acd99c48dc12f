#pragma once

#include <pl/host.h>

/*
 * The host's services, referred to weakly: the library loads in a host that lacks any of them.
 *
 * Trace levels: 0 life-cycle events and failures; 1 raw SMBus callbacks; 2 topology loading and
 * searching; 3 Ham creation steps and SMBus errors; 4 host callbacks and each SMBus execute; 5 the
 * topology text, per-operation detail and simulation file traffic; 6 nested descriptions, poll and
 * LED detail; 7 SMBus init and add.
 */
#pragma weak pl_trace
#pragma weak pl_timer_add
#pragma weak pl_timer_set
#pragma weak pl_timer_delete

/** Traces through the host, or drops the line when the host takes none. */
#define TRACE( level, ... )                                                                        \
    do {                                                                                           \
        if ( pl_trace )                                                                            \
            pl_trace( level, __VA_ARGS__ );                                                        \
    } while ( 0 )

namespace Host {

/** pl_timer_add, or 0 (as for a timer that could not be made) when the host has no timers. */
inline uint32_t timerAdd( void ( *callback )( void * ), void *context ) {
    return pl_timer_add ? pl_timer_add( callback, context ) : 0;
}

/** pl_timer_set; not 0 when the host has no timers, or when there is no timer to arm. */
inline int timerSet( uint32_t timer, uint32_t milliseconds ) {
    return pl_timer_set && timer ? pl_timer_set( timer, milliseconds ) : -1;
}

/** pl_timer_delete, where the host offers it. */
inline void timerDelete( uint32_t timer ) {
    if ( pl_timer_delete && timer ) {
        pl_timer_delete( timer );
    }
}

} // namespace Host
