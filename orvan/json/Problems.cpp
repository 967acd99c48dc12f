#include "orvan/json/Problems.h"

#include <algorithm>

#include <fmt/core.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace orvan {

std::string Problem::text() const {
    std::string line = file + ": ";
    if ( warning ) {
        line += "warning: ";
    }
    if ( !pointer.empty() ) {
        line += fmt::format( "at {}: ", pointer );
    }
    if ( !value.empty() ) {
        line += value + "; ";
    }
    return line + ( warning ? expected : "expected " + expected );
}

void Problems::error( const std::string &file, const std::string &pointer,
                      const rapidjson::Value *value, const std::string &expected ) {
    errorText( file, pointer, value ? shortJson( *value ) : std::string(), expected );
}

void Problems::errorText( const std::string &file, const std::string &pointer,
                          const std::string &value, const std::string &expected ) {
    problems_.push_back( { file, pointer, value, expected, false } );
}

void Problems::warning( const std::string &file, const std::string &pointer,
                        const std::string &text ) {
    problems_.push_back( { file, pointer, {}, text, true } );
}

bool Problems::hasErrors() const {
    return std::any_of( problems_.begin(), problems_.end(),
                        []( const Problem &problem ) { return !problem.warning; } );
}

std::string Problems::text() const {
    std::string lines;
    for ( const Problem &problem : problems_ ) {
        lines += problem.text() + "\n";
    }
    return lines;
}

std::string compactJson( const rapidjson::Value &value ) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer, rapidjson::UTF8<>, rapidjson::ASCII<>> writer(
        buffer );
    value.Accept( writer );
    return { buffer.GetString(), buffer.GetSize() };
}

std::string shortJson( const rapidjson::Value &value, std::size_t limit ) {
    std::string text = compactJson( value );
    if ( text.size() > limit ) {
        text.resize( limit - 3 );
        text += "...";
    }
    return text;
}

std::string pointerTo( const std::string &pointer, const std::string &key ) {
    std::string result = pointer + '/';
    for ( const char c : key ) {
        if ( c == '~' ) {
            result += "~0";
        } else if ( c == '/' ) {
            result += "~1";
        } else {
            result += c;
        }
    }
    return result;
}

std::string pointerTo( const std::string &pointer, std::size_t index ) {
    return fmt::format( "{}/{}", pointer, index );
}

} // namespace orvan
