#include "OrvanGeneric/Components/Slot.h"

#include "OrvanGeneric/Components/AddDevice.h"
#include "OrvanGeneric/HostServices.h"

namespace Component::LogicalDevice {

// What the host expects on 32-bit x86.
static_assert( sizeof( void * ) != 4 || ( sizeof( pl_slot ) == 12 && sizeof( pl_slot_ops ) == 8 ) );

const pl_slot_ops Slot::ops_ = { sizeof( pl_slot_ops ), getPresenceCallback };

pl_status Slot::getPresenceCallback( pl_slot *slot, char **fdl ) {
    TRACE( 4, "%s(%p)", "getPresenceCallback", static_cast<void *>( slot ) );
    return objectOf<Slot>( slot )->getPresence( fdl );
}

} // namespace Component::LogicalDevice

extern "C" pl_slot *pl_slot_add( const char *description ) {
    using namespace Component;
    return recordOf( addDevice( description, "newSlot", &DeviceBase::newSlot ) );
}
