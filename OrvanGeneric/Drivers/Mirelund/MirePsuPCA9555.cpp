#include "OrvanGeneric/Drivers/Mirelund/MirePsuPCA9555.h"

#include <cassert>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Drivers/Pca9555Registers.h"
#include "OrvanGeneric/HostServices.h"

namespace Drivers {

using namespace Pca9555;

namespace {

constexpr unsigned int cacheTimeout = 2; // seconds

/** All pins of bank 0 are inputs, those of bank 1 outputs. */
constexpr uint8_t directions[ banks ] = { 0xFF, 0x00 };

/** Pins of the first supply and of the second. */
constexpr uint8_t powerOkPins[] = { 1, 4 };
constexpr uint8_t acOkPins[] = { 6, 7 };
constexpr uint8_t eepromResetPins[] = { 8, 9 };

/** Each LED's green pin, followed by the red one. */
constexpr uint8_t firstPsuLedPin = 10;
constexpr uint8_t multiFanLedPin = 14;

/** Both supplies have mains and deliver; EEPROMs are out of reset, all LEDs green. */
const Utils::ExpectedValues simulatedRegisters = {
    { inputPort0, { 0xD2, 1 } },  { inputPort1, { 0x54, 1 } },     { outputPort0, { 0xFF, 1 } },
    { outputPort1, { 0x54, 1 } }, { configuration0, { 0xFF, 1 } }, { configuration1, { 0x00, 1 } },
};

} // namespace

Component::HardwareDevice *MirePsuPCA9555::create( const DriverArgs &, Ham::Ham * ) {
    TRACE( 0, "Creating Mire Psu PCA9555 Device" );
    return new MirePsuPCA9555();
}

MirePsuPCA9555::MirePsuPCA9555()
    : GPIOExpander( banks, cacheTimeout, inputPort0, outputPort0, configuration0 ) {}

int MirePsuPCA9555::init() {
    if ( writeConfig( directions ) != PL_STATUS_OK ) {
        TRACE( 0, "Error: Failed to write PCA9555 pin configuration" );
    }
    bool failed = false;
    for ( const uint8_t pin : eepromResetPins ) {
        failed |= writeBit( pin, false ) != PL_STATUS_OK;
    }
    failed |= save() != PL_STATUS_OK;
    if ( failed ) {
        TRACE( 0, "Error: Failed to write default bits for PSU EEPROM Reset" );
    }
    return PL_STATUS_OK;
}

const Utils::ExpectedValues *MirePsuPCA9555::expectedValues() {
    return &simulatedRegisters;
}

Component::LogicalDevice::Led *MirePsuPCA9555::newLed( const DriverArgs &args ) {
    assert( args.driverArgs.find( "id" ) != args.driverArgs.end() );
    const int ledId = requiredIntArg( args, "id" );
    assert( 1 <= ledId && ledId <= 2 );
    const auto index = static_cast<uint8_t>( ledId - 1 );
    const std::string &type = requiredArg( args, "type" );
    Component::LogicalDevice::Led *led = nullptr;
    if ( type == "multifan" ) {
        led = new MultiFanLed( this, index );
    } else if ( type == "psu" ) {
        led = new PsuLed( this, index );
    }
    if ( led ) {
        TRACE( 5, "creating new MirePCA9555 %s LED with id %hhu", type.c_str(),
               static_cast<uint8_t>( ledId ) );
    } else {
        TRACE( 0, "Error: failed to find driverArg for MirePsuPCA9555::newLed" );
    }
    return led;
}

pl_status MirePsuPCA9555::getPowerOk( uint8_t psuId, bool *ok ) {
    assert( 1 <= psuId && psuId <= 2 );
    return readBit( powerOkPins[ psuId - 1 ], ok );
}

pl_status MirePsuPCA9555::getAcOk( uint8_t psuId, bool *ok ) {
    assert( 1 <= psuId && psuId <= 2 );
    return readBit( acOkPins[ psuId - 1 ], ok );
}

MirePsuPCA9555::PsuLed::PsuLed( MirePsuPCA9555 *expander, uint8_t index )
    : Led( expander, index, static_cast<uint8_t>( firstPsuLedPin + 2 * index ),
           static_cast<uint8_t>( firstPsuLedPin + 2 * index + 1 ) ) {}

MirePsuPCA9555::MultiFanLed::MultiFanLed( MirePsuPCA9555 *expander, uint8_t index )
    : Led( expander, index, multiFanLedPin, multiFanLedPin + 1 ) {}

bool MirePsuPCA9555::Led::handleBlinkTimer( bool on ) {
    if ( on ) {
        setLedGreen();
    } else {
        setLedOff();
    }
    if ( expander_->save() != PL_STATUS_OK ) {
        TRACE( 0, "Error: failed to toggle led %d for blinking", index_ );
    }
    return true;
}

pl_status MirePsuPCA9555::Led::setLightSetting( pl_led_status status ) {
    TRACE( 6, "Setting PCA9555 led %d to %s", index_, settingName( status ) );
    if ( keepsBlinking( status ) ) {
        return PL_STATUS_OK;
    }
    switch ( status ) {
    case PL_LED_STATUS_OFF:
        setLedOff();
        break;
    case PL_LED_STATUS_GOOD:
        setLedGreen();
        break;
    case PL_LED_STATUS_WARNING:
    case PL_LED_STATUS_BAD:
        setLedRed();
        break;
    case PL_LED_STATUS_BEACON:
        startBlinking();
        setLedOff();
        break;
    default:
        TRACE( 0, "led %hhu was given an unexpected setting %d", index_, status );
        return PL_STATUS_INVALID;
    }
    return expander_->save();
}

void MirePsuPCA9555::Led::setLedGreen() {
    setPins( true, false );
}

void MirePsuPCA9555::Led::setLedRed() {
    setPins( false, true );
}

void MirePsuPCA9555::Led::setLedOff() {
    setPins( false, false );
}

void MirePsuPCA9555::Led::setPins( bool green, bool red ) {
    expander_->writeBit( greenPin_, green );
    expander_->writeBit( redPin_, red );
}

} // namespace Drivers
