#include "orvan/board/SharedAddresses.h"

#include <algorithm>
#include <optional>
#include <tuple>
#include <vector>

#include <fmt/core.h>

namespace orvan {

namespace {

/** A bus by its medium's place in the topology and its numbers, and an address on it. */
using Spot = std::tuple<std::string, std::optional<uint32_t>, std::optional<uint32_t>, uint32_t>;

/** The pointer of a device's medium: "/3" of "/3/accelerators/0/busses/1/devices/2". */
std::string mediumOf( const DevicePlace &place ) {
    return place.pointer.substr( 0, place.pointer.find( '/', 1 ) );
}

/** Whether the ways to both devices part at two muxes on the same piece of bus. */
bool behindSiblings( const DevicePlace &one, const DevicePlace &other ) {
    const auto [ a, b ] =
        std::mismatch( one.muxes.begin(), one.muxes.end(), other.muxes.begin(), other.muxes.end(),
                       []( const MuxStep &left, const MuxStep &right ) {
                           return left.did == right.did && left.channel == right.channel;
                       } );
    return a != one.muxes.end() && b != other.muxes.end() && a->did != b->did;
}

/** The first of @p others that is behind a sibling mux; null when none is. */
const DevicePlace *siblingOf( const DevicePlace &place,
                              const std::vector<const DevicePlace *> &others ) {
    for ( const DevicePlace *other : others ) {
        if ( behindSiblings( place, *other ) ) {
            return other;
        }
    }
    return nullptr;
}

} // namespace

void warnOfSharedAddresses( const std::string &file, const TopologyIndex &topology,
                            const std::map<uint32_t, uint32_t> &addresses, Problems &problems ) {
    constexpr uint32_t addressBits = 0x7F;
    std::map<Spot, std::vector<const DevicePlace *>> spots;
    for ( const auto &[ did, place ] : topology.devices() ) {
        const auto known = addresses.find( did );
        if ( place.muxes.empty() || ( known == addresses.end() && !place.inlineDeclared() ) ) {
            continue;
        }
        const uint32_t address =
            ( place.inlineDeclared() ? TopologyIndex::addressOf( place ) : known->second ) &
            addressBits;
        auto &there = spots[ { mediumOf( place ), place.accelerator, place.bus, address } ];
        if ( const DevicePlace *sibling = siblingOf( place, there ) ) {
            problems.warning(
                file, place.pointer,
                fmt::format( "the address {:#04x} is also that of device {} behind a sibling mux; "
                             "should one of the two muxes stay open after a failure, both devices "
                             "answer",
                             address, sibling->did ) );
        }
        there.push_back( &place );
    }
}

} // namespace orvan
