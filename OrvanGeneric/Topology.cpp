#include "OrvanGeneric/Topology.h"

#include <cassert>
#include <new>

#include <rapidjson/document.h>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/HostServices.h"
#include "OrvanGeneric/JsonText.h"
#include "OrvanGeneric/TopologyMemory.h"

namespace Topology {

Topology *_topology = nullptr;
std::string _topology_json;
std::map<std::string, std::shared_ptr<Node>> _topology_index;

namespace {

/** Looks a member up; the name is a literal, so that its length need not be counted. */
template <size_t size>
rapidjson::Value::ConstMemberIterator find( const rapidjson::Value &json,
                                            const char ( &name )[ size ] ) {
    return json.FindMember( rapidjson::Value( rapidjson::StringRef( name, size - 1 ) ) );
}

/** The member called @p name, or a null value where there is none. */
template <size_t size>
const rapidjson::Value &memberOrNull( const rapidjson::Value &json, const char ( &name )[ size ] ) {
    static const rapidjson::Value null;
    const auto it = find( json, name );
    return it == json.MemberEnd() ? null : it->value;
}

/** Builds every element of @p array, each of which must be an object. */
template <class Build>
void forEachObject( const rapidjson::Value &array, Build build ) {
    for ( auto it = array.Begin(); it != array.End(); ++it ) {
        assert( it->IsObject() );
        build( *it );
    }
}

/** Appends a child for every element of the array called @p name, which may be absent. */
template <size_t size, class Child>
void appendChildren( const rapidjson::Value &json, const char ( &name )[ size ],
                     std::vector<std::shared_ptr<Child>> &children ) {
    const auto member = find( json, name );
    if ( member == json.MemberEnd() ) {
        return;
    }
    children.reserve( member->value.Size() );
    forEachObject( member->value, [ & ]( const rapidjson::Value &element ) {
        children.push_back( Child::fromJSON( element ) );
    } );
}

/** Stores an optional address field, through a function: there are no references to bit fields. */
template <size_t size, class Store>
void readField( const rapidjson::Value &value, const char ( &name )[ size ], Store store ) {
    const auto it = find( value, name );
    if ( it != value.MemberEnd() ) {
        store( it->value.GetUint() );
    }
}

template <unsigned bits>
constexpr uint32_t mask = ( 1u << bits ) - 1;

} // namespace

void fillAddressFromJSON( const rapidjson::Value &value, HamAddress &addr ) {
    assert( value.IsObject() );
    assert( value.HasMember( "address" ) );
    addr = HamAddress{};
    addr.addrSize = 1;
    addr.address = value[ "address" ].GetUint() & mask<7>;
    readField( value, "writeDelay", [ & ]( uint32_t v ) { addr.writeDelay = v & mask<2>; } );
    readField( value, "readDelay", [ & ]( uint32_t v ) { addr.readDelay = v & mask<2>; } );
    readField( value, "busTimeout", [ & ]( uint32_t v ) { addr.busTimeout = v & mask<3>; } );
    readField( value, "extraDelay", [ & ]( uint32_t v ) { addr.extraDelay = v & mask<1>; } );
    readField( value, "addrSize", [ & ]( uint32_t v ) { addr.addrSize = v & mask<2>; } );
    // The field has two bits: a given 4 has become 0 and is refused.
    assert( addr.addrSize == 1 || addr.addrSize == 2 || addr.addrSize == 4 );
    readField( value, "accel", [ & ]( uint32_t v ) { addr.accelerator = v & mask<7>; } );
}

template <class T>
void Node::init( const std::shared_ptr<T> &node, const rapidjson::Value &json ) {
    const auto label = find( json, "label" );
    if ( label != json.MemberEnd() ) {
        _topology_index[ label->value.GetString() ] = node;
    }
}

std::shared_ptr<Component> Component::fromJSON( const rapidjson::Value &json ) {
    assert( json.IsObject() );
    assert( json.HasMember( "uid" ) );
    auto component = makeNode<Component>();
    component->uid = json[ "uid" ].GetUint();
    Node::init( component, json );
    return component;
}

std::shared_ptr<Device> Device::fromJSON( const rapidjson::Value &json ) {
    assert( json.IsObject() );
    assert( json.HasMember( "did" ) );
    auto device = makeNode<Device>();
    device->did = json[ "did" ].GetUint();
    Node::init( device, json );
    if ( find( json, "driver" ) != json.MemberEnd() ) {
        device->args = Drivers::DriverArgs::fromJSON( json );
    }
    appendChildren( json, "components", device->components );
    return device;
}

std::shared_ptr<Mux> Mux::fromJSON( const rapidjson::Value &json ) {
    assert( json.IsObject() );
    assert( json.HasMember( "did" ) );
    auto mux = makeNode<Mux>();
    mux->did = json[ "did" ].GetUint();
    Node::init( mux, json );
    const auto busses = find( json, "busses" );
    if ( busses != json.MemberEnd() ) {
        forEachObject( busses->value, [ & ]( const rapidjson::Value &element ) {
            const auto bus = Bus::fromJSON( element );
            mux->busses[ bus->id ] = bus;
        } );
    }
    return mux;
}

void Bus::init( const std::shared_ptr<Bus> &bus, const rapidjson::Value &json ) {
    assert( json.IsObject() );
    assert( json.HasMember( "id" ) );
    bus->id = json[ "id" ].GetInt();
    Node::init( bus, json );
    appendChildren( json, "devices", bus->devices );
    appendChildren( json, "muxes", bus->muxes );
}

std::shared_ptr<Bus> Bus::fromJSON( const rapidjson::Value &json ) {
    auto bus = makeNode<Bus>();
    init( bus, json );
    return bus;
}

std::shared_ptr<Accelerator> Accelerator::fromJSON( const rapidjson::Value &json ) {
    assert( json.IsObject() );
    assert( json.HasMember( "id" ) );
    auto accel = makeNode<Accelerator>();
    accel->id = json[ "id" ].GetUint();
    Node::init( accel, json );
    const rapidjson::Value &busses = memberOrNull( json, "busses" );
    assert( busses.IsArray() );
    forEachObject( busses, [ & ]( const rapidjson::Value &element ) {
        const auto bus = Bus::fromJSON( element );
        assert( accel->busses.find( bus->id ) == accel->busses.end() );
        accel->busses[ bus->id ] = bus;
    } );
    return accel;
}

std::shared_ptr<SCD> SCD::fromJSON( const rapidjson::Value &json ) {
    assert( json.HasMember( "pci" ) );
    auto scd = makeNode<SCD>();
    scd->pci = json[ "pci" ].GetUint();
    Node::init( scd, json );
    const rapidjson::Value &accels = memberOrNull( json, "accelerators" );
    assert( accels.IsArray() );
    forEachObject( accels, [ & ]( const rapidjson::Value &element ) {
        const auto accel = Accelerator::fromJSON( element );
        assert( scd->accelerators.find( accel->id ) == scd->accelerators.end() );
        scd->accelerators[ accel->id ] = accel;
    } );
    return scd;
}

std::shared_ptr<Celestica> Celestica::fromJSON( const rapidjson::Value &json ) {
    auto cel = makeNode<Celestica>();
    Node::init( cel, json );
    const rapidjson::Value &accels = memberOrNull( json, "accelerators" );
    assert( accels.IsArray() );
    forEachObject( accels, [ & ]( const rapidjson::Value &element ) {
        const auto accel = Accelerator::fromJSON( element );
        assert( cel->accelerators.find( accel->id ) == cel->accelerators.end() );
        cel->accelerators[ accel->id ] = accel;
    } );
    return cel;
}

std::shared_ptr<LinuxFs> LinuxFs::fromJSON( const rapidjson::Value &json ) {
    auto linuxFs = makeNode<LinuxFs>();
    Node::init( linuxFs, json );
    appendChildren( json, "devices", linuxFs->devices );
    return linuxFs;
}

std::shared_ptr<I2C> I2C::fromJSON( const rapidjson::Value &json ) {
    auto i2c = makeNode<I2C>();
    const auto simulated = find( json, "simulated" );
    if ( simulated != json.MemberEnd() ) {
        i2c->simulated = simulated->value.GetBool();
    }
    Bus::init( i2c, json );
    return i2c;
}

std::shared_ptr<IOPort> IOPort::fromJSON( const rapidjson::Value &json ) {
    auto ioPort = makeNode<IOPort>();
    Bus::init( ioPort, json );
    return ioPort;
}

std::shared_ptr<PLM> PLM::fromJSON( const rapidjson::Value &json ) {
    auto plm = makeNode<PLM>();
    Bus::init( plm, json );
    return plm;
}

std::shared_ptr<SccSpi> SccSpi::fromJSON( const rapidjson::Value &json ) {
    auto sccSpi = makeNode<SccSpi>();
    Bus::init( sccSpi, json );
    return sccSpi;
}

static std::shared_ptr<MediumNode> mediumFromJSON( const rapidjson::Value &json ) {
    const std::string type = json[ "type" ].GetString();
    if ( type == "SCD" ) {
        return SCD::fromJSON( json );
    }
    if ( type == "I2C" ) {
        return I2C::fromJSON( json );
    }
    if ( type == "IOPort" ) {
        return IOPort::fromJSON( json );
    }
    if ( type == "Celestica" ) {
        return Celestica::fromJSON( json );
    }
    if ( type == "PLM" ) {
        return PLM::fromJSON( json );
    }
    if ( type == "SccSpi" ) {
        return SccSpi::fromJSON( json );
    }
    if ( type == "LinuxFs" ) {
        return LinuxFs::fromJSON( json );
    }
    assert( false && "Unknown type" );
}

Topology *Topology::fromJSON( const rapidjson::Document &json ) try {
    const TreeMemoryScope memory;
    auto topology = std::make_unique<Topology>();
    assert( json.IsArray() );
    for ( auto it = json.Begin(); it != json.End(); ++it ) {
        assert( it->IsObject() );
        assert( it->HasMember( "type" ) );
        assert( it->HasMember( "ham" ) );
        const auto medium = mediumFromJSON( *it );
        medium->ham = ( *it )[ "ham" ].GetString();
        topology->media.push_back( medium );
    }
    return topology.release();
} catch ( const std::bad_alloc & ) {
    return nullptr;
}

namespace {

/** Drops the current tree, also what a failed build left of one. */
void dropTopology() {
    delete _topology;
    _topology = nullptr;
    _topology_index.clear();
}

/** @throws std::bad_alloc */
pl_status replaceTopology( const char *json ) {
    std::string text = json;
    Json::ParsedText parsed( json );
    if ( !parsed.valid() ) {
        TRACE( 2, "failed to load topology from json: %s offset %zd", parsed.problem(),
               parsed.offset() );
        return PL_STATUS_INVALID;
    }
    dropTopology();
    _topology = Topology::fromJSON( parsed.document() );
    if ( !_topology ) {
        throw std::bad_alloc();
    }
    _topology_json.swap( text );
    return PL_STATUS_OK;
}

} // namespace

pl_status loadTopology( const char *json ) {
    if ( _topology && _topology_json == json ) {
        TRACE( 2, "topology is the same as the previously loaded one (using it)" );
        return PL_STATUS_OK;
    }
    TRACE( 2, "loading topology json" );
    try {
        return replaceTopology( json );
    } catch ( const std::bad_alloc & ) {
        dropTopology();
        TRACE( 2, "failed to create topology tree" );
        return PL_STATUS_FAILED;
    }
}

} // namespace Topology
