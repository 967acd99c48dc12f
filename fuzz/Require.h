#pragma once

#include <cstdio>
#include <cstdlib>

/** Ends the run, which keeps the input, when something does not hold. */
inline void require( bool condition, const char *what ) {
    if ( condition ) {
        return;
    }
    std::fprintf( stderr, "fuzz: %s\n", what );
    std::abort();
}
