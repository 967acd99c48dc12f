#pragma once

#include "smbusd/base/JsonView.h"
#include "smbusd/board/Hardware.h"
#include "smbusd/emulation/Fault.h"

namespace smbusd {

/**
 * Reads a fault's description, as hardware.json and the control tool give it. Its target must be a
 * chip or an emulated bus of the board.
 *
 * Throws ConfigError for whatever is wrong with it, a parameter that its kind does not know too.
 */
Fault readFault( const JsonView &json, const Hardware &hardware );

} // namespace smbusd
