#pragma once

#include <string>

#include "OrvanGeneric/TopologyVisitor.h"

namespace Ham {

/**
 * Finds a component, or a device where no component is named, and the kind of Ham that serves its
 * medium. The ancestors of the match are visited too; that is how the medium comes to light.
 */
class SearchVisitor final : public Topology::TopologyVisitor {
  public:
    /** @p uid 0xFFFFFFFF: no component, the device itself is sought. */
    SearchVisitor( unsigned uid, unsigned did ) : uid( uid ), did( did ) {}

    bool visit( const Topology::Component *node ) override;
    bool visit( const Topology::Device *node ) override;
    bool visit( const Topology::Mux *node ) override;
    bool visit( const Topology::Bus *node ) override;
    bool visit( const Topology::Accelerator *node ) override;
    bool visit( const Topology::SCD *node ) override;
    bool visit( const Topology::I2C *node ) override;
    bool visit( const Topology::IOPort *node ) override;
    bool visit( const Topology::Celestica *node ) override;
    bool visit( const Topology::PLM *node ) override;
    bool visit( const Topology::SccSpi *node ) override;
    using TopologyVisitor::visit;

    unsigned uid;
    unsigned did;
    bool found = false;
    const Topology::Device *device = nullptr;
    /** Stays empty for a device of a medium that no Ham serves ("LinuxFs"). */
    std::string hamName;
};

} // namespace Ham
