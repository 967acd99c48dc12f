#include "orvan/Library.h"

#include <dlfcn.h>

#include <fmt/core.h>

#include "orvan/Errors.h"

namespace orvan {

namespace {

constexpr const char *libraryName = "libOrvanDriversMirelund.so";

} // namespace

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

std::filesystem::path ownFolder() {
    return std::filesystem::read_symlink( "/proc/self/exe" ).parent_path();
}

std::string defaultLibraryPath() {
    const std::filesystem::path prefix = ownFolder().parent_path();
    for ( const char *folder : { "lib", ORVAN_INSTALL_LIBDIR } ) {
        const std::filesystem::path candidate = prefix / folder / libraryName;
        if ( std::filesystem::exists( candidate ) ) {
            return candidate.string();
        }
    }
    return libraryName; // wherever the dynamic linker looks
}

} // namespace orvan
