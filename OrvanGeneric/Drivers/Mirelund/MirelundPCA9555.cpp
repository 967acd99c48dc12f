#include "OrvanGeneric/Drivers/Mirelund/MirelundPCA9555.h"

#include <cassert>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Drivers/Pca9555Registers.h"
#include "OrvanGeneric/HostServices.h"

namespace Drivers {

using namespace Pca9555;

namespace {

constexpr unsigned int cacheTimeout = 2; // seconds

/** The first fan's pins; those of the other fans follow. */
enum Pin : uint8_t { firstPresencePin = 4, firstAirflowPin = 8, firstLedPin = 12 };

/** Levels of the LED's pin. */
constexpr bool green = false;
constexpr bool amber = true;

/** Four front-to-back modules are in, their LEDs green; pins without use are pulled up. */
const Utils::ExpectedValues simulatedRegisters = {
    { inputPort0, { 0x0F, 1 } },  { inputPort1, { 0x00, 1 } },     { outputPort0, { 0xFF, 1 } },
    { outputPort1, { 0x0F, 1 } }, { configuration0, { 0xFF, 1 } }, { configuration1, { 0x0F, 1 } },
};

} // namespace

Component::HardwareDevice *MirelundPCA9555::create( const DriverArgs &args, Ham::Ham * ) {
    TRACE( 0, "Creating Mirelund PCA9555 Device" );
    const int config0 = requiredIntArg( args, "bank-io-0" );
    const int config1 = requiredIntArg( args, "bank-io-1" );
    return new MirelundPCA9555( static_cast<uint8_t>( config0 ), static_cast<uint8_t>( config1 ) );
}

MirelundPCA9555::MirelundPCA9555( uint8_t config0, uint8_t config1 )
    : GPIOExpander( banks, cacheTimeout, inputPort0, outputPort0, configuration0 ),
      config_{ config0, config1 } {}

int MirelundPCA9555::init() {
    const pl_status configured = writeConfig( config_ );
    const pl_status saved = save();
    if ( configured != PL_STATUS_OK || saved != PL_STATUS_OK ) {
        TRACE( 0, "Error: failed to write PCA9555 pin configuration" );
    }
    return PL_STATUS_OK;
}

const Utils::ExpectedValues *MirelundPCA9555::expectedValues() {
    return &simulatedRegisters;
}

Component::LogicalDevice::Led *MirelundPCA9555::newLed( const DriverArgs &args ) {
    assert( args.driverArgs.find( "id" ) != args.driverArgs.end() );
    const int fanId = requiredIntArg( args, "id" );
    TRACE( 5, "Creating new PCA9555 LED for fan id %hhu", static_cast<uint8_t>( fanId ) );
    assert( fanId >= 1 && fanId <= 5 );
    return new FanLed( this, static_cast<uint8_t>( fanId - 1 ) );
}

Component::LogicalDevice::Slot *MirelundPCA9555::newSlot( const DriverArgs &args ) {
    const int fanId = requiredIntArg( args, "fanId" );
    TRACE( 0, "Creating new MirelundPCA9555 Slot for Fan id %d", fanId );
    assert( 1 <= fanId && fanId <= 4 );
    return new FanSlot( this, static_cast<uint8_t>( fanId - 1 ), args.driverArgs );
}

MirelundPCA9555::FanLed::FanLed( MirelundPCA9555 *expander, uint8_t index )
    : expander_( expander ), index_( index ), pin_( static_cast<uint8_t>( firstLedPin + index ) ) {}

bool MirelundPCA9555::FanLed::handleBlinkTimer( bool on ) {
    if ( on ) {
        setLedOn();
    } else {
        setLedOff();
    }
    const pl_status status = expander_->save();
    assert( status == PL_STATUS_OK );
    return true;
}

pl_status MirelundPCA9555::FanLed::setLightSetting( pl_led_status status ) {
    TRACE( 6, "Setting PCA9555 led %d to %s", index_, settingName( status ) );
    if ( keepsBlinking( status ) ) {
        return PL_STATUS_OK;
    }
    bool colour;
    switch ( status ) {
    case PL_LED_STATUS_OFF:
    case PL_LED_STATUS_GOOD:
        colour = green;
        break;
    case PL_LED_STATUS_WARNING:
    case PL_LED_STATUS_BAD:
        colour = amber;
        break;
    case PL_LED_STATUS_BEACON:
        startBlinking();
        colour = green;
        break;
    default:
        TRACE( 6, "led %hhu was given an unexpected setting %d", index_, status );
        return PL_STATUS_INVALID;
    }
    expander_->writeBit( pin_, colour );
    return expander_->save();
}

void MirelundPCA9555::FanLed::setLedOn() {
    expander_->writeBit( pin_, amber );
}

void MirelundPCA9555::FanLed::setLedOff() {
    expander_->writeBit( pin_, green );
}

MirelundPCA9555::FanSlot::FanSlot( MirelundPCA9555 *expander, uint8_t index,
                                   const std::map<std::string, std::string> &slotArgs )
    : expander_( expander ), index_( index ),
      presencePin_( static_cast<uint8_t>( firstPresencePin + index ) ),
      airflowPin_( static_cast<uint8_t>( firstAirflowPin + index ) ), slotArgs_( slotArgs ),
      formatFdl_( "" ), cachedFdl_( "Error: MirelundPCA9555::FanSlot strdup failed" ) {
    const auto fdlIt = slotArgs_.find( "fanFdl" );
    assert( fdlIt != slotArgs_.end() );
    const auto f2bIt = slotArgs_.find( "rpmF2B" );
    assert( f2bIt != slotArgs_.end() );
    const auto b2fIt = slotArgs_.find( "rpmB2F" );
    assert( b2fIt != slotArgs_.end() );
    const auto modelIt = slotArgs_.find( "modelName" );
    assert( modelIt != slotArgs_.end() );
    formatFdl_ = FormatFdl( fdlIt->second );
    rpmF2B_ = f2bIt->second;
    rpmB2F_ = b2fIt->second;
    modelName_ = modelIt->second;
}

pl_status MirelundPCA9555::FanSlot::getPresence( char **fdl ) {
    bool absent;
    pl_status status = expander_->readBit( presencePin_, &absent );
    if ( status != PL_STATUS_OK ) {
        TRACE( 0, "Error: status %d reading fan %d presence bit", status, index_ );
        return status;
    }
    if ( absent ) {
        cachedFdl_.forget();
        return PL_STATUS_NOT_PRESENT;
    }
    bool backToFront;
    status = expander_->readBit( airflowPin_, &backToFront );
    if ( status != PL_STATUS_OK ) {
        TRACE( 0, "Error: status %d reading fan %d F2B bit", status, index_ );
        return status;
    }
    if ( cachedFdl_.filled() && cachedAirflow_ == backToFront ) {
        TRACE( 5, "Using cached fdl for fan %d", index_ );
        return cachedFdl_.copyKept( fdl );
    }

    cachedFdl_.forget();
    const char *text = fill( backToFront );
    status = cachedFdl_.copy( text, fdl );
    if ( status != PL_STATUS_OK ) {
        return status;
    }
    TRACE( 5, "fan %d fdl: %s", index_, text );
    cachedFdl_.keep( text );
    cachedAirflow_ = backToFront;
    return PL_STATUS_OK;
}

const char *MirelundPCA9555::FanSlot::fill( bool backToFront ) {
    formatFdl_.start();
    formatFdl_.set( "airflowDirection", backToFront ? "backToFrontAirflow" : "frontToBackAirflow" );
    formatFdl_.set( "maxRpm", backToFront ? rpmB2F_ : rpmF2B_ );
    formatFdl_.set( "modelName", modelName_ );
    return formatFdl_.charPtr();
}

} // namespace Drivers
