#include "OrvanGeneric/Components/Fan.h"

#include "OrvanGeneric/Components/AddDevice.h"
#include "OrvanGeneric/HostServices.h"

namespace Component::LogicalDevice {

// What the host expects on 32-bit x86.
static_assert( sizeof( void * ) != 4 || ( sizeof( pl_fan ) == 12 && sizeof( pl_fan_ops ) == 16 ) );

const pl_fan_ops Fan::ops_ = { sizeof( pl_fan_ops ), debugInfoCallback, getRpmCallback,
                               setRpmCallback };

pl_status Fan::debugInfo( char ** ) const {
    return PL_STATUS_OK;
}

pl_status Fan::debugInfoCallback( pl_fan *fan, char **text ) {
    TRACE( 4, "%s(%p)", "debugInfoCallback", static_cast<void *>( fan ) );
    return objectOf<Fan>( fan )->debugInfo( text );
}

pl_status Fan::getRpmCallback( pl_fan *fan, int *rpm ) {
    TRACE( 4, "%s(%p)", "getRpmCallback", static_cast<void *>( fan ) );
    return objectOf<Fan>( fan )->getRpm( rpm );
}

pl_status Fan::setRpmCallback( pl_fan *fan, int rpm ) {
    TRACE( 4, "%s(%p, %d)", "setRpmCallback", static_cast<void *>( fan ), rpm );
    return objectOf<Fan>( fan )->setRpm( rpm );
}

} // namespace Component::LogicalDevice

extern "C" pl_fan *pl_fan_add( const char *description ) {
    using namespace Component;
    return recordOf( addDevice( description, "newFan", &DeviceBase::newFan ) );
}
