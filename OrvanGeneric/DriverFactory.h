/**
 * @file
 * The drivers by name: what the creation of driver instances needs. Drivers/ fills the table.
 */
#pragma once

#include <functional>
#include <map>
#include <string>

namespace Component {
class DeviceBase;
}
namespace Ham {
class Ham;
}

namespace Drivers {

struct DriverArgs;

/** Makes a driver instance on a Ham, which may be null; null on failure. */
using DriverFactory = std::function<Component::DeviceBase *( const DriverArgs &, Ham::Ham * )>;

/** Every driver, by the key that a description's "driver" gives; filled at load, then only read. */
extern std::map<std::string, DriverFactory> drivers;

} // namespace Drivers
