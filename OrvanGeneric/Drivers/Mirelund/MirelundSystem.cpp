#include "OrvanGeneric/Drivers/Mirelund/MirelundSystem.h"

#include <cassert>
#include <memory>

#include "OrvanGeneric/Components/Gpio.h"
#include "OrvanGeneric/Drivers/Helpers.h"
#include "OrvanGeneric/HostServices.h"

namespace {

constexpr char powerController[] = "PSoC";

/** The register bit that a power request sets. */
struct PowerBit {
    uint32_t reg;
    uint32_t bit;
};
constexpr PowerBit powerOff = { 10, 1 };
constexpr PowerBit powerCycle = { 8, 0 };

// What the host expects on 32-bit x86.
static_assert( sizeof( void * ) != 4 ||
               ( sizeof( pl_system ) == 8 && sizeof( pl_system_ops ) == 20 ) );

const pl_system_ops systemOps = { sizeof( pl_system_ops ), pl_system_poweroff, pl_system_powercycle,
                                  pl_system_get_reload_cause, nullptr };

pl_status request( const PowerBit &power ) {
    const std::unique_ptr<Component::LogicalDevice::Gpio> gpio(
        Drivers::getRegGpioForDevice( powerController, power.reg, power.bit ) );
    assert( gpio );
    gpio->writeOnly = true;
    return gpio->bitSet();
}

} // namespace

pl_status pl_system_poweroff( pl_system * ) {
    return request( powerOff );
}

pl_status pl_system_powercycle( pl_system * ) {
    return request( powerCycle );
}

pl_status pl_system_get_reload_cause( pl_system *, char *, long *, char * ) {
    return PL_STATUS_UNSUPPORTED;
}

extern "C" pl_system *pl_system_add( const char *description ) {
    TRACE( 0, "MirelundSystem::pl_system_add( '%s' )", description );
    return new pl_system{ 0, &systemOps };
}
