#include "orvan/base/Paths.h"

#include <cstdlib>

namespace orvan {

namespace {

constexpr const char *libraryName = "libOrvanDriversMirelund.so";
constexpr const char *serviceName = "smbusd";

} // namespace

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

std::string defaultServicePath() {
    return ( ownFolder() / serviceName ).string();
}

std::string socketPath() {
    const char *path = std::getenv( socketVariable );
    return path && *path ? path : defaultSocketPath;
}

} // namespace orvan
