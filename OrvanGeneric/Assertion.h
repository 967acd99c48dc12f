#pragma once

#include <cassert>
#include <string>

/**
 * Ends the process as a failed assert() does, with a condition that names what it is about: text is
 * a std::string, made only when the condition does not hold.
 */
#define ASSERT_NAMED( condition, text )                                                            \
    do {                                                                                           \
        if ( !( condition ) ) {                                                                    \
            __assert_fail( std::string( text ).c_str(), __FILE__, __LINE__, __PRETTY_FUNCTION__ ); \
        }                                                                                          \
    } while ( 0 )
