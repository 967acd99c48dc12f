/**
 * @file
 * Changing device descriptions; DriverArgs.h has their reading, which is done here as well.
 */
#pragma once

#include "OrvanGeneric/DriverArgs.h"

namespace Drivers {

/**
 * Adds one argument to a description's "driverArgs" (which must exist). An argument of that name
 * is kept, too; the added one comes after it and wins.
 * @param text   the description
 * @param out    receives the new description: compact, pure ASCII; the caller frees it with free()
 * @param name   the argument's name, UTF-8
 * @param value  its value, UTF-8; becomes a JSON string
 * @return false when @p text is not JSON or anything to be written is not UTF-8; @p out is left
 *         alone then
 */
bool insertDriverArg( const char *text, char **out, const char *name, const char *value );

} // namespace Drivers
