#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <type_traits>

/**
 * The place of a virtual operation in its class's table, from 0. A virtual destructor takes two.
 *
 * Relies on the Itanium C++ ABI: the first word of a pointer to a virtual member function is one
 * more than the operation's offset in the table, in bytes.
 */
template <class Function>
size_t virtualSlot( Function function ) {
    static_assert( std::is_member_function_pointer_v<Function> );
    uintptr_t word;
    std::memcpy( &word, &function, sizeof( word ) );
    if ( word % 2 == 0 ) {
        throw std::logic_error( "virtualSlot: not a virtual operation" );
    }
    return ( word - 1 ) / sizeof( void * );
}
