#include "tests/model/FanTrayModel.h"

#include "tests/model/FdlModel.h"

namespace model {

namespace {

constexpr int presencePin = 4;
constexpr int airflowPin = 8;
constexpr int ledPin = 12;
constexpr int beacon = 6;

uint8_t pin( int first, int number ) {
    return static_cast<uint8_t>( first + number );
}

} // namespace

const char *ledSettingName( int setting ) {
    static const char *const names[] = { "Off",      "Good",    "Warning", "Bad",
                                         "Inactive", "Unknown", "Beacon" };
    return setting <= beacon ? names[ setting ] : "Unknown";
}

FanTrayModel::FanTrayModel( World &world, const Path &path, const std::vector<uint8_t> &config,
                            const BlinkModel &blinking )
    : blink( blinking ), world_( &world ), chip_( world, path, 2, 2, { 0, 2, 6 } ),
      config_( config ) {}

int FanTrayModel::init() {
    const bool isConfigured = chip_.writeConfig( config_ ) == 0;
    const bool isSaved = chip_.save() == 0;
    if ( !isConfigured || !isSaved ) {
        world_->trace( 0, "Error: failed to write PCA9555 pin configuration" );
    }
    return 0;
}

int FanTrayModel::setLight( int led, int setting ) {
    world_->trace( 6, "Setting PCA9555 led %d to %s", led, ledSettingName( setting ) );
    const auto n = static_cast<size_t>( led );
    if ( isBlinking_[ n ] ) {
        if ( setting == beacon ) {
            blink.beaconAgain();
            return 0;
        }
        blink.forget( led );
        isBlinking_[ n ] = false;
    }
    if ( setting == 4 || setting == 5 || setting > beacon ) {
        world_->trace( 6, "led %d was given an unexpected setting %d", led, setting );
        return 3;
    }
    if ( setting == beacon ) {
        blink.notify( led );
        isBlinking_[ n ] = true;
    }
    chip_.writePin( pin( ledPin, led ), setting == 2 || setting == 3 );
    return chip_.save();
}

bool FanTrayModel::show( int led, bool phase ) {
    chip_.writePin( pin( ledPin, led ), phase );
    if ( chip_.save() ) {
        throw WouldAbort{ "status == PL_STATUS_OK" };
    }
    return true;
}

void FanTrayModel::expire() {
    blink.expire( [ & ]( int led, bool phase ) { return show( led, phase ); } );
}

std::string FanTrayModel::build( const Slot &slot, int number, bool isBackToFront ) {
    FdlModel fdl( *world_, slot.texts.fdl );
    fdl.set( "airflowDirection", isBackToFront ? "backToFrontAirflow" : "frontToBackAirflow" );
    fdl.set( "maxRpm", isBackToFront ? slot.texts.rpmB2F : slot.texts.rpmF2B );
    fdl.set( "modelName", slot.texts.modelName );
    world_->trace( 5, "fan %d fdl: %s", number, fdl.text.c_str() );
    return fdl.text;
}

int FanTrayModel::getPresence( int number, std::optional<std::string> *fdl ) {
    Slot &slot = slots_.at( static_cast<size_t>( number ) );
    bool isAbsent = false;
    int status = chip_.readPin( pin( presencePin, number ), &isAbsent );
    if ( status ) {
        world_->trace( 0, "Error: status %d reading fan %d presence bit", status, number );
        return status;
    }
    if ( isAbsent ) {
        slot.cached.reset();
        return 1;
    }
    bool isBackToFront = false;
    status = chip_.readPin( pin( airflowPin, number ), &isBackToFront );
    if ( status ) {
        world_->trace( 0, "Error: status %d reading fan %d F2B bit", status, number );
        return status;
    }
    if ( slot.cached && slot.cached->isBackToFront == isBackToFront ) {
        world_->trace( 5, "Using cached fdl for fan %d", number );
    } else {
        slot.cached = { isBackToFront, build( slot, number, isBackToFront ) };
    }
    *fdl = slot.cached->fdl;
    return 0;
}

} // namespace model
