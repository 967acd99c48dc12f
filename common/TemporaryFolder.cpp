#include "common/TemporaryFolder.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <system_error>

#include <fmt/core.h>

#include "common/Descriptor.h"

namespace common {

TemporaryFolder::TemporaryFolder( std::string_view name ) {
    const char *base = ::getenv( "TMPDIR" );
    const std::string pattern =
        fmt::format( "{}/{}-XXXXXX", base != nullptr && *base != '\0' ? base : "/tmp", name );
    path_ = pattern;
    if ( ::mkdtemp( path_.data() ) == nullptr ) {
        throw std::system_error( errno, std::generic_category(),
                                 "cannot make a folder " + pattern );
    }
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all( path_, ignored );
}

std::string TemporaryFolder::file( std::string_view name ) const {
    return fmt::format( "{}/{}", path_, name );
}

std::string TemporaryFolder::write( std::string_view name, std::string_view content ) const {
    std::string path = file( name );
    std::ofstream stream( path, std::ios::binary );
    stream << content << std::flush;
    if ( !stream ) {
        throw std::system_error( errno, std::generic_category(), "cannot write " + path );
    }
    return path;
}

std::string readFile( const std::string &path ) {
    const Descriptor file( ::open( path.c_str(), O_RDONLY | O_CLOEXEC ) );
    try {
        if ( !file ) {
            throw std::system_error( errno, std::generic_category() );
        }
        return readAll( file );
    } catch ( const std::system_error &error ) {
        throw std::system_error( error.code(), "cannot read " + path );
    }
}

} // namespace common
