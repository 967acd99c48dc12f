/**
 * @file
 * Words for the status codes of a driver library.
 */
#pragma once

#include <string>

#include <pl/types.h>

namespace orvan {

/**
 * The name by which @p status, a pl_status, is shown: "ok", "not present", …; "status N" for a number
 * outside the enumeration.
 */
std::string statusName( int status );

/**
 * Why an initialisation function answered @p status, which is not PL_STATUS_OK. @p socket is the path at
 * which the library looked for the SMBus service.
 */
std::string initFailureText( int status, const std::string &socket );

} // namespace orvan
