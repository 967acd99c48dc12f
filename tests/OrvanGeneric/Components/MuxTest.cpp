#include "OrvanGeneric/Components/Mux.h"

#include <gtest/gtest.h>

#include "tests/support/VirtualSlot.h"

namespace {

using Component::LogicalDevice::Mux;

TEST( Mux, VirtualOperationsFollowTheDestructor ) {
    EXPECT_EQ( virtualSlot( &Mux::selectRequest ), 2u );
    EXPECT_EQ( virtualSlot( &Mux::resetRequest ), 3u );
    EXPECT_EQ( virtualSlot( &Mux::executeMuxRequest ), 4u );
    EXPECT_EQ( virtualSlot( &Mux::device ), 5u );
}

TEST( Mux, HasNoHostRecord ) {
    EXPECT_EQ( sizeof( Mux ), sizeof( void * ) );
}

} // namespace
