#include "OrvanGeneric/Components/TempSensor.h"

#include "OrvanGeneric/Components/AddDevice.h"
#include "OrvanGeneric/HostServices.h"

namespace Component::LogicalDevice {

// What the host expects on 32-bit x86.
static_assert( sizeof( void * ) != 4 ||
               ( sizeof( pl_temp_sensor ) == 12 && sizeof( pl_temp_sensor_ops ) == 12 ) );

const pl_temp_sensor_ops TempSensor::ops_ = { sizeof( pl_temp_sensor_ops ), nullptr,
                                              getTemperatureCallback };

pl_status TempSensor::alertThresholdIs( float celsius ) {
    alertThreshold_ = celsius;
    return PL_STATUS_OK;
}

pl_status TempSensor::criticalThresholdIs( float celsius ) {
    criticalThreshold_ = celsius;
    return PL_STATUS_OK;
}

pl_status TempSensor::getTemperatureCallback( pl_temp_sensor *sensor, float *celsius ) {
    TRACE( 4, "%s(%p)", "getTemperatureCallback", static_cast<void *>( sensor ) );
    return objectOf<TempSensor>( sensor )->getTemperature( celsius );
}

} // namespace Component::LogicalDevice

extern "C" pl_temp_sensor *pl_temp_sensor_add( const char *description, float alert,
                                               float critical ) {
    using namespace Component;
    LogicalDevice::TempSensor *sensor =
        addDevice( description, untraced, &DeviceBase::newTempSensor );
    if ( sensor ) {
        TRACE( 0, "setting alert threshold" );
        sensor->alertThresholdIs( alert );
        TRACE( 0, "setting critical threshold" );
        sensor->criticalThresholdIs( critical );
    }
    return recordOf( sensor );
}
