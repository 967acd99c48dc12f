/*
 * A host that lacks one of the services that a host may offer, or all of them: which, its build
 * decides. It loads the library, runs the commands of its command line in order, and prints what
 * came of each:
 *
 *     add KIND DESCRIPTION   a line "added", "null" or "exception TEXT"
 *     init TOPOLOGY          the status of pl_gpio_init
 *     connect                the status of plSockInit, without an attempt
 *     set | clear | read     the status of the last GPIO's callback; for read its value after it
 *
 * Services that it has print "trace LEVEL TEXT", "timer add" and so on.
 */
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>

#include <pl/pl.h>

#include "tests/integration/LoadedLibrary.h"

#ifndef WITHOUT_all

#ifndef WITHOUT_pl_trace
void pl_trace( int level, const char *format, ... ) {
    va_list args;
    va_start( args, format );
    std::printf( "trace %d ", level );
    std::vprintf( format, args );
    std::printf( "\n" );
    va_end( args );
}
#endif

#ifndef WITHOUT_pl_timer_add
uint32_t pl_timer_add( void ( * )( void * ), void * ) {
    std::printf( "timer add\n" );
    return 1;
}
#endif

#ifndef WITHOUT_pl_timer_set
int pl_timer_set( uint32_t, uint32_t ) {
    std::printf( "timer set\n" );
    return 0;
}
#endif

#ifndef WITHOUT_pl_timer_delete
void pl_timer_delete( uint32_t ) {
    std::printf( "timer delete\n" );
}
#endif

#ifndef WITHOUT_pl_fd_watcher_delete
void pl_fd_watcher_delete( uint32_t ) {
    std::printf( "watcher delete\n" );
}
#endif

#endif

namespace {

pl_gpio *lastGpio = nullptr;

/** @return the new record, of whatever kind */
void *add( const LoadedLibrary &library, const std::string &kind, const char *description ) {
    const std::string name = "pl_" + kind + "_add";
    if ( kind == "temp_sensor" ) {
        return library.entry<decltype( pl_temp_sensor_add )>( name )( description, 0, 0 );
    }
    if ( kind == "gpio" ) {
        return lastGpio = library.entry<decltype( pl_gpio_add )>( name )( description );
    }
    return library.entry<void *( const char * )>( name )( description );
}

void printAdded( const LoadedLibrary &library, const char *kind, const char *description ) {
    try {
        std::printf( "%s\n", add( library, kind, description ) ? "added" : "null" );
    } catch ( const std::exception &error ) {
        std::printf( "exception %s\n", error.what() );
    }
}

} // namespace

int main( int argc, char **argv ) {
    std::setvbuf( stdout, nullptr, _IONBF, 0 );
    const LoadedLibrary library;
    for ( int i = 1; i < argc; ++i ) {
        const std::string command = argv[ i ];
        if ( command == "add" && i + 2 < argc ) {
            printAdded( library, argv[ i + 1 ], argv[ i + 2 ] );
            i += 2;
        } else if ( command == "init" && i + 1 < argc ) {
            std::printf( "%d\n",
                         library.entry<decltype( pl_gpio_init )>( "pl_gpio_init" )( argv[ ++i ] ) );
        } else if ( command == "connect" ) {
            std::printf( "%d\n",
                         library.entry<int( const char *, int )>( plSockInitSymbol )( "host", 0 ) );
        } else if ( command == "set" && lastGpio ) {
            std::printf( "%d\n", lastGpio->ops->bit_set( lastGpio ) );
        } else if ( command == "clear" && lastGpio ) {
            std::printf( "%d\n", lastGpio->ops->bit_clear( lastGpio ) );
        } else if ( command == "read" && lastGpio ) {
            unsigned value = 9;
            const int status = lastGpio->ops->bit_read( lastGpio, &value );
            std::printf( "%d %u\n", status, value );
        } else {
            std::fprintf( stderr, "what is '%s'?\n", command.c_str() );
            return 2;
        }
    }
}
