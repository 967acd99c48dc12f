#include "smbusd/emulation/Chip.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace smbusd {

void Chip::plug( bool plugged ) {
    if ( plugged && !plugged_ ) {
        reset();
    }
    plugged_ = plugged;
}

RegisterContent Chip::peek( uint32_t reg ) const {
    noSuchRegister( reg );
}

void Chip::poke( uint32_t reg, const RegisterContent & ) {
    noSuchRegister( reg );
}

void Chip::setInput( std::string_view input, double ) {
    std::vector<std::string> names;
    for ( const InputInfo &info : inputs() ) {
        names.push_back( info.name );
    }
    throw ChipError(
        fmt::format( "{} \"{}\" has no input \"{}\"; it has {}", type(), name(), input,
                     names.empty() ? "none" : fmt::format( "{}", fmt::join( names, ", " ) ) ) );
}

double Chip::output( std::string_view output ) const {
    std::vector<std::string> names;
    for ( const InputInfo &info : outputs() ) {
        if ( info.name == output ) {
            return info.value;
        }
        names.push_back( info.name );
    }
    throw ChipError(
        fmt::format( "{} \"{}\" has no output \"{}\"; it has {}", type(), name(), output,
                     names.empty() ? "none" : fmt::format( "{}", fmt::join( names, ", " ) ) ) );
}

void Chip::misuse( const std::string &what ) {
    counters.errors++;
    log().warning( "{} \"{}\": {}", type(), name(), what );
}

bool Chip::lineLevel( std::string_view input, double value ) const {
    if ( value != 0 && value != 1 ) {
        throw ChipError( fmt::format( "input \"{}\" of {} \"{}\" is a line: 0 or 1, not {}", input,
                                      type(), name(), value ) );
    }
    return value == 1;
}

void Chip::noSuchRegister( uint32_t reg ) const {
    throw ChipError( fmt::format( "{} \"{}\" has no register 0x{:02X}", type(), name(), reg ) );
}

uint32_t Chip::numberFor( uint32_t reg, const RegisterContent &content, unsigned width ) const {
    const uint32_t *number = std::get_if<uint32_t>( &content );
    if ( number == nullptr ) {
        throw ChipError( fmt::format( "register 0x{:02X} of {} \"{}\" is a number, not a block",
                                      reg, type(), name() ) );
    }
    const uint64_t limit = uint64_t{ 1 } << ( 8 * width );
    if ( *number >= limit ) {
        throw ChipError( fmt::format( "register 0x{:02X} of {} \"{}\" has {} bits; 0x{:X} does not "
                                      "fit",
                                      reg, type(), name(), 8 * width, *number ) );
    }
    return *number;
}

} // namespace smbusd
