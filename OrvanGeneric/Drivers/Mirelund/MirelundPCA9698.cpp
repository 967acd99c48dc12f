#include "OrvanGeneric/Drivers/Mirelund/MirelundPCA9698.h"

#include <array>
#include <cassert>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/HostServices.h"

namespace Drivers {

namespace {

/** The chip has five banks; the boards wire four. */
constexpr int banks = 4;
constexpr unsigned cacheTimeout = 2; // s

/** The PCA9698's registers of bank 0. */
enum Register { inputPort0 = 0, outputPort0 = 8, configuration0 = 24 };

/** Pin directions of both ports of a bank; a 1 bit is an input. */
constexpr uint8_t sfpDirections = 0xBB;  // out: +2, transmit disable
constexpr uint8_t qsfpDirections = 0x66; // out: +0, reset, and +3, low-power mode

constexpr XcvrExpanderFamily family = {
    .banks = banks,
    .writeFailed = "MirelundPCA9698 bitset() failed on Bank %d Bit %d!",
    .readFailed = "MirelundPCA9698 bitRead() failed on Bank %d Bit %d!",
    .tracedBits = 7,
};

/**
 * Eight cages, in values that read sensibly with either kind of cage:
 *
 *   nibble  as SFP                                as QSFP
 *   7       present, transmit off, no light       present, out of reset, full power
 *   3       present, transmit on, no light        empty, out of reset
 *   2       empty, no light                       empty, held in reset
 *
 * No SFP reports a transmit fault, no QSFP an interrupt. Ports 1 to 3 (49 to 51) hold 7, ports 4
 * to 6 hold 3, ports 7 and 8 hold 2. The outputs drive what the inputs show.
 */
const Utils::ExpectedValues simulatedRegisters = {
    { inputPort0, { 0x77, 1 } },
    { inputPort0 + 1, { 0x37, 1 } },
    { inputPort0 + 2, { 0x33, 1 } },
    { inputPort0 + 3, { 0x22, 1 } },
    { outputPort0, { 0x77, 1 } },
    { outputPort0 + 1, { 0x37, 1 } },
    { outputPort0 + 2, { 0x33, 1 } },
    { outputPort0 + 3, { 0x22, 1 } },
    { configuration0, { sfpDirections, 1 } },
    { configuration0 + 1, { sfpDirections, 1 } },
    { configuration0 + 2, { sfpDirections, 1 } },
    { configuration0 + 3, { sfpDirections, 1 } },
};

} // namespace

MirelundPCA9698::MirelundPCA9698()
    : GPIOExpander( banks, cacheTimeout, inputPort0, outputPort0, configuration0 ),
      XcvrExpander( this, family ) {}

pl_status MirelundPCA9698::configureBanks( uint8_t directions ) {
    std::array<uint8_t, banks> config;
    config.fill( directions );
    const pl_status status = writeConfig( config.data() );
    if ( status != PL_STATUS_OK ) {
        TRACE( 0, "Error: failed to write PCA9698 pin configuration" );
    }
    return status;
}

int MirelundPCA9698::init() {
    return configureBanks( sfpDirections );
}

const Utils::ExpectedValues *MirelundPCA9698::expectedValues() {
    return &simulatedRegisters;
}

Component::HardwareDevice *MirelundSFP::create( const DriverArgs &args, Ham::Ham * ) {
    TRACE( 5, "Creating Mirelund SFP device" );
    const auto type = args.driverArgs.find( "type" );
    if ( type != args.driverArgs.end() && type->second == "gpio" ) {
        return new Component::HardwareDevice();
    }
    return new MirelundSFP();
}

Component::LogicalDevice::SfpXcvr *MirelundSFP::newSfpXcvr( unsigned int id, const DriverArgs & ) {
    TRACE( 5, "creating new SfpXcvr for id %hhu", static_cast<uint8_t>( id ) );
    assert( 1 <= id && id <= 48 );
    return makeSfpXcvr( id );
}

Component::HardwareDevice *MireYQSFP::create( const DriverArgs &, Ham::Ham * ) {
    TRACE( 5, "Creating Mirelund SFP device" );
    return new MireYQSFP();
}

Component::LogicalDevice::QsfpXcvr *MireYQSFP::newQsfpXcvr( unsigned int id, const DriverArgs & ) {
    TRACE( 5, "creating new QsfpXcvr for id %hhu", static_cast<uint8_t>( id ) );
    assert( 49 <= id && id <= 56 );
    return makeQsfpXcvr( id );
}

Component::HardwareDevice *MireZQSFP::create( const DriverArgs &, Ham::Ham * ) {
    TRACE( 5, "Creating Mirelund SFP device" );
    return new MireZQSFP();
}

int MireZQSFP::init() {
    return configureBanks( qsfpDirections );
}

Component::LogicalDevice::QsfpXcvr *MireZQSFP::newQsfpXcvr( unsigned int id, const DriverArgs & ) {
    TRACE( 5, "creating new QsfpXcvr for id %hhu", static_cast<uint8_t>( id ) );
    assert( 49 <= id && id <= 56 );
    return makeQsfpXcvr( id );
}

} // namespace Drivers
