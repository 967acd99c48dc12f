#pragma once

#include <functional>

#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/Components/HostRecord.h"
#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/HostServices.h"

/*
 * The body that the add functions of all kinds share: find or make the driver instance, have it make
 * the logical device, give the host the device's record.
 */
namespace Component {

/** Stands for the name of an operation whose failure is not traced. */
constexpr const char *untraced = nullptr;

/**
 * Traces the failure of an operation that gives null when it fails.
 * @param result     what the operation gave
 * @param operation  its name, or untraced
 * @return @p result
 */
template <class Result>
Result *orTrace( Result *result, const char *operation ) {
    if ( !result && operation ) {
        TRACE( 0, "%s() failed", operation );
    }
    return result;
}

/**
 * Adds the peripheral that a description asks for.
 * @param description  the host's text
 * @param operation    name of the factory operation, for the trace of a failure; untraced for a kind
 *                     that fails silently
 * @param make         the factory operation: a member of DeviceBase, or a function that takes the
 *                     driver instance and the arguments; gives the logical device or null
 * @return the logical device, which lives as long as the process; null on failure
 * @throws NotImplementedException when the driver does not serve the kind
 */
template <class Make>
auto addDevice( const char *description, const char *operation, Make make )
    -> std::invoke_result_t<Make, DeviceBase &, const DriverArgs &> {
    DriverArgs args;
    DeviceBase *device = orTrace( DeviceBase::create( description, args ),
                                  operation ? "DeviceBase::create" : untraced );
    return device ? orTrace( std::invoke( make, *device, args ), operation ) : nullptr;
}

} // namespace Component
