/**
 * @file
 * How all programs say what is wrong in a JSON text.
 */
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <rapidjson/document.h>

namespace common {

/** A place in a text, counted from 1; a line of 0: not known. */
struct TextPosition {
    size_t line = 0;   ///< lines end with a line feed
    size_t column = 0; ///< in bytes
};

/** One mistake in a JSON text or, as a warning, something there that has no effect. */
struct JsonMistake {
    std::string document;    ///< what the text is called: a file's path, as a rule
    std::string pointer;     ///< JSON pointer (RFC 6901) of the value; empty: the whole document
    TextPosition position{}; ///< where it is in the text, when that is known
    std::string value;       ///< what is there, shortened; empty: nothing to show
    std::string expected;    ///< what should be there; in a warning: all there is to say
    bool warning = false;    ///< whether the text can be used all the same

    /**
     * One line, without its end, of those parts that are there:
     *
     *     hardware.json: at /buses/0/bus, line 3, column 9: 300; expected a number from 0 to 127
     *     topology.json: warning: at /2/x: unknown key
     */
    std::string text() const;
};

/** The position of the byte at @p offset in @p text; of its end when it has fewer. */
TextPosition positionOf( std::string_view text, size_t offset );

/** The JSON pointer of the member @p key of the object at @p pointer: "~" and "/" in it escaped. */
std::string pointerTo( const std::string &pointer, std::string_view key );
/** The JSON pointer of the element @p index, counted from 0, of the array at @p pointer. */
std::string pointerTo( const std::string &pointer, size_t index );

/**
 * @p value as compact JSON in ASCII characters, for people. A longer one than @p limit characters is cut
 * and ends with "...". Values of any depth cost no stack beyond the limit.
 */
std::string shortJson( const rapidjson::Value &value, size_t limit = 60 );

/**
 * Parses @p text, nested however deep, into @p document.
 * @param mistake  where @p text is no JSON: its position and value, and the expectation; the rest is
 *                 as the caller left it
 * @return whether it is JSON. A NUL character is none, since readers of C strings end there.
 */
bool parseJson( std::string_view text, rapidjson::Document &document, JsonMistake &mistake );

} // namespace common
