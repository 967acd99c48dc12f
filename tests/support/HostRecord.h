#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

/** Expects the host's record right after the object's virtual-table pointer, filled in. */
template <class Object, class Ops>
void expectHostRecord( Object &object, const Ops *ops ) {
    auto *record = object.record();
    using Record = std::remove_pointer_t<decltype( record )>;
    static_assert( offsetof( Record, id ) == 0 );
    static_assert( offsetof( Record, ops ) == sizeof( void * ) );
    static_assert( offsetof( Record, priv ) == 2 * sizeof( void * ) );
    static_assert( sizeof( Record ) == 3 * sizeof( void * ) );
    EXPECT_EQ( reinterpret_cast<char *>( record ),
               reinterpret_cast<char *>( &object ) + sizeof( void * ) );
    EXPECT_EQ( record->ops, ops );
    EXPECT_EQ( record->priv, static_cast<void *>( &object ) );
}

/** "name(0x...)", as the traces of callbacks show a record; @p value after it if not empty. */
inline std::string callOn( const char *name, const void *record, const std::string &value = "" ) {
    char pointer[ 32 ];
    std::snprintf( pointer, sizeof( pointer ), "%p", record );
    return std::string( name ) + "(" + pointer + ( value.empty() ? "" : ", " + value ) + ")";
}

/** Skips a test whose numbers are those of 32-bit x86, the only place where hosts run. */
#define ORVAN_FOR_32_BITS()                                                                        \
    if ( sizeof( void * ) != 4 )                                                                   \
    GTEST_SKIP() << "the host's layouts are those of 32-bit x86"
