/**
 * @file
 * Services that a host offers to a driver library.
 *
 * A driver library refers to all of them weakly: it loads in a host that lacks any of them and runs
 * as far as it can without. All are called on the host's one event thread.
 */
#ifndef PL_HOST_H
#define PL_HOST_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @def PL_PRINTF_LIKE
 * Has the compiler check a printf format: the numbers of its parameter and of its first argument.
 */
#if defined( __GNUC__ )
#define PL_PRINTF_LIKE( text, first ) __attribute__( ( __format__( __printf__, text, first ) ) )
#else
#define PL_PRINTF_LIKE( text, first )
#endif

/**
 * Writes one trace line. @p level 0 is the most important (life cycle, failures), 7 the chattiest;
 * the host decides which levels it keeps. The text needs no newline at its end.
 */
void pl_trace( int level, const char *format, ... ) PL_PRINTF_LIKE( 2, 3 );

/**
 * Makes a one-shot timer, not yet armed, that will call @p callback with @p context.
 * @return the timer's handle, 0 when none could be made.
 */
uint32_t pl_timer_add( void ( *callback )( void *context ), void *context );

/**
 * Arms @p timer once, to fire in @p milliseconds. An armed timer is armed anew.
 * @return 0 on success.
 */
int pl_timer_set( uint32_t timer, uint32_t milliseconds );

/** Disarms and forgets @p timer. */
void pl_timer_delete( uint32_t timer );

/**
 * Calls @p callback with @p context and the poll(2) events whenever @p fd has any.
 * @return the watcher's handle, 0 when none could be made.
 */
uint32_t pl_fd_watcher_add( int fd, void ( *callback )( void *context, int events ),
                            void *context );

/** Forgets @p watcher. The descriptor stays open. */
void pl_fd_watcher_delete( uint32_t watcher );

#ifdef __cplusplus
}
#endif

#endif
