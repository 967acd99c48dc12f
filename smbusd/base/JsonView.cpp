#include "smbusd/base/JsonView.h"

#include <algorithm>
#include <charconv>
#include <set>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "common/JsonMistake.h"

namespace smbusd {

namespace {

std::string_view textOf( const rapidjson::Value &value ) {
    return { value.GetString(), value.GetStringLength() };
}

} // namespace

std::optional<uint32_t> parseNumber( std::string_view text ) {
    int base = 10;
    if ( text.starts_with( "0x" ) || text.starts_with( "0X" ) ) {
        base = 16;
        text.remove_prefix( 2 );
    }
    uint32_t number = 0;
    const char *end = text.data() + text.size();
    const auto parsed = std::from_chars( text.data(), end, number, base );
    if ( parsed.ec != std::errc() || parsed.ptr != end ) {
        return std::nullopt;
    }
    return number;
}

rapidjson::Document parseJson( std::string_view text, const std::string &document ) {
    rapidjson::Document parsed;
    common::JsonMistake mistake;
    mistake.document = document;
    if ( !common::parseJson( text, parsed, mistake ) ) {
        throw ConfigError( mistake.text() );
    }
    return parsed;
}

void JsonView::fail( std::string_view expected ) const {
    common::JsonMistake mistake;
    mistake.document = document_;
    mistake.pointer = pointer_;
    mistake.value = common::shortJson( value_ );
    mistake.expected = expected;
    throw ConfigError( mistake.text() );
}

JsonView JsonView::child( const rapidjson::Value &value, std::string_view token ) const {
    return { value, document_, common::pointerTo( pointer_, token ) };
}

void JsonView::expectMap() const {
    if ( !value_.IsObject() ) {
        fail( "an object" );
    }
    std::set<std::string_view> seen;
    for ( auto member = value_.MemberBegin(); member != value_.MemberEnd(); ++member ) {
        if ( !seen.insert( textOf( member->name ) ).second ) {
            child( member->value, textOf( member->name ) ).fail( "each key once in an object" );
        }
    }
}

void JsonView::expectObject( std::initializer_list<std::string_view> known,
                             const std::vector<std::string_view> &more ) const {
    expectMap();
    for ( auto member = value_.MemberBegin(); member != value_.MemberEnd(); ++member ) {
        const std::string_view key = textOf( member->name );
        if ( std::find( known.begin(), known.end(), key ) == known.end() &&
             std::find( more.begin(), more.end(), key ) == more.end() ) {
            std::vector<std::string_view> all( known );
            all.insert( all.end(), more.begin(), more.end() );
            child( member->value, key )
                .fail( fmt::format( "no such key here, only {}", fmt::join( all, ", " ) ) );
        }
    }
}

std::optional<JsonView> JsonView::find( std::string_view key ) const {
    const auto member =
        value_.FindMember( rapidjson::Value( rapidjson::StringRef( key.data(), key.size() ) ) );
    if ( member == value_.MemberEnd() ) {
        return std::nullopt;
    }
    return child( member->value, key );
}

JsonView JsonView::at( std::string_view key ) const {
    const std::optional<JsonView> member = find( key );
    if ( !member ) {
        fail( fmt::format( "an object with \"{}\"", key ) );
    }
    return *member;
}

void JsonView::forEachMember(
    const std::function<void( std::string_view, const JsonView & )> &use ) const {
    expectMap();
    for ( auto member = value_.MemberBegin(); member != value_.MemberEnd(); ++member ) {
        const std::string_view key = textOf( member->name );
        use( key, child( member->value, key ) );
    }
}

void JsonView::forEachElement( const std::function<void( const JsonView & )> &use ) const {
    if ( !value_.IsArray() ) {
        fail( "an array" );
    }
    for ( rapidjson::SizeType i = 0; i < value_.Size(); i++ ) {
        use( child( value_[ i ], fmt::format( "{}", i ) ) );
    }
}

uint32_t JsonView::number( uint32_t least, uint32_t most ) const {
    std::optional<uint32_t> number;
    if ( value_.IsUint() ) {
        number = value_.GetUint();
    } else if ( value_.IsString() ) {
        number = parseNumber( textOf( value_ ) );
    }
    if ( !number || *number < least || *number > most ) {
        fail( fmt::format( "a whole number from {} to {} (or as text: \"0x{:X}\")", least, most,
                           most ) );
    }
    return *number;
}

uint32_t JsonView::keyNumber( std::string_view key, uint32_t least, uint32_t most ) const {
    const std::optional<uint32_t> number = parseNumber( key );
    if ( !number || *number < least || *number > most ) {
        fail( fmt::format( "a key from {} to {} (or \"0x{:X}\")", least, most, most ) );
    }
    return *number;
}

double JsonView::real() const {
    if ( !value_.IsNumber() ) {
        fail( "a number" );
    }
    return value_.GetDouble();
}

bool JsonView::boolean() const {
    if ( !value_.IsBool() ) {
        fail( "true or false" );
    }
    return value_.GetBool();
}

std::string JsonView::text() const {
    if ( !value_.IsString() ) {
        fail( "text" );
    }
    return std::string( textOf( value_ ) );
}

} // namespace smbusd
