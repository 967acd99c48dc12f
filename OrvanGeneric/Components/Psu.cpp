#include "OrvanGeneric/Components/Psu.h"

#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/DriverArgs.h"
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
    return static_cast<Psu *>( psu->priv )->get_power_ok( ok );
}

pl_status Psu::get_input_current_callback( pl_psu *psu, float *amperes ) {
    TRACE( 4, "get_input_current_callback" );
    return static_cast<Psu *>( psu->priv )->get_input_current( amperes );
}

pl_status Psu::get_output_current_callback( pl_psu *psu, float *amperes ) {
    TRACE( 4, "get_output_current_callback" );
    return static_cast<Psu *>( psu->priv )->get_output_current( amperes );
}

pl_status Psu::get_input_voltage_callback( pl_psu *psu, float *volts ) {
    TRACE( 4, "get_input_voltage_callback" );
    return static_cast<Psu *>( psu->priv )->get_input_voltage( volts );
}

pl_status Psu::get_output_voltage_callback( pl_psu *psu, float *volts ) {
    TRACE( 4, "get_output_voltage_callback" );
    return static_cast<Psu *>( psu->priv )->get_output_voltage( volts );
}

pl_status Psu::get_input_power_callback( pl_psu *psu, float *watts ) {
    TRACE( 4, "get_input_power_callback" );
    return static_cast<Psu *>( psu->priv )->get_input_power( watts );
}

pl_status Psu::get_output_power_callback( pl_psu *psu, float *watts ) {
    TRACE( 4, "get_output_power_callback" );
    return static_cast<Psu *>( psu->priv )->get_output_power( watts );
}

} // namespace Component::LogicalDevice

extern "C" pl_psu *pl_psu_add( const char *description ) {
    Drivers::DriverArgs args;
    Component::DeviceBase *device = Component::DeviceBase::create( description, args );
    if ( !device ) {
        TRACE( 0, "DeviceBase::create() failed" );
        return nullptr;
    }
    Component::LogicalDevice::Psu *psu = device->newPsu( args );
    if ( !psu ) {
        TRACE( 0, "newPsu() failed" );
        return nullptr;
    }
    return psu->record();
}
