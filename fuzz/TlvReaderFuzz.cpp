// A TlvInfo EEPROM whose signature and version are right, with anything after them: the search ends
// and reads only what the lengths allow.
#include <algorithm>
#include <cstdint>
#include <string>

#include "OrvanGeneric/Drivers/TlvReader.h"
#include "fuzz/Require.h"
#include "tests/support/EepromHam.h"

extern "C" int LLVMFuzzerTestOneInput( const uint8_t *data, size_t size ) {
    static EepromHam ham;
    ham.log.clear();
    ham.image = std::string( "TlvInfo\0\x01", 9 );
    ham.image.append( reinterpret_cast<const char *>( data ), size );

    std::string serial, model;
    const pl_status status = Drivers::readTlvInfo( &ham, serial, model );
    require( status == PL_STATUS_OK || status == PL_STATUS_NOT_PRESENT, "another status" );
    require( ( status == PL_STATUS_OK ) == ( !serial.empty() && !model.empty() ),
             "a supply without its names, or the reverse" );
    require( serial.size() <= 255 && model.size() <= 255, "more than a length allows" );
    return 0;
}
