#include "OrvanGeneric/Components/Led.h"

#include "OrvanGeneric/Components/AddDevice.h"
#include "OrvanGeneric/HostServices.h"

namespace Component::LogicalDevice {

// What the host expects on 32-bit x86.
static_assert( sizeof( void * ) != 4 || ( sizeof( pl_led ) == 12 && sizeof( pl_led_ops ) == 8 ) );

const pl_led_ops Led::ops_ = { sizeof( pl_led_ops ), setLightSettingCallback };

pl_status Led::setLightSettingCallback( pl_led *led, pl_led_status status ) {
    TRACE( 4, "%s(%p, %d)", "setLightSettingCallback", static_cast<void *>( led ), status );
    return objectOf<Led>( led )->setLightSetting( status );
}

// An LED that never blinks leaves the list.
bool Led::handleBlinkTimer( bool ) {
    return false;
}

} // namespace Component::LogicalDevice

extern "C" pl_led *pl_led_add( const char *description ) {
    using namespace Component;
    LogicalDevice::Led *led = addDevice( description, "newLed", &DeviceBase::newLed );
    if ( led && led->blinks() ) {
        LogicalDevice::Led::createBlinkTimer();
    }
    return recordOf( led );
}
