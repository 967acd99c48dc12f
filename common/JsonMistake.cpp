#include "common/JsonMistake.h"

#include <algorithm>

#include <fmt/core.h>
#include <rapidjson/error/en.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace common {

namespace {

constexpr std::string_view cutMark = "...";

using AsciiWriter =
    rapidjson::Writer<rapidjson::StringBuffer, rapidjson::UTF8<>, rapidjson::ASCII<>>;

/** Stops once there is more than anybody sees: a stranger's nesting could cost all the stack. */
class ShortWriter : public AsciiWriter {
  public:
    ShortWriter( rapidjson::StringBuffer &buffer, size_t limit )
        : AsciiWriter( buffer ), buffer_( buffer ), limit_( limit ) {}
    bool StartArray() { return AsciiWriter::StartArray() && buffer_.GetSize() <= limit_; }
    bool StartObject() { return AsciiWriter::StartObject() && buffer_.GetSize() <= limit_; }

  private:
    rapidjson::StringBuffer &buffer_;
    size_t limit_;
};

/** Where the mistake is, as it stands in its line; empty when it is the whole document. */
std::string placeOf( const JsonMistake &mistake ) {
    std::string place = mistake.pointer.empty() ? "" : "at " + mistake.pointer;
    if ( mistake.position.line != 0 ) {
        place += fmt::format( "{}line {}, column {}", place.empty() ? "" : ", ",
                              mistake.position.line, mistake.position.column );
    }
    return place;
}

} // namespace

std::string JsonMistake::text() const {
    std::string line = document + ": ";
    if ( warning ) {
        line += "warning: ";
    }
    if ( const std::string place = placeOf( *this ); !place.empty() ) {
        line += place + ": ";
    }
    if ( !value.empty() ) {
        line += value + "; ";
    }
    return line + ( warning ? expected : "expected " + expected );
}

TextPosition positionOf( std::string_view text, size_t offset ) {
    const std::string_view before = text.substr( 0, std::min( offset, text.size() ) );
    const size_t lineStart = before.rfind( '\n' ) + 1; // npos + 1 is 0
    return { static_cast<size_t>( std::count( before.begin(), before.end(), '\n' ) ) + 1,
             before.size() - lineStart + 1 };
}

std::string pointerTo( const std::string &pointer, std::string_view key ) {
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

std::string pointerTo( const std::string &pointer, size_t index ) {
    return fmt::format( "{}/{}", pointer, index );
}

std::string shortJson( const rapidjson::Value &value, size_t limit ) {
    rapidjson::StringBuffer buffer;
    ShortWriter writer( buffer, limit );
    value.Accept( writer );
    std::string text( buffer.GetString(), buffer.GetSize() );
    if ( text.size() > limit ) {
        text.resize( limit - cutMark.size() );
        text += cutMark;
    }
    return text;
}

bool parseJson( std::string_view text, rapidjson::Document &document, JsonMistake &mistake ) {
    size_t offset = text.find( '\0' );
    if ( offset != std::string_view::npos ) {
        mistake.value = "a NUL character";
    } else {
        document.Parse<rapidjson::kParseIterativeFlag>( text.data(), text.size() );
        if ( !document.HasParseError() ) {
            return true;
        }
        offset = document.GetErrorOffset();
        mistake.value = rapidjson::GetParseError_En( document.GetParseError() );
        if ( mistake.value.ends_with( '.' ) ) {
            mistake.value.pop_back();
        }
    }
    mistake.position = positionOf( text, offset );
    mistake.expected = "JSON text";
    return false;
}

} // namespace common
