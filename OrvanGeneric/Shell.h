/**
 * @file
 * Commands run through the shell.
 */
#pragma once

#include <string>

#include <pl/types.h>

namespace Drivers {

/**
 * Runs a shell command under a time limit and collects its standard output.
 *
 * The command goes through the shell as it is: a field, a name or a configured value in it must have
 * gone through shellQuote().
 * @param cmd      the command; null runs the limit tool without one, which fails
 * @param output   receives what the command printed, also when it fails
 * @param timeout  seconds; 0 for no limit
 * @return PL_STATUS_OK when it exited with 0; PL_STATUS_TRANSPORT when the limit struck;
 *         PL_STATUS_FAILED when it could not be started, failed or was killed
 */
pl_status runCmd( const char *cmd, std::string &output, unsigned int timeout );

/** @p text as one word of a shell command line, whatever it holds; zero bytes are left out. */
std::string shellQuote( const std::string &text );

} // namespace Drivers
