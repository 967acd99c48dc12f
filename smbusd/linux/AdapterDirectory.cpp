#include "smbusd/linux/AdapterDirectory.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

#include <fmt/format.h>

namespace smbusd {

namespace {

constexpr std::string_view adapterPrefix = "i2c-";

std::string withoutDigits( std::string text ) {
    std::erase_if( text, []( unsigned char c ) { return std::isdigit( c ) != 0; } );
    return text;
}

/** The number in "i2c-3"; clients of adapters are there too, as "3-0050". */
std::optional<unsigned> numberOf( std::string_view entry ) {
    if ( !entry.starts_with( adapterPrefix ) ) {
        return std::nullopt;
    }
    entry.remove_prefix( adapterPrefix.size() );
    unsigned number = 0;
    const auto [ end, error ] =
        std::from_chars( entry.data(), entry.data() + entry.size(), number );
    return error == std::errc() && end == entry.data() + entry.size()
               ? std::optional<unsigned>( number )
               : std::nullopt;
}

} // namespace

bool AdapterIdentity::replugged( const AdapterIdentity &other ) const {
    return parent == other.parent && parent.find( "/usb" ) != std::string::npos &&
           withoutDigits( name ) == withoutDigits( other.name );
}

std::optional<AdapterIdentity> AdapterDirectory::identityOf( unsigned number ) const {
    const std::string entry = fmt::format( "{}{}{}", devices(), adapterPrefix, number );
    std::ifstream file( entry + "/name" );
    AdapterIdentity identity;
    if ( !std::getline( file, identity.name ) ) {
        return std::nullopt;
    }
    std::error_code error;
    const auto place = std::filesystem::canonical( entry, error );
    if ( error ) {
        return std::nullopt;
    }
    identity.parent = place.parent_path().string();
    return identity;
}

std::vector<PresentAdapter> AdapterDirectory::all() const {
    std::vector<PresentAdapter> found;
    std::error_code error;
    for ( auto entry = std::filesystem::directory_iterator( devices(), error );
          !error && entry != std::filesystem::directory_iterator(); entry.increment( error ) ) {
        const auto number = numberOf( entry->path().filename().string() );
        const auto identity = number ? identityOf( *number ) : std::nullopt;
        if ( identity ) {
            found.push_back( { *number, *identity } );
        }
    }
    std::sort( found.begin(), found.end(),
               []( const auto &a, const auto &b ) { return a.number < b.number; } );
    return found;
}

std::string AdapterDirectory::driverOf( unsigned number, uint8_t address ) const {
    std::error_code error;
    const auto link = std::filesystem::read_symlink(
        fmt::format( "{}{}-{:04x}/driver", devices(), number, address ), error );
    return error ? std::string() : link.filename().string();
}

} // namespace smbusd
