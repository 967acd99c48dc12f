/**
 * @file
 * Words for the status codes of a driver library.
 */
#pragma once

#include <string>

#include <pl/types.h>

namespace orvan {

/** The name of @p status for people: "ok", "not present", …; "status N" for a number outside the enumeration. */
std::string statusName( int status );

/**
 * Why an initialisation function answered @p status.
 * @param socket  the path at which the SMBus service was sought
 */
std::string initFailureText( int status, const std::string &socket );

} // namespace orvan
