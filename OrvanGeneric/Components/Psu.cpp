#include "OrvanGeneric/Components/Psu.h"

#include "OrvanGeneric/Components/AddDevice.h"
#include "OrvanGeneric/HostServices.h"

namespace Component::LogicalDevice {

// What the host expects on 32-bit x86.
static_assert( sizeof( void * ) != 4 || ( sizeof( pl_psu ) == 12 && sizeof( pl_psu_ops ) == 36 ) );

const pl_psu_ops Psu::ops_ = { sizeof( pl_psu_ops ),        nullptr,
                               get_power_ok_callback,       get_input_current_callback,
                               get_output_current_callback, get_input_voltage_callback,
                               get_output_voltage_callback, get_input_power_callback,
                               get_output_power_callback };

pl_status Psu::get_power_ok_callback( pl_psu *psu, int *ok ) {
    TRACE( 4, "get_power_ok_callback" );
    return objectOf<Psu>( psu )->get_power_ok( ok );
}

pl_status Psu::get_input_current_callback( pl_psu *psu, float *amperes ) {
    TRACE( 4, "get_input_current_callback" );
    return objectOf<Psu>( psu )->get_input_current( amperes );
}

pl_status Psu::get_output_current_callback( pl_psu *psu, float *amperes ) {
    TRACE( 4, "get_output_current_callback" );
    return objectOf<Psu>( psu )->get_output_current( amperes );
}

pl_status Psu::get_input_voltage_callback( pl_psu *psu, float *volts ) {
    TRACE( 4, "get_input_voltage_callback" );
    return objectOf<Psu>( psu )->get_input_voltage( volts );
}

pl_status Psu::get_output_voltage_callback( pl_psu *psu, float *volts ) {
    TRACE( 4, "get_output_voltage_callback" );
    return objectOf<Psu>( psu )->get_output_voltage( volts );
}

pl_status Psu::get_input_power_callback( pl_psu *psu, float *watts ) {
    TRACE( 4, "get_input_power_callback" );
    return objectOf<Psu>( psu )->get_input_power( watts );
}

pl_status Psu::get_output_power_callback( pl_psu *psu, float *watts ) {
    TRACE( 4, "get_output_power_callback" );
    return objectOf<Psu>( psu )->get_output_power( watts );
}

} // namespace Component::LogicalDevice

extern "C" pl_psu *pl_psu_add( const char *description ) {
    using namespace Component;
    return recordOf( addDevice( description, "newPsu", &DeviceBase::newPsu ) );
}
