/**
 * @file
 * What is wrong with a board's files, collected so that all of it is reported at once.
 */
#pragma once

#include <string>
#include <vector>

#include <rapidjson/document.h>

namespace orvan {

/** One mistake (or, as a warning, something that will be ignored) in a JSON file. */
struct Problem {
    std::string file;
    std::string pointer;  ///< JSON pointer (RFC 6901) of the value; empty: the whole document
    std::string value;    ///< the value as JSON, shortened; empty: none to show
    std::string expected; ///< what should be there
    bool warning = false;

    /** One line: `file: at /3/name: 7; expected a text`. */
    std::string text() const;
};

/** The mistakes found in one board. */
class Problems {
  public:
    /** @p value may be null when there is nothing to show. */
    void error( const std::string &file, const std::string &pointer, const rapidjson::Value *value,
                const std::string &expected );
    /** The same for a value that is not in the document as it stands. */
    void errorText( const std::string &file, const std::string &pointer, const std::string &value,
                    const std::string &expected );
    void warning( const std::string &file, const std::string &pointer, const std::string &text );

    bool hasErrors() const;
    const std::vector<Problem> &all() const { return problems_; }
    /** Every problem on a line of its own. */
    std::string text() const;

  private:
    std::vector<Problem> problems_;
};

/** @p value as compact JSON, cut to @p limit characters. */
std::string shortJson( const rapidjson::Value &value, std::size_t limit = 60 );

/** @p value as compact JSON with characters outside ASCII escaped: the form handed to the library. */
std::string compactJson( const rapidjson::Value &value );

/** @p pointer with one step more, "~" and "/" in it escaped. */
std::string pointerTo( const std::string &pointer, const std::string &key );
std::string pointerTo( const std::string &pointer, std::size_t index );

} // namespace orvan
