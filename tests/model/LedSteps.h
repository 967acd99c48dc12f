#pragma once

#include <functional>

#include <pl/led.h>

#include "tests/model/Bench.h"
#include "tests/model/BlinkModel.h"

namespace model {

/** Sets an LED to a random setting through the host's callback; @p set is what its model does. */
void setLed( Bench &bench, pl_led *led, const std::function<int( int setting )> &set );
void setLedTo( Bench &bench, pl_led *led, int setting, const std::function<int( int )> &set );
/** The blink timer, as the process has it by now. */
BlinkModel blinkNow( World &world );

/** Makes the blink timer, as the host's adding of a blinking LED does. */
void createBlinkTimer( Bench &bench, BlinkModel &blink );

} // namespace model
