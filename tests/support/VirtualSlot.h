#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/**
 * The slot of a virtual operation in its class's virtual table, counted from 0; a virtual
 * destructor takes two. In the Itanium C++ ABI a pointer to a virtual member function holds the
 * operation's offset in the table plus 1.
 */
template <class F>
size_t virtualSlot( F f ) {
    uintptr_t word;
    static_assert( sizeof( f ) >= sizeof( word ) );
    std::memcpy( &word, &f, sizeof( word ) );
    return ( word - 1 ) / sizeof( void * );
}
