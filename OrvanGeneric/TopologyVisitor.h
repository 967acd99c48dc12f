#pragma once

#include "OrvanGeneric/Topology.h"

namespace Topology {

/**
 * Sees the nodes of a tree, children before parents. Each visit answers true to go on; false stops
 * the walk of the node's siblings, while its ancestors are still visited.
 *
 * A medium that is a bus at once is seen twice: as a Bus, then as its medium.
 */
class TopologyVisitor {
  public:
    virtual bool visit( const Component * ) { return true; }
    virtual bool visit( const Device * ) = 0;
    virtual bool visit( const Mux * ) { return true; }
    virtual bool visit( const Bus * ) { return true; }
    virtual bool visit( const Accelerator * ) { return true; }
    virtual bool visit( const SCD * ) { return true; }
    virtual bool visit( const I2C * ) { return true; }
    virtual bool visit( const IOPort * ) { return true; }
    virtual bool visit( const Celestica * ) { return true; }
    virtual bool visit( const PLM * ) { return true; }
    virtual bool visit( const LinuxFs * ) { return true; }
    virtual bool visit( const SccSpi * ) { return true; }
    virtual bool visit( const Topology * ) { return true; }

  protected:
    ~TopologyVisitor() = default;
};

/** Finds the first device of an identity, in walk order. */
class SearchDeviceVisitor final : public TopologyVisitor {
  public:
    explicit SearchDeviceVisitor( uint32_t did ) : id( did ) {}

    using TopologyVisitor::visit;
    bool visit( const Device *node ) override;

    uint32_t id;
    bool found = false;
    const Device *device = nullptr;
};

/*
 * Look-ups in the current topology. The pointers are plain: they end with the tree, when another
 * text is loaded. Not to be used during a load.
 */

/** The first device of identity @p id in walk order, or null. There must be a topology. */
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
