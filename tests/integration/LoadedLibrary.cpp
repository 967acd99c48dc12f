#include "tests/integration/LoadedLibrary.h"

// What the library makes is its own until the process ends, and out of reach by then. The unit
// tests, which can reach it, look for leaks.
extern "C" const char *__lsan_default_suppressions();
extern "C" const char *__lsan_default_suppressions() {
    return "leak:libOrvanDriversMirelund.so\n";
}

LoadedLibrary::LoadedLibrary() : handle_( dlopen( path(), RTLD_NOW | RTLD_LOCAL ) ) {
    if ( !handle_ ) {
        throw std::runtime_error( dlerror() );
    }
}

void *LoadedLibrary::symbol( const std::string &name ) const {
    void *const found = dlsym( handle_, name.c_str() );
    if ( !found ) {
        throw std::runtime_error( dlerror() );
    }
    return found;
}

const char *LoadedLibrary::path() {
    return ORVAN_LIB_DIR "/libOrvanDriversMirelund.so";
}
