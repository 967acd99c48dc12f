#include "orvan/json/Problems.h"

#include <algorithm>
#include <utility>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace orvan {

void Problems::error( const std::string &file, const std::string &pointer,
                      const rapidjson::Value *value, const std::string &expected ) {
    errorText( file, pointer, value ? common::shortJson( *value ) : std::string(), expected );
}

void Problems::error( common::JsonMistake mistake ) {
    problems_.push_back( std::move( mistake ) );
}

void Problems::errorText( const std::string &file, const std::string &pointer,
                          const std::string &value, const std::string &expected ) {
    problems_.push_back( { file, pointer, {}, value, expected, false } );
}

void Problems::warning( const std::string &file, const std::string &pointer,
                        const std::string &text ) {
    problems_.push_back( { file, pointer, {}, {}, text, true } );
}

bool Problems::hasErrors() const {
    return std::any_of( problems_.begin(), problems_.end(),
                        []( const common::JsonMistake &problem ) { return !problem.warning; } );
}

std::string Problems::text() const {
    std::string lines;
    for ( const common::JsonMistake &problem : problems_ ) {
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

} // namespace orvan
