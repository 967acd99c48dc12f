/**
 * @file
 * The program from its arguments to its exit code.
 */
#pragma once

#include "orvan/commands/Command.h"

namespace orvan {

/** Runs orvan. Everything it says goes to @p streams. */
int runProgram( int argc, const char *const *argv, const Streams &streams );

} // namespace orvan
