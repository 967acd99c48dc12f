#include "tests/model/LedSteps.h"

#include <fmt/format.h>

#include "OrvanGeneric/Components/Led.h"

namespace model {

using Component::LogicalDevice::Led;

void setLed( Bench &bench, pl_led *led, const std::function<int( int setting )> &set ) {
    constexpr int beyondTheLast = 7;
    constexpr int beacon = 6;
    const int setting = bench.random.oneIn( 2 ) ? beacon : bench.random.between( 0, beyondTheLast );
    setLedTo( bench, led, setting, set );
}

void setLedTo( Bench &bench, pl_led *led, int setting, const std::function<int( int )> &set ) {
    bench.act(
        fmt::format( "set LED {} to {}", static_cast<void *>( led ), setting ),
        [ & ] { return led->ops->set_light_setting( led, static_cast<pl_led_status>( setting ) ); },
        [ & ] {
            bench.world.trace( 4, "setLightSettingCallback(%p, %d)", static_cast<void *>( led ),
                               setting );
            return set( setting );
        } );
}

BlinkModel blinkNow( World &world ) {
    return { world, Led::blinkTimer_, Led::blinkStatus_ };
}

void createBlinkTimer( Bench &bench, BlinkModel &blink ) {
    bench.act(
        "createBlinkTimer()",
        [ & ] {
            Led::createBlinkTimer();
            return 0;
        },
        [ & ] {
            blink.create();
            return 0;
        } );
}

} // namespace model
