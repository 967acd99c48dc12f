#include <pl/gpio.h>

#include "orvan/kinds/Kind.h"

namespace orvan {

namespace {

Value value( Readout &readout ) {
    auto *gpio = readout.record<pl_gpio>();
    unsigned int bit = 0;
    const pl_status status = call( gpio->ops, &pl_gpio_ops::bit_read, gpio, &bit );
    return Value::answer( status, bit );
}

pl_status setLine( Peripheral &peripheral, const std::string &text ) {
    auto *gpio = static_cast<pl_gpio *>( peripheral.record );
    const bool on = parseSwitch( text, "a GPIO line" );
    return call( gpio->ops, on ? &pl_gpio_ops::bit_set : &pl_gpio_ops::bit_clear, gpio );
}

constexpr Reading readings[] = { { "value", "", 0, value } };
constexpr Setting settings[] = { { "", "on, off, 1 or 0", setLine } };

} // namespace

const Kind gpioKind = {
    "gpio",
    "pl_gpio_init",
    "pl_gpio_add",
    addDescribed<pl_gpio>,
    []( const Peripheral & ) -> std::span<const Reading> { return readings; },
    []( const Peripheral & ) -> std::span<const Setting> { return settings; },
};

} // namespace orvan
