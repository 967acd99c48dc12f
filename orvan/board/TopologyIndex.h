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
    uint32_t did = 0;     ///< of the mux chip
    uint32_t channel = 0; ///< the byte written to its control register
    std::string pointer;  ///< of the mux in the topology
};

/** Where a device is. */
struct DevicePlace {
    uint32_t did = 0;
    std::string label;
    std::string pointer;                      ///< of the device in the topology
    const rapidjson::Value *object = nullptr; ///< in the topology's document
    std::string medium;                       ///< its type, with its label or number
    std::string ham;
    bool onFileSystem = false; ///< below a "LinuxFs" medium, which no access manager serves
    std::optional<uint32_t> accelerator;
    std::optional<uint32_t> bus; ///< on the medium or accelerator; none on a file system
    std::vector<MuxStep> muxes;  ///< root side first

    /** True when the topology gives the device a driver: it can be made without a description. */
    bool inlineDeclared() const;
    /** For people: "SCD accel 1 bus 0, mux 0x70 channel 4". Mux addresses come from @p topology. */
    std::string path( const class TopologyIndex &topology ) const;
};

/** All devices of a topology by id, component and label. Refers into the JsonFile it was made from. */
class TopologyIndex {
  public:
    /**
     * Checks everything on which the library would abort or, worse, silently take something other
     * than the author meant. After errors the index is incomplete and of no use.
     */
    void build( const JsonFile &file, Problems &problems );

    const DevicePlace *device( uint32_t did ) const;
    const DevicePlace *component( uint32_t uid ) const;
    /** Null too for labels of nodes other than devices. */
    const DevicePlace *deviceLabelled( const std::string &label ) const;
    /** The 7-bit address that an inline declaration gives. */
    static uint32_t addressOf( const DevicePlace &place );

  private:
    struct Builder;
    std::map<uint32_t, DevicePlace> devices_;
    std::map<uint32_t, uint32_t> components_;               // uid to did
    std::map<std::string, std::optional<uint32_t>> labels_; // to did, for devices
};

} // namespace orvan
