// What a tool prints, in any form: every reading that is taken must be one that the driver's
// conversions take, too.
#include <cmath>
#include <cstdint>
#include <string>

#include "OrvanGeneric/Ham/IpmitoolOutput.h"
#include "fuzz/Require.h"

namespace {

void requireReadings( const std::map<std::string, std::string> &readings ) {
    for ( const auto &[ name, reading ] : readings ) {
        require( !name.empty(), "a reading without a name" );
        size_t end = 0;
        require( std::isfinite( std::stof( reading, &end ) ), "a reading that is not finite" );
        require( end == reading.size(), "a reading with something after it" );
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const uint8_t *data, size_t size ) {
    const std::string output( reinterpret_cast<const char *>( data ), size );

    const Ham::SensorList list = Ham::parseSensorList( output );
    requireReadings( list.readings );
    for ( const auto &[ name, reading ] : list.readings ) {
        require( list.analog.count( name ) || list.discrete.count( name ),
                 "a reading of no sensor" );
    }

    requireReadings( Ham::parseSensorReadings( output ) );

    const Ham::FruList frus = Ham::parseFruList( output );
    for ( const auto &[ name, unit ] : frus.frus ) {
        require( !name.empty() && !( unit.model.empty() && unit.serial.empty() ),
                 "a unit without a name, or with nothing to tell" );
    }
    require( frus.recognised || frus.frus.empty(), "units of no list" );
    return 0;
}
