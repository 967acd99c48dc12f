#pragma once

#include "OrvanGeneric/Topology.h"

namespace Topology {

/**
 * Sees the nodes of a tree, children before parents. Each visit answers true to go on; false stops
 * the walk of the node's siblings, while its ancestors are still visited.
 *
 * A medium that is a bus as well is seen twice: as a Bus, then as its medium. The nodes belong to the
 * tree.
 */
class TopologyVisitor {
  public:
    /** A component. */
    virtual bool visit( const Component * ) { return true; }
    /** A device, after its components. */
    virtual bool visit( const Device * ) = 0;
    /** A mux, after the buses of its channels. */
    virtual bool visit( const Mux * ) { return true; }
    /** A bus, after its devices and muxes. */
    virtual bool visit( const Bus * ) { return true; }
    /** An accelerator, after its buses. */
    virtual bool visit( const Accelerator * ) { return true; }
    /** A medium with PCI address, after its accelerators. */
    virtual bool visit( const SCD * ) { return true; }
    /** A plain I2C bus as a medium. */
    virtual bool visit( const I2C * ) { return true; }
    /** A bus on an I/O port as a medium. */
    virtual bool visit( const IOPort * ) { return true; }
    /** A medium without PCI address, after its accelerators. */
    virtual bool visit( const Celestica * ) { return true; }
    /** A PLM bus as a medium. */
    virtual bool visit( const PLM * ) { return true; }
    /** A file-system medium, after its devices. */
    virtual bool visit( const LinuxFs * ) { return true; }
    /** A SCC-SPI bus as a medium. */
    virtual bool visit( const SccSpi * ) { return true; }
    /** The whole board, last of all. */
    virtual bool visit( const Topology * ) { return true; }

  protected:
    ~TopologyVisitor() = default;
};

/** Finds the first device of an identity, in walk order. */
class SearchDeviceVisitor final : public TopologyVisitor {
  public:
    /** @param did  identity sought */
    explicit SearchDeviceVisitor( uint32_t did ) : id( did ) {}

    using TopologyVisitor::visit;
    bool visit( const Device *node ) override;

    uint32_t id;                    ///< identity sought
    bool found = false;             ///< whether it was found
    const Device *device = nullptr; ///< the device, the tree's; null until found
};

/*
 * Look-ups in the current topology. The pointers are plain: they end with the tree, when another
 * text is loaded. Not to be used during a load.
 */

/** The first device of identity @p id in walk order, or null. Aborts when there is no topology. */
const Device *findDevice( unsigned id );

/** The node labelled @p label, or null. */
Node *getNodeByLabel( const char *label );

/** The bus labelled @p label (media that are buses count), or null if there is none. */
Bus *getBusByLabel( const char *label );

/** The device labelled @p label, or null if there is none. */
Device *getDeviceByLabel( const char *label );

/** Tells an inline device object from a label in one string argument: whether it begins with "{". */
bool isDeviceObject( const char *text );

} // namespace Topology
