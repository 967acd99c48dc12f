#include "orvan/PrivateFolder.h"

#include "orvan/Errors.h"

#include <fmt/core.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace orvan {

std::string makePrivateFolder() {
    const char *base = ::getenv( "TMPDIR" );
    std::string folder = fmt::format( "{}/orvan-XXXXXX", base && *base ? base : "/tmp" );
    if ( !::mkdtemp( folder.data() ) ) {
        throw BadInput(
            fmt::format( "cannot make a folder {}: {}", folder, std::strerror( errno ) ) );
    }
    return folder;
}

} // namespace orvan
