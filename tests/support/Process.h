#pragma once

#include <string>
#include <vector>

#include "common/Child.h"

namespace test {

/** How a program came to its end, and what it printed. */
struct Finished : common::ChildEnd {
    std::string output; ///< on the standard output
    std::string errors; ///< on the standard error
};

/**
 * Runs a program to its end, collecting all that it prints.
 * @param words  the program and its arguments
 * @param input  what it finds on its standard input; at most 64 KiB, which a pipe holds
 */
Finished runProgram( const std::vector<std::string> &words, const std::string &input = {} );

} // namespace test
