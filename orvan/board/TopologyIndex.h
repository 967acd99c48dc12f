/**
 * @file
 * A board's topology, checked, with the way to each of its devices.
 */
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "orvan/json/JsonFile.h"

namespace orvan {

/** A mux on the way to a device, and the channel that leads on. */
struct MuxStep {
    uint32_t did = 0;     ///< device id of the mux chip
    uint32_t channel = 0; ///< the byte written to its control register: one bit per channel
    std::string pointer;  ///< JSON pointer of the mux in the topology
};

/** Where a device is. */
struct DevicePlace {
    uint32_t did = 0;    ///< the device's id, unique in the topology
    std::string label;   ///< the device's label; empty: none
    std::string pointer; ///< JSON pointer of the device in the topology
    const rapidjson::Value *object =
        nullptr;               ///< the device in the topology's document, which owns it
    std::string medium;        ///< the label of its medium or else the medium's type
    std::string ham;           ///< the hardware access that the medium names
    bool onFileSystem = false; ///< below a "LinuxFs" medium, to which there is no hardware access
    std::optional<uint32_t> accelerator; ///< the accelerator's number; none on a medium without any
    std::optional<uint32_t>
        bus; ///< number of the bus on the medium or accelerator; none on a file system
    std::vector<MuxStep> muxes; ///< root side first

    /** True when the topology gives the device a driver: it can be made without a description. */
    bool inlineDeclared() const;
    /**
     * The way to the device, to be shown: "SCD accel 1 bus 0, mux 0x70 ch 0x04". The addresses of the
     * muxes come from @p topology.
     */
    std::string path( const class TopologyIndex &topology ) const;
};

/**
 * All devices of a topology by id, component and label. Refers into the JsonFile that it was built from,
 * which must outlive it.
 */
class TopologyIndex {
  public:
    /**
     * Reads the topology in @p file, once per object. Checks everything on which the library would abort
     * or silently take something other than the author meant; mistakes go into @p problems. After errors
     * the index is incomplete and must not be used.
     */
    void build( const JsonFile &file, Problems &problems );

    /** The device whose id is @p did, owned by the index; null when there is none. */
    const DevicePlace *device( uint32_t did ) const;
    /** The device that the component with the id @p uid is part of; null when there is none. */
    const DevicePlace *component( uint32_t uid ) const;
    /** The device labelled @p label; null when there is none, or the label is that of another node. */
    const DevicePlace *deviceLabelled( const std::string &label ) const;
    /** Every device by its id, in the order of the ids. */
    const std::map<uint32_t, DevicePlace> &devices() const { return devices_; }
    /** The 7-bit address of @p place, which must be declared inline. */
    static uint32_t addressOf( const DevicePlace &place );

  private:
    struct Builder;
    std::map<uint32_t, DevicePlace> devices_;
    std::map<uint32_t, uint32_t> components_;               // uid to did
    std::map<std::string, std::optional<uint32_t>> labels_; // to did, for devices
};

} // namespace orvan
