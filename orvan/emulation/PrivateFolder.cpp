#include "orvan/emulation/PrivateFolder.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <fmt/core.h>

#include "orvan/base/Errors.h"

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
