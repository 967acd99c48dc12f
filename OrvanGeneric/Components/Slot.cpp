#include "OrvanGeneric/Components/Slot.h"

#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/HostServices.h"

namespace Component::LogicalDevice {

// What the host expects on 32-bit x86.
static_assert( sizeof( void * ) != 4 || ( sizeof( pl_slot ) == 12 && sizeof( pl_slot_ops ) == 8 ) );

const pl_slot_ops Slot::ops_ = { sizeof( pl_slot_ops ), getPresenceCallback };

pl_status Slot::getPresenceCallback( pl_slot *slot, char **fdl ) {
    TRACE( 4, "%s(%p)", "getPresenceCallback", static_cast<void *>( slot ) );
    return static_cast<Slot *>( slot->priv )->getPresence( fdl );
}

} // namespace Component::LogicalDevice

extern "C" pl_slot *pl_slot_add( const char *description ) {
    Drivers::DriverArgs args;
    Component::DeviceBase *device = Component::DeviceBase::create( description, args );
    if ( !device ) {
        TRACE( 0, "DeviceBase::create() failed" );
        return nullptr;
    }
    Component::LogicalDevice::Slot *slot = device->newSlot( args );
    if ( !slot ) {
        TRACE( 0, "newSlot() failed" );
        return nullptr;
    }
    return slot->record();
}
