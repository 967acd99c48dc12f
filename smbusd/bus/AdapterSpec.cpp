#include "smbusd/bus/AdapterSpec.h"

#include <optional>
#include <string_view>

#include <fmt/format.h>

namespace smbusd {

namespace {

constexpr std::string_view sysfsPrefix = "i2c-";
constexpr std::string_view devicePrefix = "/dev/i2c-";

/** The decimal number after a prefix, if the text is exactly that. */
std::optional<unsigned> numberAfter( std::string_view prefix, std::string_view text ) {
    if ( !text.starts_with( prefix ) ) {
        return std::nullopt;
    }
    text.remove_prefix( prefix.size() );
    if ( text.empty() || text.find_first_not_of( "0123456789" ) != std::string_view::npos ) {
        return std::nullopt;
    }
    return parseNumber( text );
}

} // namespace

bool AdapterSpec::sameWords( const AdapterSpec &other ) const {
    return by == other.by && number == other.number && text == other.text;
}

std::string AdapterSpec::describe() const {
    switch ( by ) {
    case By::Number:
        return fmt::format( "{}{}", devicePrefix, number );
    case By::Name:
        return fmt::format( "\"{}\"", text );
    case By::Path:
        return text;
    }
    return text;
}

AdapterSpec readAdapterSpec( const JsonView &json ) {
    static constexpr const char *expected =
        "a kernel adapter: its number, its name as in sysfs, or a device file such as "
        "\"/dev/i2c-1\"";
    AdapterSpec spec;
    if ( !json.isText() ) {
        spec.number = json.number( 0, lastAdapterNumber );
        return spec;
    }
    const std::string text = json.text();
    auto number = parseNumber( text );
    for ( const std::string_view prefix : { sysfsPrefix, devicePrefix } ) {
        number = number ? number : numberAfter( prefix, text );
    }
    if ( number ) {
        if ( *number > lastAdapterNumber ) {
            json.fail( fmt::format( "a number from 0 to {}", lastAdapterNumber ) );
        }
        spec.number = *number;
        return spec;
    }
    // A line feed ends a name in sysfs, so none can have one.
    if ( text.empty() || text.find( '\n' ) != std::string::npos ) {
        json.fail( expected );
    }
    spec.by = text.starts_with( '/' ) ? AdapterSpec::By::Path : AdapterSpec::By::Name;
    spec.text = text;
    return spec;
}

} // namespace smbusd
