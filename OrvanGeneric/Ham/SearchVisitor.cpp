#include "OrvanGeneric/Ham/SearchVisitor.h"

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/HostServices.h"

namespace Ham {

bool SearchVisitor::visit( const Topology::Component *node ) {
    if ( node->uid != uid ) {
        return true;
    }
    TRACE( 2, "Component %u found in tree", uid );
    found = true;
    return false;
}

bool SearchVisitor::visit( const Topology::Device *node ) {
    if ( !found ) {
        if ( uid != Drivers::noComponent || node->did != did ) {
            return true;
        }
        found = true;
    }
    TRACE( 2, "Device %u contain the component", node->did );
    device = node;
    return false;
}

bool SearchVisitor::visit( const Topology::Mux *node ) {
    if ( found ) {
        TRACE( 2, "Mux using device %d", static_cast<int>( node->did ) );
    }
    return !found;
}

bool SearchVisitor::visit( const Topology::Bus *node ) {
    if ( found ) {
        TRACE( 2, "BusId %u", static_cast<unsigned>( node->id ) );
    }
    return true;
}

bool SearchVisitor::visit( const Topology::Accelerator *node ) {
    if ( found ) {
        TRACE( 2, "AccelId %u", node->id );
    }
    return true;
}

bool SearchVisitor::visit( const Topology::SCD *node ) {
    if ( found ) {
        hamName = node->ham;
        TRACE( 2, "SCD %u %08X", node->pci, node->pci );
    }
    return true;
}

bool SearchVisitor::visit( const Topology::I2C *node ) {
    if ( found ) {
        hamName = node->ham;
        TRACE( 2, "I2C bus %u", static_cast<unsigned>( node->id ) );
    }
    return true;
}

bool SearchVisitor::visit( const Topology::IOPort *node ) {
    if ( found ) {
        hamName = node->ham;
        TRACE( 2, "IOPort" );
    }
    return true;
}

bool SearchVisitor::visit( const Topology::Celestica *node ) {
    if ( found ) {
        hamName = node->ham;
        TRACE( 2, "Celestica" );
    }
    return true;
}

bool SearchVisitor::visit( const Topology::PLM *node ) {
    if ( found ) {
        hamName = node->ham;
        TRACE( 2, "PLM" );
    }
    return true;
}

bool SearchVisitor::visit( const Topology::SccSpi *node ) {
    if ( found ) {
        hamName = node->ham;
        TRACE( 2, "SccSpi" );
    }
    return true;
}

} // namespace Ham
