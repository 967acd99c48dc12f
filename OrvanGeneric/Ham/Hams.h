#pragma once

#include <functional>
#include <map>
#include <string>

namespace Drivers {
struct DriverArgs;
}
namespace Topology {
struct Topology;
}

namespace Ham {

class Ham;

/** Makes a Ham for a device of the topology; null on failure. */
using HamFactory = std::function<Ham *( const Topology::Topology &, const Drivers::DriverArgs & )>;

/** Every kind of Ham, by the name that a medium's "ham" gives; filled at load, then only read. */
extern std::map<std::string, HamFactory> hams;

} // namespace Ham
