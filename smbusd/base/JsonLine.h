#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace smbusd {

/** Writes a JSON text of one line, without its end. */
class JsonLine {
  public:
    JsonLine() : writer_( buffer_ ) {}

    JsonLine &key( std::string_view name ) {
        writer_.Key( name.data(), static_cast<rapidjson::SizeType>( name.size() ) );
        return *this;
    }
    JsonLine &value( std::string_view text ) {
        writer_.String( text.data(), static_cast<rapidjson::SizeType>( text.size() ) );
        return *this;
    }
    JsonLine &value( const char *text ) { return value( std::string_view( text ) ); }
    JsonLine &value( bool flag ) {
        writer_.Bool( flag );
        return *this;
    }
    JsonLine &value( uint32_t number ) {
        writer_.Uint( number );
        return *this;
    }
    JsonLine &value( uint64_t number ) {
        writer_.Uint64( number );
        return *this;
    }
    JsonLine &value( double number ) {
        writer_.Double( number );
        return *this;
    }
    template <typename Value>
    JsonLine &member( std::string_view name, const Value &content ) {
        return key( name ).value( content );
    }
    JsonLine &beginObject() {
        writer_.StartObject();
        return *this;
    }
    JsonLine &endObject() {
        writer_.EndObject();
        return *this;
    }
    JsonLine &beginArray() {
        writer_.StartArray();
        return *this;
    }
    JsonLine &endArray() {
        writer_.EndArray();
        return *this;
    }

    std::string text() const { return { buffer_.GetString(), buffer_.GetSize() }; }

  private:
    using Writer = rapidjson::Writer<rapidjson::StringBuffer>;
    rapidjson::StringBuffer buffer_;
    Writer writer_;
};

} // namespace smbusd
