#pragma once

#include "OrvanGeneric/Ham/OrvanSmbusHam.h"
#include "OrvanGeneric/TopologyVisitor.h"

namespace Ham {

/**
 * Collects the path to a device into the Ham being built. Nothing happens until the target is found;
 * from then on the ancestors, which are visited after it, each add their piece: bus, muxes,
 * accelerator, medium.
 *
 * The walk goes from the leaves up, so the bus stored last is the outermost one, and the id of the
 * bus just below a mux is the value that opens the mux's channel.
 */
class OrvanSmbusVisitor : public Topology::TopologyVisitor {
  public:
    using TopologyVisitor::visit;
    /** Adds the mux, whose channel is the bus visited last; makes the mux's driver if need be. */
    bool visit( const Topology::Mux *node ) override;
    bool visit( const Topology::Bus *node ) override;
    bool visit( const Topology::Accelerator *node ) override;
    bool visit( const Topology::SCD *node ) override;
    bool visit( const Topology::I2C *node ) override;
    bool visit( const Topology::IOPort *node ) override;
    bool visit( const Topology::Celestica *node ) override;
    bool visit( const Topology::PLM *node ) override;
    bool visit( const Topology::LinuxFs *node ) override;
    bool visit( const Topology::SccSpi *node ) override;

    bool found = false;           ///< whether the target was found
    OrvanSmbusHam *ham = nullptr; ///< made when the target is found; the caller's
    int busId = -1;               ///< id of the bus visited last since then

  protected:
    ~OrvanSmbusVisitor() = default;
    /** Makes the Ham and remembers that the target was found. */
    void foundAt( const Topology::HamAddress &address );

  private:
    bool masterIs( Smbus::MasterType master, uint32_t pci = 0 );
};

/** Finds the device, or the component's device, that driver arguments name. */
class OrvanSmbusDriverVisitor final : public OrvanSmbusVisitor {
  public:
    /** @param args  name the target; must outlive the visitor */
    explicit OrvanSmbusDriverVisitor( const Drivers::DriverArgs &args ) : args_( args ) {}

    using OrvanSmbusVisitor::visit;
    bool visit( const Topology::Component *node ) override;
    bool visit( const Topology::Device *node ) override;

  private:
    const Drivers::DriverArgs &args_;
};

/** Finds a bus. It never stops the walk: what is visited later overwrites the path. */
class OrvanSmbusBusIdVisitor final : public OrvanSmbusVisitor {
  public:
    /**
     * @param bus      the target
     * @param address  7-bit device address for the Ham
     */
    OrvanSmbusBusIdVisitor( const Topology::Bus *bus, uint8_t address )
        : bus_( bus ), address_( address ) {}

    using OrvanSmbusVisitor::visit;
    bool visit( const Topology::Device * ) override { return true; }
    bool visit( const Topology::Bus *node ) override;

  private:
    const Topology::Bus *bus_;
    uint8_t address_;
};

} // namespace Ham
