#pragma once

#include <memory>
#include <string>

#include "smbusd/base/Log.h"
#include "smbusd/base/Scheduler.h"
#include "smbusd/bus/AdapterBusFactory.h"
#include "smbusd/linux/LinuxAdapter.h"

namespace smbusd {

/**
 * A bus on a kernel adapter. Each has a thread of its own for the calls that block, so that a slow
 * adapter holds up no other bus. The bus ends only when the operation under way has ended.
 *
 * @param device     the adapter's device file, for whoever lists the bus
 * @param access     carries the operations out
 * @param scheduler  brings results back to the service's thread; outlives the bus
 */
std::unique_ptr<Bus> makeLinuxBus( std::string name, const BusKey &key, std::string device,
                                   std::unique_ptr<AdapterAccess> access, Scheduler &scheduler );

/** Makes buses on real device files. The scheduler and the log outlive the buses. */
AdapterBusFactory linuxBusFactory( Scheduler &scheduler, Log &log );

} // namespace smbusd
