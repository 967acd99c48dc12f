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
    /**
     * @param uid  component sought; 0xFFFFFFFF: none, the device itself is sought
     * @param did  device sought
     */
    SearchVisitor( unsigned uid, unsigned did ) : uid( uid ), did( did ) {}

    /** A component: the one sought? */
    bool visit( const Topology::Component *node ) override;
    /** A device: the one sought, or the one that has the component? */
    bool visit( const Topology::Device *node ) override;
    /** An ancestor of the match: traces it; so do the bus and the accelerator. */
    bool visit( const Topology::Mux *node ) override;
    bool visit( const Topology::Bus *node ) override;
    bool visit( const Topology::Accelerator *node ) override;
    /** The match's medium: takes the name of its Ham; so do the other media. */
    bool visit( const Topology::SCD *node ) override;
    bool visit( const Topology::I2C *node ) override;
    bool visit( const Topology::IOPort *node ) override;
    bool visit( const Topology::Celestica *node ) override;
    bool visit( const Topology::PLM *node ) override;
    bool visit( const Topology::SccSpi *node ) override;
    using TopologyVisitor::visit;

    unsigned uid;                             ///< component sought, or 0xFFFFFFFF
    unsigned did;                             ///< device sought
    bool found = false;                       ///< whether there was a match
    const Topology::Device *device = nullptr; ///< the match, or the device that has it; not owned
    /** The kind of Ham. Stays empty for a device of a medium that no Ham serves ("LinuxFs"). */
    std::string hamName;
};

} // namespace Ham
