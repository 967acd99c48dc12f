/**
 * @file
 * What is wrong with a board's files, collected so that all of it is reported together.
 */
#pragma once

#include <string>
#include <vector>

#include <rapidjson/document.h>

#include "common/JsonMistake.h"

namespace orvan {

/** The mistakes found in one board. */
class Problems {
  public:
    /** @p value may be null when there is nothing to show. */
    void error( const std::string &file, const std::string &pointer, const rapidjson::Value *value,
                const std::string &expected );
    /** Adds a mistake that is described already; a warning if it says so. */
    void error( common::JsonMistake mistake );
    /** The same for a value that is not in the document as it stands. */
    void errorText( const std::string &file, const std::string &pointer, const std::string &value,
                    const std::string &expected );
    /** Adds what has no effect: @p text says it, @p pointer where it is. The file can be used. */
    void warning( const std::string &file, const std::string &pointer, const std::string &text );

    /** Whether anything but warnings was added: the board cannot be used then. */
    bool hasErrors() const;
    /** Mistakes and warnings in the order in which they were added. */
    const std::vector<common::JsonMistake> &all() const { return problems_; }
    /** Every problem on a line of its own. */
    std::string text() const;

  private:
    std::vector<common::JsonMistake> problems_;
};

/** @p value as compact JSON with characters outside ASCII escaped: the form handed to the library. */
std::string compactJson( const rapidjson::Value &value );

} // namespace orvan
