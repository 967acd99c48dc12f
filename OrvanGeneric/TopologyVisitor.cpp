#include "OrvanGeneric/TopologyVisitor.h"

#include <cassert>

#include "OrvanGeneric/HostServices.h"

namespace Topology {

namespace {

inline const Node &nodeOf( const std::shared_ptr<MediumNode> &child ) {
    return *child;
}
template <class T>
const T &nodeOf( const std::shared_ptr<T> &child ) {
    return *child;
}
template <class T>
const T &nodeOf( const std::pair<const uint32_t, std::shared_ptr<T>> &entry ) {
    return *entry.second;
}

/** Walks children until one answers false. */
template <class Children>
bool acceptAll( const Children &children, TopologyVisitor *visitor ) {
    for ( const auto &child : children ) {
        if ( !nodeOf( child ).accept( visitor ) ) {
            return false;
        }
    }
    return true;
}

/** A node is visited even after a descendant asked to stop; only its siblings are not. */
template <class T>
bool visitAfter( bool childrenGoOn, const T *node, TopologyVisitor *visitor ) {
    const bool goOn = visitor->visit( node );
    return childrenGoOn && goOn;
}

} // namespace

bool Component::accept( TopologyVisitor *visitor ) const {
    return visitor->visit( this );
}

bool Device::accept( TopologyVisitor *visitor ) const {
    return visitAfter( acceptAll( components, visitor ), this, visitor );
}

bool Mux::accept( TopologyVisitor *visitor ) const {
    return visitAfter( acceptAll( busses, visitor ), this, visitor );
}

bool Bus::accept( TopologyVisitor *visitor ) const {
    return visitAfter( acceptAll( devices, visitor ) && acceptAll( muxes, visitor ), this,
                       visitor );
}

bool Accelerator::accept( TopologyVisitor *visitor ) const {
    return visitAfter( acceptAll( busses, visitor ), this, visitor );
}

bool SCD::accept( TopologyVisitor *visitor ) const {
    return visitAfter( acceptAll( accelerators, visitor ), this, visitor );
}

bool Celestica::accept( TopologyVisitor *visitor ) const {
    return visitAfter( acceptAll( accelerators, visitor ), this, visitor );
}

bool LinuxFs::accept( TopologyVisitor *visitor ) const {
    return visitAfter( acceptAll( devices, visitor ), this, visitor );
}

bool I2C::accept( TopologyVisitor *visitor ) const {
    return visitAfter( Bus::accept( visitor ), this, visitor );
}

bool IOPort::accept( TopologyVisitor *visitor ) const {
    return visitAfter( Bus::accept( visitor ), this, visitor );
}

bool PLM::accept( TopologyVisitor *visitor ) const {
    return visitAfter( Bus::accept( visitor ), this, visitor );
}

bool SccSpi::accept( TopologyVisitor *visitor ) const {
    return visitAfter( Bus::accept( visitor ), this, visitor );
}

bool Topology::accept( TopologyVisitor *visitor ) const {
    return visitAfter( acceptAll( media, visitor ), this, visitor );
}

bool SearchDeviceVisitor::visit( const Device *node ) {
    if ( node->did != id ) {
        return true;
    }
    TRACE( 2, "Device %u found in topology", id );
    device = node;
    found = true;
    return false;
}

const Device *findDevice( unsigned id ) {
    assert( _topology );
    SearchDeviceVisitor search( id );
    _topology->accept( &search );
    return search.device;
}

Node *getNodeByLabel( const char *label ) {
    const auto it = _topology_index.find( label );
    return it == _topology_index.end() ? nullptr : it->second.get();
}

Bus *getBusByLabel( const char *label ) {
    return dynamic_cast<Bus *>( getNodeByLabel( label ) );
}

Device *getDeviceByLabel( const char *label ) {
    return dynamic_cast<Device *>( getNodeByLabel( label ) );
}

bool isDeviceObject( const char *text ) {
    return text[ 0 ] == '{';
}

} // namespace Topology
