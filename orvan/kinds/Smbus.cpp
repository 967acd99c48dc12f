#include <pl/smbus.h>

#include "orvan/kinds/Kind.h"

namespace orvan {

namespace {

void *add( void *symbol, const PeripheralDescription &description ) {
    return reinterpret_cast<pl_smbus *( * )( const char *, unsigned char )>( symbol )(
        description.device.c_str(), static_cast<unsigned char>( description.address ) );
}

} // namespace

// Raw access has no readings of its own: `orvan smbus` works on it.
const Kind smbusKind = { "smbus", "pl_smbus_init", "pl_smbus_add", add, noReadings, noSettings };

} // namespace orvan
