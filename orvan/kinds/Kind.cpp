#include "orvan/kinds/Kind.h"

#include <algorithm>
#include <charconv>

#include <fmt/core.h>

#include "orvan/base/Errors.h"
#include "orvan/text/Status.h"

namespace orvan {

namespace {

constexpr const Kind *allKinds[] = { &gpioKind, &ledKind,  &fanKind,   &tempSensorKind, &xcvrKind,
                                     &psuKind,  &slotKind, &smbusKind, &systemKind };

} // namespace

std::span<const Kind *const> kinds() {
    return allKinds;
}

const Kind *findKind( const std::string &name ) {
    const auto it = std::find_if( std::begin( allKinds ), std::end( allKinds ),
                                  [ &name ]( const Kind *kind ) { return kind->name == name; } );
    return it == std::end( allKinds ) ? nullptr : *it;
}

long Readout::argument( const char *name, long fallback ) const {
    const auto &args = peripheral_.description->args;
    const auto it = args.find( name );
    if ( it == args.end() ) {
        return fallback;
    }
    long number = fallback;
    std::from_chars( it->second.data(), it->second.data() + it->second.size(), number );
    return number;
}

const Value &Readout::once( const char *what, const std::function<Value()> &ask ) {
    const auto it = answers_.find( what );
    return it != answers_.end() ? it->second : answers_.emplace( what, ask() ).first->second;
}

std::string valueText( const Reading &reading, const Value &value ) {
    if ( !value.exception.empty() ) {
        return "threw " + value.exception;
    }
    if ( value.status != PL_STATUS_OK ) {
        return statusName( value.status );
    }
    if ( const auto *number = std::get_if<long long>( &value.data ) ) {
        return std::to_string( *number );
    }
    if ( const auto *number = std::get_if<double>( &value.data ) ) {
        return fmt::format( "{:.{}f}", *number, reading.decimals );
    }
    if ( const auto *text = std::get_if<std::string>( &value.data ) ) {
        return *text;
    }
    return "-";
}

bool parseSwitch( const std::string &text, const char *what ) {
    if ( text == "1" || text == "on" ) {
        return true;
    }
    if ( text == "0" || text == "off" ) {
        return false;
    }
    throw BadInput(
        fmt::format( "{} cannot be set to \"{}\"; expected on, off, 1 or 0", what, text ) );
}

} // namespace orvan
