#include "orvan/text/TextTable.h"

#include <algorithm>

#include <fmt/core.h>

namespace orvan {

void TextTable::print( std::ostream &out ) const {
    std::vector<std::size_t> widths;
    for ( const auto &row : rows_ ) {
        widths.resize( std::max( widths.size(), row.size() ) );
        for ( std::size_t i = 0; i < row.size(); ++i ) {
            widths[ i ] = std::max( widths[ i ], row[ i ].size() );
        }
    }
    for ( const auto &row : rows_ ) {
        std::string line;
        for ( std::size_t i = 0; i < row.size(); ++i ) {
            line += fmt::format( "{:<{}}", row[ i ], widths[ i ] + 2 );
        }
        line.erase( line.find_last_not_of( ' ' ) + 1 );
        out << line << '\n';
    }
}

std::string oneLine( const std::string &text ) {
    std::string line;
    for ( const char c : text ) {
        const auto code = static_cast<unsigned char>( c );
        if ( c == '\n' ) {
            line += "\\n";
        } else if ( code < 0x20 || code == 0x7f ) {
            line += fmt::format( "\\x{:02x}", code );
        } else {
            line += c;
        }
    }
    return line;
}

} // namespace orvan
