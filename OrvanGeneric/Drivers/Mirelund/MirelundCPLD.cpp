#include "OrvanGeneric/Drivers/Mirelund/MirelundCPLD.h"

#include <cassert>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Ham/Ham.h"
#include "OrvanGeneric/HostServices.h"
#include "OrvanGeneric/Status.h"

namespace Drivers {

namespace {

constexpr uint32_t pollInterval = 1000; // ms

constexpr std::initializer_list<uint8_t> portRegisters = { 1, 2, 3, 4 };
constexpr unsigned portsPerCpld = 16;
constexpr unsigned portsPerRegister = 4;
constexpr unsigned nibbleBits = 4;

/** The first port of a register has its highest nibble. @param index  0 to 15 */
constexpr XcvrPort portAt( unsigned index, unsigned storedId ) {
    const unsigned nibble = portsPerRegister - 1 - index % portsPerRegister;
    return { static_cast<uint8_t>( storedId ), static_cast<uint8_t>( index / portsPerRegister + 1 ),
             static_cast<uint8_t>( nibble * nibbleBits ) };
}

void traceNewPort( const XcvrPort &port ) {
    TRACE( 5, "id=%u reg=%#02hhx bit=%hhu", static_cast<unsigned>( port.id ), port.place,
           port.baseBit );
}

/** A word between the bus, low byte first, and the CPLD, high byte first; the same both ways. */
constexpr uint16_t swapped( uint16_t word ) {
    return __builtin_bswap16( word );
}

/**
 * Four empty banks of cages. A size of one byte makes the file two digits to a register: a word read
 * in simulation takes in the next register's digits, and word writes do not reach the file.
 */
const Utils::ExpectedValues simulatedRegisters = {
    { 1, { 0, 1 } },
    { 2, { 0, 1 } },
    { 3, { 0, 1 } },
    { 4, { 0, 1 } },
};

} // namespace

int MireXcvrCPLD::init() {
    TRACE( 0, "MireXcvrCPLD::init()" );
    const bool refreshed = updateRegisterCache();
    pollIntervalIs( pollInterval );
    if ( pollStarted() ) {
        return refreshed ? 1 : 0;
    }
    assert( pollStart() );
    return 0;
}

Component::LogicalDevice::SfpXcvr *MireXcvrCPLD::newSfpXcvr( unsigned int id, const DriverArgs & ) {
    assert( id >= 1 && id <= 48 );
    const unsigned index = id - 1;
    const XcvrPort port = portAt( index % portsPerCpld, index );
    TRACE( 5, "creating new SfpXcvr for id %hhu", static_cast<uint8_t>( id ) );
    traceNewPort( port );
    return new SfpXcvr( id, this, port );
}

bool MireXcvrCPLD::pollCallback() {
    return updateRegisterCache();
}

void MireXcvrCPLD::pollPortRegisters() {
    pollList_.insert( pollList_.begin(), portRegisters );
}

pl_status MireXcvrCPLD::refreshRegister( uint8_t reg ) {
    uint16_t word;
    const int status = ham()->read16( reg, &word );
    if ( status == 0 ) {
        registerCache_[ reg ] = swapped( word );
    }
    return Utils::hostStatus( status );
}

pl_status MireXcvrCPLD::getRegisterBit( uint8_t reg, uint8_t bit, int *out, bool refresh ) {
    if ( refresh ) {
        const pl_status status = refreshRegister( reg );
        if ( status != PL_STATUS_OK ) {
            return status;
        }
    }
    *out = ( registerCache_[ reg ] >> bit ) & 1;
    return PL_STATUS_OK;
}

pl_status MireXcvrCPLD::setRegisterBit( uint8_t reg, uint8_t bit, int value, bool refresh ) {
    uint16_t word = registerCache_[ reg ];
    if ( refresh ) {
        const int status = ham()->read16( reg, &word );
        if ( status ) {
            return Utils::hostStatus( status );
        }
        word = swapped( word );
    }
    const unsigned mask = 1u << bit;
    word = static_cast<uint16_t>( value ? word | mask : word & ~mask );
    const int status = ham()->write16( reg, swapped( word ), false );
    if ( status == 0 ) {
        registerCache_[ reg ] = word;
    }
    return Utils::hostStatus( status );
}

pl_status MireXcvrCPLD::activeLow( pl_status status, int *value ) {
    if ( status == PL_STATUS_OK ) {
        *value = *value ? 0 : 1;
    }
    return status;
}

bool MireXcvrCPLD::updateRegisterCache() {
    Ham::Ham *const bus = ham();
    bus->prepare();
    Ham::ResponseId last = Ham::INVALID_RESPONSE_ID;
    for ( const uint8_t reg : pollList_ ) {
        last = bus->addRead16( reg );
    }
    if ( bus->execute() ) {
        TRACE( 0, "Failed to poll information for MireXcvrCPLD" );
        return false;
    }
    Ham::ResponseId id = last - static_cast<Ham::ResponseId>( pollList_.size() );
    for ( const uint8_t reg : pollList_ ) {
        registerCache_[ reg ] = swapped( bus->get16( ++id ) );
    }
    TRACE( 6, "Register cache updated for MireXcvrCPLD" );
    return true;
}

Component::HardwareDevice *MirelundQCPLD::create( const DriverArgs &, Ham::Ham * ) {
    TRACE( 5, "Creating MirelundQCPLD device" );
    return new MirelundQCPLD();
}

int MirelundQCPLD::init() {
    TRACE( 5, "MirelundQCPLD init function" );
    pollPortRegisters();
    return MireXcvrCPLD::init();
}

Component::LogicalDevice::QsfpXcvr *MirelundQCPLD::newQsfpXcvr( unsigned int id,
                                                                const DriverArgs & ) {
    assert( id >= 1 && id <= 32 );
    const unsigned index = ( id - 1 ) % portsPerCpld;
    const XcvrPort port = portAt( index, index );
    TRACE( 5, "creating new QsfpXcvr for id %hhu", static_cast<uint8_t>( id ) );
    traceNewPort( port );
    return new QsfpXcvr( id, this, port );
}

const Utils::ExpectedValues *MirelundQCPLD::expectedValues() {
    return &simulatedRegisters;
}

Component::HardwareDevice *MirelundYCPLD::create( const DriverArgs &, Ham::Ham * ) {
    TRACE( 5, "Creating MirelundYCPLD device" );
    return new MirelundYCPLD();
}

int MirelundYCPLD::init() {
    TRACE( 5, "MirelundYCPLD init function" );
    pollPortRegisters();
    return MireXcvrCPLD::init();
}

Component::HardwareDevice *MirelundZCPLD::create( const DriverArgs &, Ham::Ham * ) {
    TRACE( 5, "Creating MirelundZCPLD device" );
    return new MirelundZCPLD();
}

int MirelundZCPLD::init() {
    TRACE( 5, "MirelundZCPLD init function" );
    pollPortRegisters();
    return MireXcvrCPLD::init();
}

} // namespace Drivers
