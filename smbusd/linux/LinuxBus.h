#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "smbusd/base/Log.h"
#include "smbusd/base/Scheduler.h"
#include "smbusd/bus/AdapterBusFactory.h"
#include "smbusd/linux/KernelCalls.h"
#include "smbusd/linux/LinuxAdapter.h"

namespace smbusd {

/** How long the service's end waits for an operation that an adapter has begun. */
inline constexpr std::chrono::milliseconds adapterPatience{ 2000 };

/** What a bus on a kernel adapter is made of. */
struct LinuxBusParts {
    std::string name;                                     ///< what the configuration calls it
    BusKey key;                                           ///< what requests call it
    std::string adapter;                                  ///< in words, for lists of the buses
    std::unique_ptr<AdapterAccess> access;                ///< carries the operations out
    std::chrono::milliseconds patience = adapterPatience; ///< at its end, with what is under way
};

/**
 * A bus behind a kernel adapter. Each has a thread of its own for the calls that block, so that a
 * slow adapter holds up no other bus, and one that hangs does not hold up the service's end.
 *
 * @param scheduler  brings results back to the service's thread; outlives the bus
 * @param log        outlives the bus
 */
std::unique_ptr<Bus> makeLinuxBus( LinuxBusParts parts, Scheduler &scheduler, Log &log );

/**
 * Makes buses on the adapters of a kernel, no two on the same one.
 *
 * @param scheduler  brings results back to the service's thread; outlives the buses
 * @param log        outlives the buses
 * @param kernel     the running one, unless a test stands in for it
 */
AdapterBusFactory linuxBusFactory( Scheduler &scheduler, Log &log,
                                   std::shared_ptr<const KernelCalls> kernel = runningKernel() );

} // namespace smbusd
