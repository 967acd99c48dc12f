#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/**
 * Place of a virtual operation in its class's table, counted from 0. Under the Itanium C++ ABI a
 * pointer to a virtual member function holds 1 + the offset of its entry in the table.
 */
template <class F>
size_t virtualSlot( F function ) {
    uintptr_t word = 0;
    static_assert( sizeof( function ) >= sizeof( word ) );
    std::memcpy( &word, &function, sizeof( word ) );
    return ( word - 1 ) / sizeof( void * );
}
