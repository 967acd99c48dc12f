#include "tests/model/PsuExpanderModel.h"

#include "tests/model/FanTrayModel.h"

namespace model {

int PsuExpanderModel::init() {
    if ( chip_.writeConfig( { 0xFF, 0x00 } ) ) {
        world_->trace( 0, "Error: Failed to write PCA9555 pin configuration" );
    }
    const bool isFirstSet = chip_.writePin( 8, false ) == 0;
    const bool isSecondSet = chip_.writePin( 9, false ) == 0;
    const bool isSaved = chip_.save() == 0;
    if ( !isFirstSet || !isSecondSet || !isSaved ) {
        world_->trace( 0, "Error: Failed to write default bits for PSU EEPROM Reset" );
    }
    return 0;
}

void PsuExpanderModel::show( const Led &led, bool green, bool red ) {
    chip_.writePin( led.greenPin, green );
    chip_.writePin( led.redPin, red );
}

int PsuExpanderModel::setLight( int n, int setting ) {
    enum { Off, Good, Warning, Bad, Beacon = 6 };
    Led &led = leds_.at( static_cast<size_t>( n ) );
    world_->trace( 6, "Setting PCA9555 led %d to %s", led.index, ledSettingName( setting ) );
    if ( led.isBlinking ) {
        if ( setting == Beacon ) {
            blink.beaconAgain();
            return 0;
        }
        blink.forget( n );
        led.isBlinking = false;
    }
    switch ( setting ) {
    case Beacon:
        blink.notify( n );
        led.isBlinking = true;
        [[fallthrough]];
    case Off:
        show( led, false, false );
        break;
    case Good:
        show( led, true, false );
        break;
    case Warning:
    case Bad:
        show( led, false, true );
        break;
    default:
        world_->trace( 0, "led %d was given an unexpected setting %d", led.index, setting );
        return 3;
    }
    return chip_.save();
}

void PsuExpanderModel::expire() {
    blink.expire( [ & ]( int n, bool phase ) {
        const Led &led = leds_.at( static_cast<size_t>( n ) );
        show( led, phase, false );
        if ( chip_.save() ) {
            world_->trace( 0, "Error: failed to toggle led %d for blinking", led.index );
        }
        return true;
    } );
}

} // namespace model
