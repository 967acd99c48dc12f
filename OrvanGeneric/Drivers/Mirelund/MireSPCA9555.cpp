#include "OrvanGeneric/Drivers/Mirelund/MireSPCA9555.h"

#include <cassert>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Drivers/Pca9555Registers.h"
#include "OrvanGeneric/HostServices.h"

namespace Drivers {

using namespace Pca9555;

namespace {

constexpr uint8_t cacheTimeout = 2; // s

/** The failure traces name the port's nibble, not the line. */
constexpr XcvrExpanderFamily family = {
    .banks = banks,
    .writeFailed = "MireSPCA9555 bitset() failed on Bank %d Bit %d!",
    .readFailed = "MireSPCA9555 bitRead() failed on Bank %d Bit %d!",
    .tracedBits = 4,
};

/**
 * Four cages, all out of reset, at full power and without an interrupt: the first and the last hold
 * a module (7), the two between are empty (3). Reset and low-power mode are outputs and drive what
 * the inputs show.
 */
const Utils::ExpectedValues simulatedRegisters = {
    { inputPort0, { 0x37, 1 } },  { inputPort1, { 0x73, 1 } },     { outputPort0, { 0x37, 1 } },
    { outputPort1, { 0x73, 1 } }, { configuration0, { 0x66, 1 } }, { configuration1, { 0x66, 1 } },
};

} // namespace

MireSPCA9555::MireSPCA9555( const uint8_t *directions )
    : GenericPCA9555( directions, banks, cacheTimeout, inputPort0, outputPort0, configuration0 ),
      XcvrExpander( this, family ) {}

int MireSPCA9555::init() {
    return GenericPCA9555::init();
}

const Utils::ExpectedValues *MireSPCA9555::expectedValues() {
    return &simulatedRegisters;
}

Component::HardwareDevice *MireSQSFP::create( const DriverArgs &args, Ham::Ham * ) {
    TRACE( 5, "Creating Mirelund QSFP device" );
    uint8_t directions[ banks ];
    directions[ 0 ] = static_cast<uint8_t>( requiredIntArg( args, "bank-io-0" ) );
    directions[ 1 ] = static_cast<uint8_t>( requiredIntArg( args, "bank-io-1" ) );
    return new MireSQSFP( directions );
}

Component::LogicalDevice::QsfpXcvr *MireSQSFP::newQsfpXcvr( unsigned int id, const DriverArgs & ) {
    TRACE( 5, "creating new QsfpXcvr for id %hhu", static_cast<uint8_t>( id ) );
    assert( 49 <= id && id <= 54 );
    return makeQsfpXcvr( id );
}

} // namespace Drivers
