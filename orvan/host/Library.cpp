#include "orvan/host/Library.h"

#include <dlfcn.h>

#include <fmt/core.h>

#include "orvan/base/Errors.h"

namespace orvan {

Library::Library( std::string path ) : path_( std::move( path ) ) {
    handle_ = ::dlopen( path_.c_str(), RTLD_NOW | RTLD_LOCAL );
    if ( !handle_ ) {
        throw BadInput( fmt::format( "cannot load the driver library: {}", ::dlerror() ) );
    }
}

void *Library::symbol( const char *name ) const {
    void *address = ::dlsym( handle_, name );
    if ( !address ) {
        throw BadInput( fmt::format( "{} does not export {}", path_, name ) );
    }
    return address;
}

} // namespace orvan
