#include "OrvanGeneric/Ham/IpmitoolOutput.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

#include "OrvanGeneric/Ham/IpmiStates.h"

namespace Ham {

namespace {

using std::string_view;

/** Record ids have 16 bits, two of which mean the first and the last record. */
constexpr size_t mostRecords = 0xFFFE;

/** No line of a list is longer; a longer one is passed over. */
constexpr size_t longestLine = 1024;

/** What the tool prints of a sensor against its thresholds. */
constexpr string_view statuses[] = { "ok",  "ns",  "nc",  "cr",  "nr", "lnc",
                                     "lcr", "lnr", "unc", "ucr", "unr" };
constexpr string_view noReading = "ns";

template <size_t n>
bool isOneOf( string_view text, const string_view ( &words )[ n ] ) {
    return std::find( std::begin( words ), std::end( words ), text ) != std::end( words );
}

/** @p text without the blanks around it; always a part of @p text, also when it is empty. */
string_view trimmed( string_view text ) {
    constexpr const char *blanks = " \t\r";
    const size_t first = text.find_first_not_of( blanks );
    if ( first == string_view::npos ) {
        return text.substr( 0, 0 );
    }
    return text.substr( first, text.find_last_not_of( blanks ) - first + 1 );
}

bool isDigit( char c ) {
    return c >= '0' && c <= '9';
}

/**
 * Whether @p text is nothing but a decimal number that the look-ups can convert, to an integer too:
 * no subnormal one, which std::stof refuses, and none beyond 32 bits.
 */
bool isNumber( string_view text ) {
    float value;
    const char *end = text.data() + text.size();
    const auto result = std::from_chars( text.data(), end, value );
    const float magnitude = std::fabs( value );
    constexpr float firstBeyondInt = 2147483648.0f;
    return result.ec == std::errc() && result.ptr == end && magnitude < firstBeyondInt &&
           ( magnitude == 0 || magnitude >= std::numeric_limits<float>::min() );
}

bool isName( string_view text ) {
    return !text.empty() && std::all_of( text.begin(), text.end(), []( char c ) {
        return static_cast<unsigned char>( c ) >= ' ' && c != '\x7F';
    } );
}

/** A sensor's number, "0Ah". */
bool isSensorNumber( string_view text ) {
    return text.size() == 3 && std::isxdigit( static_cast<unsigned char>( text[ 0 ] ) ) &&
           std::isxdigit( static_cast<unsigned char>( text[ 1 ] ) ) && text[ 2 ] == 'h';
}

/** An entity and its instance, "10.1". */
bool isEntity( string_view text ) {
    const size_t dot = text.find( '.' );
    if ( dot == 0 || dot == string_view::npos || dot + 1 == text.size() ) {
        return false;
    }
    return std::all_of( text.begin(), text.begin() + dot, isDigit ) &&
           std::all_of( text.begin() + dot + 1, text.end(), isDigit );
}

/** Calls @p use for each line that is not too long. */
template <typename Use>
void forEachLine( string_view output, Use use ) {
    while ( !output.empty() ) {
        const size_t end = std::min( output.find( '\n' ), output.size() );
        if ( end <= longestLine ) {
            use( output.substr( 0, end ) );
        }
        output.remove_prefix( std::min( end + 1, output.size() ) );
    }
}

std::vector<string_view> fieldsOf( string_view line ) {
    std::vector<string_view> fields;
    for ( ;; ) {
        const size_t comma = line.find( ',' );
        fields.push_back( trimmed( line.substr( 0, comma ) ) );
        if ( comma == string_view::npos ) {
            return fields;
        }
        line.remove_prefix( comma + 1 );
    }
}

/** The part of @p line before the comma that precedes @p rest, which is a part of the line. */
string_view nameBefore( string_view line, string_view rest ) {
    const size_t length = static_cast<size_t>( rest.data() - line.data() );
    const size_t comma = line.substr( 0, length ).rfind( ',' );
    return trimmed( line.substr( 0, comma ) );
}

/** Takes a line that has a sensor's number; false when it has none. */
bool takeNumbered( string_view line, const std::vector<string_view> &fields, SensorList &list ) {
    for ( size_t i = 1; i + 2 < fields.size(); ++i ) {
        if ( !isSensorNumber( fields[ i ] ) || !isOneOf( fields[ i + 1 ], statuses ) ||
             !isEntity( fields[ i + 2 ] ) ) {
            continue;
        }
        const string_view name = nameBefore( line, fields[ i ] );
        if ( !isName( name ) ) {
            return true;
        }
        const size_t firstState = i + 3;
        if ( firstState == fields.size() ) {
            list.frus.emplace( name );
            return true;
        }
        list.discrete.emplace( name );
        if ( fields[ i + 1 ] != noReading ) {
            const size_t states = static_cast<size_t>( fields[ firstState ].data() - line.data() );
            list.readings.emplace( name, allStatesGood( line.substr( states ) ) ? "1" : "0" );
        }
        return true;
    }
    return false;
}

void takeAnalog( string_view line, const std::vector<string_view> &fields, SensorList &list ) {
    if ( fields.size() < 4 || !isOneOf( fields.back(), statuses ) ) {
        return;
    }
    const string_view value = fields[ fields.size() - 3 ];
    const string_view name = nameBefore( line, value );
    if ( !isName( name ) ) {
        return;
    }
    list.analog.emplace( name );
    if ( fields.back() != noReading && isNumber( value ) ) {
        list.readings.emplace( name, value );
    }
}

/** The field's name and value of a " FIELD : VALUE" line, empty where it is none. */
std::pair<string_view, string_view> fieldAndValue( string_view line ) {
    const size_t colon = line.find( ':' );
    if ( colon == string_view::npos ) {
        return {};
    }
    return { trimmed( line.substr( 0, colon ) ), trimmed( line.substr( colon + 1 ) ) };
}

/** What the lines of one unit told so far. */
struct Unit {
    std::string name;
    FruData product;
    FruData board;

    void addTo( FruList &list ) const {
        const FruData data = { product.model.empty() ? board.model : product.model,
                               product.serial.empty() ? board.serial : product.serial };
        if ( !name.empty() && !( data.model.empty() && data.serial.empty() ) ) {
            list.frus.emplace( name, data );
        }
    }
};

} // namespace

SensorList parseSensorList( const std::string &output ) {
    SensorList list;
    forEachLine( output, [ &list ]( string_view line ) {
        if ( list.analog.size() + list.discrete.size() + list.frus.size() >= mostRecords ) {
            return;
        }
        const std::vector<string_view> fields = fieldsOf( line );
        if ( !takeNumbered( line, fields, list ) ) {
            takeAnalog( line, fields, list );
        }
    } );
    return list;
}

std::map<std::string, std::string> parseSensorReadings( const std::string &output ) {
    std::map<std::string, std::string> readings;
    forEachLine( output, [ &readings ]( string_view line ) {
        const size_t comma = line.rfind( ',' );
        if ( comma == string_view::npos || readings.size() >= mostRecords ) {
            return;
        }
        const string_view name = trimmed( line.substr( 0, comma ) );
        const string_view value = trimmed( line.substr( comma + 1 ) );
        if ( isName( name ) && isNumber( value ) ) {
            readings.emplace( name, value );
        }
    } );
    return readings;
}

FruList parseFruList( const std::string &output ) {
    FruList list;
    Unit unit;
    forEachLine( output, [ &list, &unit ]( string_view line ) {
        const auto [ field, value ] = fieldAndValue( line );
        if ( field == "FRU Device Description" ) {
            unit.addTo( list );
            unit = Unit();
            const string_view name = trimmed( value.substr( 0, value.rfind( " (ID " ) ) );
            if ( !isName( name ) || list.frus.size() >= mostRecords ) {
                return;
            }
            list.recognised = true;
            unit.name = name;
        } else if ( field == "Product Name" ) {
            unit.product.model = value;
        } else if ( field == "Product Serial" ) {
            unit.product.serial = value;
        } else if ( field == "Board Product" ) {
            unit.board.model = value;
        } else if ( field == "Board Serial" ) {
            unit.board.serial = value;
        }
    } );
    unit.addTo( list );
    return list;
}

} // namespace Ham
