#include <fmt/core.h>
#include <pl/led.h>

#include "orvan/base/Errors.h"
#include "orvan/kinds/Kind.h"

namespace orvan {

namespace {

constexpr const char *names[] = { "off",      "good",    "warning", "bad",
                                  "inactive", "unknown", "beacon" };

// LEDs cannot be read: the host shows what it last set itself.
Value setting( Readout &readout ) {
    const std::string &last = readout.peripheral().lastSetting;
    return last.empty() ? Value() : Value::of( last );
}

Value blinking( Readout &readout ) {
    const std::string &last = readout.peripheral().lastSetting;
    return last.empty()
               ? Value()
               : Value::of( std::string( last == names[ PL_LED_STATUS_BEACON ] ? "yes" : "no" ) );
}

pl_status setLight( Peripheral &peripheral, const std::string &text ) {
    auto *led = static_cast<pl_led *>( peripheral.record );
    for ( unsigned i = 0; i < std::size( names ); ++i ) {
        if ( text == names[ i ] ) {
            return call( led->ops, &pl_led_ops::set_light_setting, led,
                         static_cast<pl_led_status>( i ) );
        }
    }
    throw BadInput(
        fmt::format( "an LED cannot be set to \"{}\"; expected off, good, warning, bad, "
                     "inactive, unknown or beacon",
                     text ) );
}

constexpr Reading readings[] = { { "setting", "", 0, setting }, { "blinking", "", 0, blinking } };
constexpr Setting settings[] = {
    { "", "off, good, warning, bad, inactive, unknown or beacon", setLight } };

} // namespace

const Kind ledKind = {
    "led",
    "pl_led_init",
    "pl_led_add",
    addDescribed<pl_led>,
    []( const Peripheral & ) -> std::span<const Reading> { return readings; },
    []( const Peripheral & ) -> std::span<const Setting> { return settings; },
};

} // namespace orvan
