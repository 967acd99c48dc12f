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
    explicit TextTable( std::vector<std::string> header ) : rows_{ std::move( header ) } {}

    /** Missing cells are left blank. */
    void add( std::vector<std::string> cells ) { rows_.push_back( std::move( cells ) ); }
    void print( std::ostream &out ) const;

  private:
    std::vector<std::vector<std::string>> rows_; // the first is the header
};

/** @p text on one line: control characters as escapes, so that a device cannot steer the terminal. */
std::string oneLine( const std::string &text );

} // namespace orvan
