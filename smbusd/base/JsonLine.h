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
    /** Empty; begins with beginObject(). */
    JsonLine() : writer_( buffer_ ) {}

    /** A member's name; its value, object or array comes next. */
    JsonLine &key( std::string_view name ) {
        writer_.Key( name.data(), static_cast<rapidjson::SizeType>( name.size() ) );
        return *this;
    }
    /** A value: of the last key, or of the array that is open. */
    JsonLine &value( std::string_view text ) {
        writer_.String( text.data(), static_cast<rapidjson::SizeType>( text.size() ) );
        return *this;
    }
    /** As text, not as the bool that a pointer would become. */
    JsonLine &value( const char *text ) { return value( std::string_view( text ) ); }
    /** True or false. */
    JsonLine &value( bool flag ) {
        writer_.Bool( flag );
        return *this;
    }
    /** A whole number. */
    JsonLine &value( uint32_t number ) {
        writer_.Uint( number );
        return *this;
    }
    /** A whole number. */
    JsonLine &value( uint64_t number ) {
        writer_.Uint64( number );
        return *this;
    }
    /** A number, with as many digits as it takes to read the same back. */
    JsonLine &value( double number ) {
        writer_.Double( number );
        return *this;
    }
    /** A key with its value. */
    template <typename Value>
    JsonLine &member( std::string_view name, const Value &content ) {
        return key( name ).value( content );
    }
    /** Opens an object. */
    JsonLine &beginObject() {
        writer_.StartObject();
        return *this;
    }
    /** Closes the object opened last. */
    JsonLine &endObject() {
        writer_.EndObject();
        return *this;
    }
    /** Opens an array. */
    JsonLine &beginArray() {
        writer_.StartArray();
        return *this;
    }
    /** Closes the array opened last. */
    JsonLine &endArray() {
        writer_.EndArray();
        return *this;
    }

    /** The line, whole once the first object is closed. */
    std::string text() const { return { buffer_.GetString(), buffer_.GetSize() }; }

  private:
    using Writer = rapidjson::Writer<rapidjson::StringBuffer>;
    rapidjson::StringBuffer buffer_;
    Writer writer_;
};

} // namespace smbusd
