/**
 * @file
 * How a configuration gets buses on real hardware without knowing what they are made of.
 */
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "smbusd/bus/AdapterSpec.h"
#include "smbusd/bus/Bus.h"

namespace smbusd {

/**
 * Makes the bus of a kernel adapter; given from outside, since it needs threads and devices.
 *
 * Arguments: the bus's name, its key, and which adapter it is. Throws AdapterTaken when another bus
 * is that adapter.
 */
using AdapterBusFactory = std::function<std::unique_ptr<Bus>( std::string name, const BusKey &key,
                                                              const AdapterSpec &adapter )>;

} // namespace smbusd
