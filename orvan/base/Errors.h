/**
 * @file
 * How a run of orvan ends badly, and how exceptions of the driver library are named.
 */
#pragma once

#include <stdexcept>
#include <string>

namespace orvan {

/** Exit codes of the program. */
enum class ExitCode : int {
    Ok = 0,      ///< done; `show` also when readings failed, which it shows
    Failed = 1,  ///< the board was brought up, but something on it did not work
    BadInput = 2 ///< command line, board folder or service: nothing was done to the hardware
};

/** The user's input cannot be used: ends the run with ExitCode::BadInput. */
struct BadInput : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/** The input was good, carrying it out failed: ends the run with ExitCode::Failed. */
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/**
 * Names the exception being handled: its demangled type and, for a std::exception, a colon and what().
 * Call it in a catch block only.
 */
std::string describeCurrentException();

} // namespace orvan
