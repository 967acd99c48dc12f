#include "orvan/base/Errors.h"

#include <new>

#include <gtest/gtest.h>

namespace {

template <typename Exception>
std::string described( const Exception &exception ) {
    try {
        throw exception;
    } catch ( ... ) {
        return orvan::describeCurrentException();
    }
}

TEST( Errors, AStandardExceptionIsDescribedByTypeAndText ) {
    EXPECT_EQ( described( std::out_of_range( "map::at" ) ), "std::out_of_range: map::at" );
    EXPECT_EQ( described( std::bad_alloc() ), "std::bad_alloc: std::bad_alloc" );
}

TEST( Errors, AnyOtherThingByItsTypeAlone ) {
    EXPECT_EQ( described( 7 ), "int" );
    EXPECT_EQ( described( static_cast<const char *>( "text" ) ), "char const*" );
}

} // namespace
