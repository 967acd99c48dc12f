#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <pl/types.h>
#include <rapidjson/fwd.h>

#include "OrvanGeneric/HamAddress.h"

namespace Drivers {
struct DriverArgs;
}

/**
 * The board's management hardware as a tree: media, accelerators, buses, muxes, devices, components.
 *
 * The tree is built from one JSON text (see loadTopology) and then only read. A parent shares its
 * children; nothing points back up. Malformed JSON structure is the programming error of the text's
 * author and aborts the process with the broken condition.
 */
namespace Topology {

class TopologyVisitor;

/** Any node of the tree. Nodes with a "label" are found by it (TopologyVisitor.h). */
struct Node {
    virtual ~Node() = default;
    /**
     * Walks the children in order, then visits this node.
     * @return false to stop the walk of this node's siblings. A child's false ends the walk of the
     *         children, but this node is still visited.
     */
    virtual bool accept( TopologyVisitor *visitor ) const = 0;

  protected:
    /** Enters @p node in the label index if @p json has a "label"; the last of a name wins. */
    template <class T>
    static void init( const std::shared_ptr<T> &node, const rapidjson::Value &json );
};

/** A part of a device that has an identity of its own. */
struct Component : Node {
    uint32_t uid = 0; ///< its identity, unique on the board

    bool accept( TopologyVisitor *visitor ) const override;
    /** Makes a component from its JSON object, which must have "uid". */
    static std::shared_ptr<Component> fromJSON( const rapidjson::Value &json );
};

/** A chip. */
struct Device : Node {
    uint32_t did = 0; ///< its identity, unique on the board
    /** Its driver arguments where it is declared inline with a "driver", else empty. */
    std::shared_ptr<Drivers::DriverArgs> args;
    std::vector<std::shared_ptr<Component>> components; ///< its parts, in the order of the text

    bool accept( TopologyVisitor *visitor ) const override;
    /** Makes a device from its JSON object, which must have "did". */
    static std::shared_ptr<Device> fromJSON( const rapidjson::Value &json );
};

struct Bus;

/** A multiplexer that splits a bus. */
struct Mux : Node {
    /** Identity of the device that is the mux chip. */
    uint32_t did = 0;
    /**
     * The downstream channels. A bus's id is the byte written to the mux's control register to
     * open the channel: on a PCA9548 one bit for each channel. A later bus with the same id replaces
     * an earlier one.
     */
    std::map<uint32_t, std::shared_ptr<Bus>> busses;

    bool accept( TopologyVisitor *visitor ) const override;
    /** Makes a mux from its JSON object, which must have "did". */
    static std::shared_ptr<Mux> fromJSON( const rapidjson::Value &json );
};

/** An SMBus. */
struct Bus : virtual Node {
    int32_t id = 0; ///< its number; below a mux what opens the channel
    std::vector<std::shared_ptr<Device>> devices; ///< on it, in the order of the text
    std::vector<std::shared_ptr<Mux>> muxes;      ///< that split it, in the order of the text

    bool accept( TopologyVisitor *visitor ) const override;
    /** Makes a bus from its JSON object, which must have "id". */
    static std::shared_ptr<Bus> fromJSON( const rapidjson::Value &json );

  protected:
    /** Reads a bus's own members into @p bus. */
    static void init( const std::shared_ptr<Bus> &bus, const rapidjson::Value &json );
};

/** A bus controller of a medium. */
struct Accelerator : Node {
    uint32_t id = 0;                                 ///< its number on the medium
    std::map<uint32_t, std::shared_ptr<Bus>> busses; ///< by number; none may occur twice

    bool accept( TopologyVisitor *visitor ) const override;
    /** Makes an accelerator from its JSON object, which must have "id" and the array "busses". */
    static std::shared_ptr<Accelerator> fromJSON( const rapidjson::Value &json );
};

/** A top-level entry: the way by which everything below it is reached. */
struct MediumNode : virtual Node {
    /** Kind of the Ham that serves the devices below. */
    std::string ham;
};

/** A PCI controller with SMBus accelerators. */
struct SCD : MediumNode {
    uint32_t pci = 0; ///< PCI address, as the SMBus service names the controller
    std::map<uint32_t, std::shared_ptr<Accelerator>> accelerators; ///< by number, none twice

    bool accept( TopologyVisitor *visitor ) const override;
    /** Makes such a medium from its JSON object, which must have "pci" and the array "accelerators". */
    static std::shared_ptr<SCD> fromJSON( const rapidjson::Value &json );
};

/** A controller whose accelerators need no PCI identification. */
struct Celestica : MediumNode {
    std::map<uint32_t, std::shared_ptr<Accelerator>> accelerators; ///< by number, none twice

    bool accept( TopologyVisitor *visitor ) const override;
    /** Makes such a medium from its JSON object, which must have the array "accelerators". */
    static std::shared_ptr<Celestica> fromJSON( const rapidjson::Value &json );
};

/** Devices that the Linux file system shows; no bus. */
struct LinuxFs : MediumNode {
    std::vector<std::shared_ptr<Device>> devices; ///< in the order of the text

    bool accept( TopologyVisitor *visitor ) const override;
    /** Makes such a medium from its JSON object. */
    static std::shared_ptr<LinuxFs> fromJSON( const rapidjson::Value &json );
};

/** A plain I2C bus of the CPU: medium and bus in one, as are the three below. */
struct I2C : MediumNode, Bus {
    bool simulated = false; ///< whether the SMBus service is to emulate the bus

    bool accept( TopologyVisitor *visitor ) const override;
    /** Makes such a medium from its JSON object, which must have "id". */
    static std::shared_ptr<I2C> fromJSON( const rapidjson::Value &json );
};

/** A bus on an I/O port. */
struct IOPort : MediumNode, Bus {
    bool accept( TopologyVisitor *visitor ) const override;
    /** Makes such a medium from its JSON object, which must have "id". */
    static std::shared_ptr<IOPort> fromJSON( const rapidjson::Value &json );
};

/** A bus of a PLM controller. */
struct PLM : MediumNode, Bus {
    bool accept( TopologyVisitor *visitor ) const override;
    /** Makes such a medium from its JSON object, which must have "id". */
    static std::shared_ptr<PLM> fromJSON( const rapidjson::Value &json );
};

/** A bus that is reached through SCC SPI. */
struct SccSpi : MediumNode, Bus {
    bool accept( TopologyVisitor *visitor ) const override;
    /** Makes such a medium from its JSON object, which must have "id". */
    static std::shared_ptr<SccSpi> fromJSON( const rapidjson::Value &json );
};

/** The whole board. */
struct Topology : Node {
    std::vector<std::shared_ptr<MediumNode>> media; ///< in the order of the text

    bool accept( TopologyVisitor *visitor ) const override;
    /** Builds a tree from a parsed document; the caller owns it. Null when memory runs out. */
    static Topology *fromJSON( const rapidjson::Document &json );
};

/** The current tree; null before the first successful load. Owned by loadTopology. */
extern Topology *_topology;
/** The text that the current tree was built from. */
extern std::string _topology_json;
/** Every labelled node of the current tree. */
extern std::map<std::string, std::shared_ptr<Node>> _topology_index;

/**
 * Makes @p json the current topology. A text equal byte for byte to the current one keeps the tree.
 * @return PL_STATUS_OK; PL_STATUS_INVALID when the text is not JSON (nothing changes);
 *         PL_STATUS_FAILED when no tree could be built (there is no tree then)
 */
pl_status loadTopology( const char *json );

/**
 * Reads a device's address object: "address" (required, its low 7 bits count), "writeDelay",
 * "readDelay", "busTimeout", "extraDelay", "addrSize", "accel", each cut to its field's width.
 * Register word, bus and flag become 0; "addrSize" is 1 unless given, and only values whose two low
 * bits are 1 or 2 pass.
 */
void fillAddressFromJSON( const rapidjson::Value &value, HamAddress &addr );

} // namespace Topology
