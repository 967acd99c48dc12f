/**
 * @file
 * Columns of text for the terminal.
 */
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace orvan {

/** A table whose columns are as wide as their widest cell. */
class TextTable {
  public:
    /** A table with the columns of @p header and no rows. */
    explicit TextTable( std::vector<std::string> header ) : rows_{ std::move( header ) } {}

    /** Adds a row, one text per column; missing cells are left blank. Widths count bytes. */
    void add( std::vector<std::string> cells ) { rows_.push_back( std::move( cells ) ); }
    /** Writes header and rows, columns two blanks apart, without blanks at the ends of lines. */
    void print( std::ostream &out ) const;

  private:
    std::vector<std::vector<std::string>> rows_; // the first is the header
};

/**
 * @p text on one line: line ends as "\\n", other control characters as "\\x1b", so that what a device
 * sends cannot control the terminal.
 */
std::string oneLine( const std::string &text );

} // namespace orvan
