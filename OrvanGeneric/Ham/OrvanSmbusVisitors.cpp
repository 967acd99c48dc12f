#include "OrvanGeneric/Ham/OrvanSmbusVisitors.h"

#include <algorithm>
#include <cassert>
#include <string>
#include <vector>

#include "OrvanGeneric/Assertion.h"
#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/Components/Mux.h"
#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/HostServices.h"

namespace Ham {

namespace {

constexpr uint32_t idMask = 0x7F;

/** The muxes whose drivers are being made at present, each for the way to the next. */
std::vector<uint32_t> muxesBeingMade;

/** While it lives, a mux's driver is being made; aborts when that is so already. */
class MakingMux {
  public:
    explicit MakingMux( uint32_t did ) {
        const bool behindItself =
            std::find( muxesBeingMade.begin(), muxesBeingMade.end(), did ) != muxesBeingMade.end();
        ASSERT_NAMED( !behindItself,
                      "mux device " + std::to_string( did ) + " is not behind itself" );
        muxesBeingMade.push_back( did );
    }
    ~MakingMux() { muxesBeingMade.pop_back(); }
    MakingMux( const MakingMux & ) = delete;
    MakingMux &operator=( const MakingMux & ) = delete;
};

} // namespace

void OrvanSmbusVisitor::foundAt( const Topology::HamAddress &address ) {
    ham = new OrvanSmbusHam( address );
    found = true;
}

bool OrvanSmbusVisitor::visit( const Topology::Bus *node ) {
    if ( found ) {
        ham->setBus( static_cast<uint8_t>( node->id & idMask ) );
        busId = node->id;
    }
    return true;
}

bool OrvanSmbusVisitor::visit( const Topology::Accelerator *node ) {
    if ( found ) {
        ham->address.accelerator = node->id & idMask;
    }
    return true;
}

bool OrvanSmbusVisitor::visit( const Topology::Mux *node ) {
    if ( !found ) {
        return true;
    }
    TRACE( 3, "Mux using device %u with value %u", node->did, static_cast<unsigned>( busId ) );
    const Topology::Device *topoDev = Topology::findDevice( node->did );
    assert( topoDev );
    if ( !topoDev->args ) {
        TRACE( 3, "Device %u isn't declared inline", node->did );
    }
    assert( topoDev->args );
    Drivers::DriverArgs muxArgs = *topoDev->args;
    const MakingMux making( node->did );
    Component::DeviceBase *muxDevice = Component::HardwareDevice::create( muxArgs, nullptr );
    assert( muxDevice );
    ham->muxes.insert( ham->muxes.begin(),
                       muxDevice->newMux( muxArgs, static_cast<unsigned>( busId ) ) );
    return true;
}

bool OrvanSmbusVisitor::masterIs( Smbus::MasterType master, uint32_t pci ) {
    if ( found ) {
        ham->masterType = master;
        ham->pci = pci;
    }
    return true;
}

bool OrvanSmbusVisitor::visit( const Topology::SCD *node ) {
    return masterIs( Smbus::SCD, node->pci );
}

bool OrvanSmbusVisitor::visit( const Topology::I2C *node ) {
    return masterIs( node->simulated ? Smbus::SIMULATED : Smbus::I2C );
}

bool OrvanSmbusVisitor::visit( const Topology::IOPort * ) {
    return masterIs( Smbus::IO_PORT );
}
bool OrvanSmbusVisitor::visit( const Topology::Celestica * ) {
    return masterIs( Smbus::CELESTICA );
}
bool OrvanSmbusVisitor::visit( const Topology::PLM * ) {
    return masterIs( Smbus::PLM );
}
bool OrvanSmbusVisitor::visit( const Topology::SccSpi * ) {
    return masterIs( Smbus::SCC_SPI );
}
// No bus leads there: the Ham keeps the master type it was made with.
bool OrvanSmbusVisitor::visit( const Topology::LinuxFs * ) {
    return true;
}

bool OrvanSmbusDriverVisitor::visit( const Topology::Component *node ) {
    if ( node->uid != args_.uid ) {
        return true;
    }
    found = true;
    return false;
}

bool OrvanSmbusDriverVisitor::visit( const Topology::Device *node ) {
    if ( !found && ( args_.uid != Drivers::noComponent || node->did != args_.did ) ) {
        return true;
    }
    Topology::HamAddress address = args_.address;
    address.addrSize = 1;
    foundAt( address );
    return false;
}

bool OrvanSmbusBusIdVisitor::visit( const Topology::Bus *node ) {
    if ( node == bus_ ) {
        Topology::HamAddress address{};
        address.address = address_ & idMask;
        address.addrSize = 1;
        foundAt( address );
    }
    return OrvanSmbusVisitor::visit( node );
}

Ham *OrvanSmbusHam::create( const Topology::Topology &topology, const Drivers::DriverArgs &args ) {
    OrvanSmbusDriverVisitor visitor( args );
    topology.accept( &visitor );
    return visitor.ham;
}

OrvanSmbusHam *OrvanSmbusHam::createOnBus( const Topology::Topology &topology,
                                           const Topology::Bus *bus, uint8_t address ) {
    OrvanSmbusBusIdVisitor visitor( bus, address );
    topology.accept( &visitor );
    return visitor.ham;
}

} // namespace Ham
