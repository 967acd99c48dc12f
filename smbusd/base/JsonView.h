#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <rapidjson/document.h>

namespace smbusd {

/** A fault in a JSON text: where it is, what is there and what was expected. */
class ConfigError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/**
 * A value within a JSON document that knows its place. Reading it as something that it is not
 * throws a ConfigError which names the document, the place as a JSON pointer, the value and what
 * was expected. Refers to the document, which must outlive it.
 */
class JsonView {
  public:
    /** The whole document. @param document  what to call it in messages */
    JsonView( const rapidjson::Value &value, std::string document )
        : JsonView( value, std::move( document ), "" ) {}

    /** Throws a ConfigError about this value. @param expected  what should be here */
    [[noreturn]] void fail( std::string_view expected ) const;

    /**
     * An object without repeated keys, and with no other keys than these.
     * @param more  further keys that are known
     */
    void expectObject( std::initializer_list<std::string_view> known,
                       const std::vector<std::string_view> &more = {} ) const;
    /** An object whose keys are the author's choice. */
    void expectMap() const;

    /** The member of that key; it must be there. */
    JsonView at( std::string_view key ) const;
    /** The member of that key, nothing if there is none. The value must be an object. */
    std::optional<JsonView> find( std::string_view key ) const;
    /** Calls with each key and its value. Fails unless the value is an object. */
    void
    forEachMember( const std::function<void( std::string_view, const JsonView & )> &use ) const;
    /** Calls with each element. Fails unless the value is an array. */
    void forEachElement( const std::function<void( const JsonView & )> &use ) const;

    /** A whole number within bounds, as a JSON number or as text: 32, "32" or "0x20". */
    uint32_t number( uint32_t least, uint32_t most ) const;
    /** A key that stands for a number, within bounds. */
    uint32_t keyNumber( std::string_view key, uint32_t least, uint32_t most ) const;
    /** A JSON number, whole or not. */
    double real() const;
    /** True or false. */
    bool boolean() const;
    /** A JSON string, in UTF-8. */
    std::string text() const;
    /** Whether it is a string. */
    bool isText() const { return value_.IsString(); }
    /** Whether it is an object. */
    bool isObject() const { return value_.IsObject(); }
    /** Whether it is an array. */
    bool isArray() const { return value_.IsArray(); }

  private:
    JsonView( const rapidjson::Value &value, std::string document, std::string pointer )
        : value_( value ), document_( std::move( document ) ), pointer_( std::move( pointer ) ) {}
    JsonView child( const rapidjson::Value &value, std::string_view token ) const;

    const rapidjson::Value &value_;
    std::string document_;
    std::string pointer_;
};

/** Reads a number as people write registers: decimal, or hexadecimal after "0x". */
std::optional<uint32_t> parseNumber( std::string_view text );

/**
 * Parses a JSON text. Throws ConfigError with line and column when it is not one.
 * @param document  what to call the text in messages
 */
rapidjson::Document parseJson( std::string_view text, const std::string &document );

} // namespace smbusd
