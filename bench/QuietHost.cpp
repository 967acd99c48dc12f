// The benchmarks' host: it takes traces and drops them by their level, as hosts do in the field, and
// its timers never fire.

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include <pl/host.h>

namespace {

/** Levels below this one are written; read at run time, like the setting that it stands for. */
const int tracedLevels = [] {
    const char *levels = std::getenv( "ORVAN_BENCH_TRACE" );
    return levels ? std::atoi( levels ) : 0;
}();

} // namespace

extern "C" {

void pl_trace( int level, const char *format, ... ) {
    if ( level >= tracedLevels ) {
        return;
    }
    va_list args;
    va_start( args, format );
    std::vfprintf( stderr, format, args );
    std::fputc( '\n', stderr );
    va_end( args );
}

uint32_t pl_timer_add( void ( * )( void * ), void * ) {
    return 1;
}

int pl_timer_set( uint32_t, uint32_t ) {
    return 0;
}

void pl_timer_delete( uint32_t ) {}
}
