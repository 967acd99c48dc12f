#include "OrvanGeneric/Components/HostRecord.h"

#include <gtest/gtest.h>

#include "OrvanGeneric/Components/Slot.h"

namespace {

using Component::LogicalDevice::objectOf;
using Component::LogicalDevice::recordOf;
using Component::LogicalDevice::Slot;

struct EmptySlot final : Slot {
    pl_status getPresence( char ** ) override { return PL_STATUS_NOT_PRESENT; }
};

TEST( HostRecord, LeadsToItsObjectAndBack ) {
    EmptySlot slot;
    EXPECT_EQ( recordOf( &slot ), slot.record() );
    EXPECT_EQ( objectOf<Slot>( slot.record() ), &slot );
}

TEST( HostRecord, NoObjectHasNoRecord ) {
    EXPECT_EQ( recordOf<Slot>( nullptr ), nullptr );
}

} // namespace
