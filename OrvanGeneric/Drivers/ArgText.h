/**
 * @file
 * How the values of "driverArgs" become text; the host program reads them the same way.
 */
#pragma once

#include <string>

#include <rapidjson/fwd.h>

namespace Drivers {

/**
 * An argument's value as text: numbers in decimal, those with a fraction with six significant digits,
 * flags as "true" and "false". An integer beyond 32 bits, a null, an object and an array are the empty text.
 */
std::string argText( const rapidjson::Value &value );

} // namespace Drivers
