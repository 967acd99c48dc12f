/**
 * @file
 * Devices that answer together when a mux stays open.
 */
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "orvan/board/TopologyIndex.h"

namespace orvan {

/**
 * Warns of each device that has the same address as another one behind a sibling mux, that is a mux on
 * the same piece of bus. Two channels of one mux are never open together; two muxes are when a
 * transaction failed and nobody closed the first, and then a read brings one of two values and a write
 * reaches both devices.
 * @param file       name of the topology's file, for the warning
 * @param topology   the devices and the ways to them
 * @param addresses  7-bit addresses by device id, of devices that the topology gives none
 * @param problems   takes the warnings
 */
void warnOfSharedAddresses( const std::string &file, const TopologyIndex &topology,
                            const std::map<uint32_t, uint32_t> &addresses, Problems &problems );

} // namespace orvan
