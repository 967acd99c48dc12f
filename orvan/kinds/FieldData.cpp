#include "orvan/kinds/FieldData.h"

#include <cctype>
#include <vector>

namespace orvan {

namespace {

/** A placeholder and the text from it to the next one. */
struct Field {
    std::string_view name;
    std::string_view after;
};

struct Template {
    std::string_view before; ///< up to the first placeholder
    std::vector<Field> fields;
};

/** The length of the placeholder that @p text begins with, its braces included; 0: with none. */
std::size_t placeholderLength( std::string_view text ) {
    if ( text.empty() || text.front() != '{' ) {
        return 0;
    }
    std::size_t end = 1;
    while ( end < text.size() &&
            ( std::isalnum( static_cast<unsigned char>( text[ end ] ) ) || text[ end ] == '_' ) ) {
        ++end;
    }
    return end > 1 && end < text.size() && text[ end ] == '}' ? end + 1 : 0;
}

Template parse( std::string_view format ) {
    Template parsed;
    std::size_t literal = 0;
    const auto endLiteral = [ & ]( std::size_t end ) {
        const std::string_view text = format.substr( literal, end - literal );
        ( parsed.fields.empty() ? parsed.before : parsed.fields.back().after ) = text;
    };
    for ( std::size_t at = 0; at < format.size(); ) {
        const std::size_t length = placeholderLength( format.substr( at ) );
        if ( length == 0 ) {
            ++at;
            continue;
        }
        endLiteral( at );
        parsed.fields.push_back( { format.substr( at + 1, length - 2 ), {} } );
        at += length;
        literal = at;
    }
    endLiteral( format.size() );
    return parsed;
}

} // namespace

std::optional<std::map<std::string, std::string>> fieldData( std::string_view text,
                                                             std::string_view format ) {
    const Template parsed = parse( format );
    if ( !text.starts_with( parsed.before ) ) {
        return std::nullopt;
    }
    text.remove_prefix( parsed.before.size() );
    std::map<std::string, std::string> values;
    for ( std::size_t i = 0; i < parsed.fields.size(); ++i ) {
        const Field &field = parsed.fields[ i ];
        const bool last = i + 1 == parsed.fields.size();
        if ( last && !text.ends_with( field.after ) ) {
            return std::nullopt;
        }
        const std::size_t end = last ? text.size() - field.after.size() : text.find( field.after );
        if ( end == std::string_view::npos ) {
            return std::nullopt;
        }
        const auto [ it, added ] =
            values.emplace( std::string( field.name ), std::string( text.substr( 0, end ) ) );
        if ( !added && it->second != text.substr( 0, end ) ) {
            return std::nullopt;
        }
        text.remove_prefix( end + field.after.size() );
    }
    return text.empty() ? std::optional( values ) : std::nullopt;
}

} // namespace orvan
