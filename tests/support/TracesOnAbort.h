#pragma once

#include <csignal>
#include <cstdio>

#include "tests/support/FakeHost.h"

/**
 * For death tests: once made, whatever aborts the process first writes every trace to the standard
 * error, as lines "trace <level>: <text>", so that the test can tell what came before.
 */
class TracesOnAbort {
  public:
    TracesOnAbort() {
        std::signal( SIGABRT, []( int ) {
            for ( const Trace &trace : FakeHost::instance().traces ) {
                std::fprintf( stderr, "trace %d: %s\n", trace.level, trace.text.c_str() );
            }
        } );
    }
};
