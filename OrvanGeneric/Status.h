#pragma once

#include <pl/types.h>

namespace Utils {

/**
 * A status of the library as the host's type. Hams and the exported C++ functions give their status
 * as an int that holds one of the host's values; here is the only place where it changes its type.
 * @param status  a value of pl_status
 * @return the same value
 */
constexpr pl_status hostStatus( int status ) {
    return static_cast<pl_status>( status );
}

} // namespace Utils
