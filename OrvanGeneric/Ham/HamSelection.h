/**
 * @file
 * The kinds of Ham by name, and the choice among them.
 */
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

namespace Drivers {
struct DriverArgs;
}
namespace Topology {
struct Topology;
}

namespace Ham {

class Ham;
class IpmiHam;

/** Makes a Ham for a device of the topology; null on failure. */
using HamFactory = std::function<Ham *( const Topology::Topology &, const Drivers::DriverArgs & )>;

/** Every kind of Ham, by the name that a medium's "ham" gives; filled at load, then only read. */
extern std::map<std::string, HamFactory> hams;

/** Makes an IPMI Ham; empty on failure. */
using IpmiHamFactory = std::function<std::shared_ptr<IpmiHam>()>;

/**
 * Every kind of IPMI Ham, by the name that a driver's "hamType" gives. Empty at load: the first
 * createIpmiHam() adds the kinds that this library has.
 */
extern std::map<std::string, IpmiHamFactory> ipmiHams;

/** Makes an IPMI Ham of the kind @p name; empty, after a trace, when there is none or it fails. */
std::shared_ptr<IpmiHam> createIpmiHam( const std::string &name );

} // namespace Ham
