#include "OrvanGeneric/TopologyVisitor.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/AssertionFailure.h"
#include "tests/support/FakeHost.h"
#include "tests/support/VirtualSlot.h"

namespace {

using Topology::TopologyVisitor;
using Log = std::vector<std::string>;

/** Writes down what it sees; asks to stop at one node. */
class Recorder : public TopologyVisitor {
  public:
    explicit Recorder( std::string stopAt = "" ) : stopAt_( std::move( stopAt ) ) {}

    bool visit( const Topology::Component *node ) override {
        return see( "component " + std::to_string( node->uid ) );
    }
    bool visit( const Topology::Device *node ) override {
        return see( "device " + std::to_string( node->did ) );
    }
    bool visit( const Topology::Mux *node ) override {
        return see( "mux " + std::to_string( node->did ) );
    }
    bool visit( const Topology::Bus *node ) override {
        return see( "bus " + std::to_string( node->id ) );
    }
    bool visit( const Topology::Accelerator *node ) override {
        return see( "accelerator " + std::to_string( node->id ) );
    }
    bool visit( const Topology::SCD * ) override { return see( "SCD" ); }
    bool visit( const Topology::I2C * ) override { return see( "I2C" ); }
    bool visit( const Topology::IOPort * ) override { return see( "IOPort" ); }
    bool visit( const Topology::Celestica * ) override { return see( "Celestica" ); }
    bool visit( const Topology::PLM * ) override { return see( "PLM" ); }
    bool visit( const Topology::LinuxFs * ) override { return see( "LinuxFs" ); }
    bool visit( const Topology::SccSpi * ) override { return see( "SccSpi" ); }
    bool visit( const Topology::Topology * ) override { return see( "topology" ); }

    Log log;

  private:
    bool see( const std::string &node ) {
        log.push_back( node );
        return node != stopAt_;
    }

    std::string stopAt_;
};

/** Defines nothing but what every visitor must. */
class DeviceVisitor : public TopologyVisitor {
  public:
    using TopologyVisitor::visit;
    bool visit( const Topology::Device *node ) override {
        seen.push_back( node->did );
        return true;
    }
    std::vector<uint32_t> seen;
};

void load( const std::string &json ) {
    ASSERT_EQ( Topology::loadTopology( json.c_str() ), PL_STATUS_OK );
}

/** The walk of the current topology, and whether it asked to stop at its end. */
Log walk( const std::string &stopAt = "", bool goesOn = true ) {
    Recorder recorder( stopAt );
    EXPECT_EQ( Topology::_topology->accept( &recorder ), goesOn );
    return recorder.log;
}

// Order of the visits

TEST( TopologyVisitor, SlotsAreInTheirOrder ) {
    const auto slot = []<class Node>( Node * ) {
        return virtualSlot(
            static_cast<bool ( TopologyVisitor::* )( const Node * )>( &TopologyVisitor::visit ) );
    };
    EXPECT_EQ( slot( static_cast<Topology::Component *>( nullptr ) ), 0u );
    EXPECT_EQ( slot( static_cast<Topology::Device *>( nullptr ) ), 1u );
    EXPECT_EQ( slot( static_cast<Topology::Mux *>( nullptr ) ), 2u );
    EXPECT_EQ( slot( static_cast<Topology::Bus *>( nullptr ) ), 3u );
    EXPECT_EQ( slot( static_cast<Topology::Accelerator *>( nullptr ) ), 4u );
    EXPECT_EQ( slot( static_cast<Topology::SCD *>( nullptr ) ), 5u );
    EXPECT_EQ( slot( static_cast<Topology::I2C *>( nullptr ) ), 6u );
    EXPECT_EQ( slot( static_cast<Topology::IOPort *>( nullptr ) ), 7u );
    EXPECT_EQ( slot( static_cast<Topology::Celestica *>( nullptr ) ), 8u );
    EXPECT_EQ( slot( static_cast<Topology::PLM *>( nullptr ) ), 9u );
    EXPECT_EQ( slot( static_cast<Topology::LinuxFs *>( nullptr ) ), 10u );
    EXPECT_EQ( slot( static_cast<Topology::SccSpi *>( nullptr ) ), 11u );
    EXPECT_EQ( slot( static_cast<Topology::Topology *>( nullptr ) ), 12u );
}

TEST( TopologyVisitor, VisitsByDefaultGoOn ) {
    DeviceVisitor visitor;
    EXPECT_TRUE( visitor.visit( static_cast<const Topology::Component *>( nullptr ) ) );
    EXPECT_TRUE( visitor.visit( static_cast<const Topology::Mux *>( nullptr ) ) );
    EXPECT_TRUE( visitor.visit( static_cast<const Topology::Bus *>( nullptr ) ) );
    EXPECT_TRUE( visitor.visit( static_cast<const Topology::Accelerator *>( nullptr ) ) );
    EXPECT_TRUE( visitor.visit( static_cast<const Topology::SCD *>( nullptr ) ) );
    EXPECT_TRUE( visitor.visit( static_cast<const Topology::I2C *>( nullptr ) ) );
    EXPECT_TRUE( visitor.visit( static_cast<const Topology::IOPort *>( nullptr ) ) );
    EXPECT_TRUE( visitor.visit( static_cast<const Topology::Celestica *>( nullptr ) ) );
    EXPECT_TRUE( visitor.visit( static_cast<const Topology::PLM *>( nullptr ) ) );
    EXPECT_TRUE( visitor.visit( static_cast<const Topology::LinuxFs *>( nullptr ) ) );
    EXPECT_TRUE( visitor.visit( static_cast<const Topology::SccSpi *>( nullptr ) ) );
    EXPECT_TRUE( visitor.visit( static_cast<const Topology::Topology *>( nullptr ) ) );
}

// The walk

TEST( TopologyWalk, EmptyTopologyIsVisitedItself ) {
    load( "[]" );
    EXPECT_EQ( walk(), Log{ "topology" } );
}

TEST( TopologyWalk, ChildrenComeFirstInContainerOrder ) {
    load( R"([ { "type": "SCD", "ham": "h", "pci": 1, "accelerators": [
        { "id": 9, "busses": [] },
        { "id": 2, "busses": [
            { "id": 5, "muxes": [
                { "did": 30, "busses": [ { "id": 8 }, { "id": 1, "devices": [ { "did": 6 } ] } ] },
                { "did": 20 } ],
              "devices": [ { "did": 4 }, { "did": 3, "components": [ { "uid": 8 }, { "uid": 7 } ] } ] },
            { "id": 0 } ] } ] } ])" );
    EXPECT_EQ( walk(), ( Log{ "bus 0", "device 4", "component 8", "component 7", "device 3",
                              "device 6", "bus 1", "bus 8", "mux 30", "mux 20", "bus 5",
                              "accelerator 2", "accelerator 9", "SCD", "topology" } ) );
}

TEST( TopologyWalk, MediaKeepTheOrderOfTheText ) {
    load( R"([
        { "type": "LinuxFs", "ham": "h", "devices": [ { "did": 1 }, { "did": 0 } ] },
        { "type": "Celestica", "ham": "h", "accelerators": [ { "id": 0, "busses": [ { "id": 4 } ] } ] },
        { "type": "SCD", "ham": "h", "pci": 0, "accelerators": [] } ])" );
    EXPECT_EQ( walk(), ( Log{ "device 1", "device 0", "LinuxFs", "bus 4", "accelerator 0",
                              "Celestica", "SCD", "topology" } ) );
}

TEST( TopologyWalk, BusMediaAreSeenTwice ) {
    for ( const std::string type : { "I2C", "IOPort", "PLM", "SccSpi" } ) {
        load( R"([ { "type": ")" + type + R"(", "ham": "h", "id": 7,
            "devices": [ { "did": 1 } ], "muxes": [ { "did": 2 } ] } ])" );
        EXPECT_EQ( walk(), ( Log{ "device 1", "mux 2", "bus 7", type, "topology" } ) );
    }
}

TEST( TopologyWalk, DefaultVisitsReachEveryDevice ) {
    load( R"([
        { "type": "I2C", "ham": "h", "id": 0, "devices": [ { "did": 1, "components": [ { "uid": 1 } ] } ],
          "muxes": [ { "did": 2, "busses": [ { "id": 0, "devices": [ { "did": 3 } ] } ] } ] },
        { "type": "IOPort", "ham": "h", "id": 0, "devices": [ { "did": 4 } ] },
        { "type": "PLM", "ham": "h", "id": 0, "devices": [ { "did": 5 } ] },
        { "type": "SccSpi", "ham": "h", "id": 0, "devices": [ { "did": 6 } ] },
        { "type": "LinuxFs", "ham": "h", "devices": [ { "did": 7 } ] },
        { "type": "SCD", "ham": "h", "pci": 0, "accelerators": [
            { "id": 0, "busses": [ { "id": 0, "devices": [ { "did": 8 } ] } ] } ] },
        { "type": "Celestica", "ham": "h", "accelerators": [
            { "id": 0, "busses": [ { "id": 0, "devices": [ { "did": 9 } ] } ] } ] } ])" );
    DeviceVisitor visitor;
    EXPECT_TRUE( Topology::_topology->accept( &visitor ) );
    EXPECT_EQ( visitor.seen, ( std::vector<uint32_t>{ 1, 3, 4, 5, 6, 7, 8, 9 } ) );
}

// The stop rule

/** Every kind of node, with a sibling after each. */
constexpr char twoOfAll[] = R"([
    { "type": "SCD", "ham": "h", "pci": 0, "accelerators": [
        { "id": 1, "busses": [
            { "id": 1, "devices": [ { "did": 1, "components": [ { "uid": 1 }, { "uid": 2 } ] },
                                    { "did": 2 } ],
              "muxes": [ { "did": 11, "busses": [ { "id": 21 }, { "id": 22 } ] }, { "did": 12 } ] },
            { "id": 2 } ] },
        { "id": 2, "busses": [] } ] },
    { "type": "I2C", "ham": "h", "id": 3, "devices": [ { "did": 3 }, { "did": 4 } ] },
    { "type": "LinuxFs", "ham": "h", "devices": [ { "did": 5 }, { "did": 6 } ] },
    { "type": "Celestica", "ham": "h", "accelerators": [
        { "id": 5, "busses": [] }, { "id": 6, "busses": [] } ] },
    { "type": "PLM", "ham": "h", "id": 7 } ])";

TEST( TopologyWalk, VisitsAllWhenNobodyStops ) {
    load( twoOfAll );
    EXPECT_EQ( walk(), ( Log{ "component 1",   "component 2",   "device 1",  "device 2", "bus 21",
                              "bus 22",        "mux 11",        "mux 12",    "bus 1",    "bus 2",
                              "accelerator 1", "accelerator 2", "SCD",       "device 3", "device 4",
                              "bus 3",         "I2C",           "device 5",  "device 6", "LinuxFs",
                              "accelerator 5", "accelerator 6", "Celestica", "bus 7",    "PLM",
                              "topology" } ) );
}

TEST( TopologyWalk, StopSkipsSiblingsButNotParents ) {
    load( twoOfAll );
    EXPECT_EQ( walk( "component 1", false ),
               ( Log{ "component 1", "device 1", "bus 1", "accelerator 1", "SCD", "topology" } ) );
    EXPECT_EQ( walk( "device 1", false ), ( Log{ "component 1", "component 2", "device 1", "bus 1",
                                                 "accelerator 1", "SCD", "topology" } ) );
}

TEST( TopologyWalk, StopBelowAMux ) {
    load( twoOfAll );
    const Log before = { "component 1", "component 2", "device 1", "device 2", "bus 21" };
    const Log parents = { "bus 1", "accelerator 1", "SCD", "topology" };
    Log expected = before;
    expected.push_back( "mux 11" );
    expected.insert( expected.end(), parents.begin(), parents.end() );
    EXPECT_EQ( walk( "bus 21", false ), expected );

    expected = before;
    expected.insert( expected.end(), { "bus 22", "mux 11" } );
    expected.insert( expected.end(), parents.begin(), parents.end() );
    EXPECT_EQ( walk( "mux 11", false ), expected );
}

TEST( TopologyWalk, StopAtABusAnAcceleratorOrAMedium ) {
    load( twoOfAll );
    const Log all = walk();
    const auto upTo = [ & ]( const std::string &node, const Log &parents ) {
        Log log( all.begin(), std::find( all.begin(), all.end(), node ) + 1 );
        log.insert( log.end(), parents.begin(), parents.end() );
        return log;
    };
    EXPECT_EQ( walk( "bus 1", false ), upTo( "bus 1", { "accelerator 1", "SCD", "topology" } ) );
    EXPECT_EQ( walk( "accelerator 1", false ), upTo( "accelerator 1", { "SCD", "topology" } ) );
    EXPECT_EQ( walk( "SCD", false ), upTo( "SCD", { "topology" } ) );
    EXPECT_EQ( walk( "device 5", false ), upTo( "device 5", { "LinuxFs", "topology" } ) );
    EXPECT_EQ( walk( "LinuxFs", false ), upTo( "LinuxFs", { "topology" } ) );
    EXPECT_EQ( walk( "accelerator 5", false ),
               upTo( "accelerator 5", { "Celestica", "topology" } ) );
    EXPECT_EQ( walk( "Celestica", false ), upTo( "Celestica", { "topology" } ) );
    EXPECT_EQ( walk( "topology", false ), all );
}

TEST( TopologyWalk, StopInABusMediumStillShowsItAsItsMedium ) {
    load( twoOfAll );
    const Log all = walk();
    const auto upTo = [ & ]( const std::string &node ) {
        return Log( all.begin(), std::find( all.begin(), all.end(), node ) + 1 );
    };
    Log expected = upTo( "device 3" );
    expected.insert( expected.end(), { "bus 3", "I2C", "topology" } );
    EXPECT_EQ( walk( "device 3", false ), expected );

    expected = upTo( "bus 3" );
    expected.insert( expected.end(), { "I2C", "topology" } );
    EXPECT_EQ( walk( "bus 3", false ), expected );

    expected = upTo( "I2C" );
    expected.push_back( "topology" );
    EXPECT_EQ( walk( "I2C", false ), expected );
}

TEST( TopologyWalk, StoppingDeviceSkipsTheMuxesOfItsBus ) {
    load( R"([ { "type": "PLM", "ham": "h", "id": 1, "devices": [ { "did": 1 } ],
                 "muxes": [ { "did": 2 } ] } ])" );
    EXPECT_EQ( walk( "device 1", false ), ( Log{ "device 1", "bus 1", "PLM", "topology" } ) );
}

// Look-ups

TEST( FindDevice, FirstOfAnIdentityInWalkOrder ) {
    // The bus of the lower id comes first, and a bus's own devices come before those behind muxes.
    load( R"([ { "type": "SCD", "ham": "h", "pci": 0, "accelerators": [ { "id": 0, "busses": [
        { "id": 2, "devices": [ { "did": 7, "label": "second bus" } ] },
        { "id": 1, "muxes": [ { "did": 1, "busses": [
                       { "id": 1, "devices": [ { "did": 7, "label": "behind the mux" } ] } ] } ],
          "devices": [ { "did": 8 }, { "did": 7, "label": "first bus" } ] } ] } ] } ])" );
    const Topology::Device *found = Topology::findDevice( 7 );
    ASSERT_NE( found, nullptr );
    EXPECT_EQ( found, Topology::getDeviceByLabel( "first bus" ) );
}

TEST( FindDevice, TracesWhatItFoundOnce ) {
    load( R"([ { "type": "LinuxFs", "ham": "h", "devices": [ { "did": 1 }, { "did": 4294967295 },
                 { "did": 4294967295 } ] } ])" );
    FakeHost::instance().traces.clear();
    EXPECT_EQ( Topology::findDevice( 4294967295 )->did, 4294967295u );
    EXPECT_EQ( FakeHost::instance().traces,
               ( Traces{ { 2, "Device 4294967295 found in topology" } } ) );
}

TEST( FindDevice, UnknownIdentityIsNullWithoutATrace ) {
    load( twoOfAll );
    FakeHost::instance().traces.clear();
    EXPECT_EQ( Topology::findDevice( 77 ), nullptr );
    // The mux's identity is not a device of the tree.
    EXPECT_EQ( Topology::findDevice( 11 ), nullptr );
    EXPECT_TRUE( FakeHost::instance().traces.empty() );
}

TEST( FindDeviceDeath, WithoutATopology ) {
    EXPECT_DEATH( Topology::findDevice( 1 ),
                  assertionFailure( "OrvanGeneric/TopologyVisitor.cpp", "_topology" ) );
}

TEST( SearchDeviceVisitor, StopsAtItsDeviceOnly ) {
    Topology::Device seven;
    seven.did = 7;
    Topology::SearchDeviceVisitor search( 8 );
    EXPECT_EQ( search.id, 8u );
    EXPECT_FALSE( search.found );
    EXPECT_EQ( search.device, nullptr );
    EXPECT_TRUE( search.visit( &seven ) );
    EXPECT_FALSE( search.found );
    search.id = 7;
    EXPECT_FALSE( search.visit( &seven ) );
    EXPECT_TRUE( search.found );
    EXPECT_EQ( search.device, &seven );
}

constexpr char labelled[] = R"([
    { "type": "SCD", "ham": "h", "label": "scd", "pci": 0, "accelerators": [
        { "id": 0, "label": "accelerator", "busses": [
            { "id": 1, "label": "bus", "muxes": [ { "did": 2, "label": "mux" } ],
              "devices": [ { "did": 3, "label": "device",
                             "components": [ { "uid": 4, "label": "component" } ] } ] } ] } ] },
    { "type": "I2C", "ham": "h", "label": "I2C", "id": 11 },
    { "type": "IOPort", "ham": "h", "label": "IOPort", "id": 12 },
    { "type": "PLM", "ham": "h", "label": "PLM", "id": 13 },
    { "type": "SccSpi", "ham": "h", "label": "SccSpi", "id": 14 },
    { "type": "Celestica", "ham": "h", "label": "Celestica", "accelerators": [] },
    { "type": "LinuxFs", "ham": "h", "label": "LinuxFs" } ])";

TEST( Labels, EveryKindOfNodeIsFound ) {
    load( labelled );
    const auto is = []<class Node>( const char *label, Node * ) {
        return dynamic_cast<Node *>( Topology::getNodeByLabel( label ) ) != nullptr;
    };
    EXPECT_TRUE( is( "scd", static_cast<Topology::SCD *>( nullptr ) ) );
    EXPECT_TRUE( is( "accelerator", static_cast<Topology::Accelerator *>( nullptr ) ) );
    EXPECT_TRUE( is( "bus", static_cast<Topology::Bus *>( nullptr ) ) );
    EXPECT_TRUE( is( "mux", static_cast<Topology::Mux *>( nullptr ) ) );
    EXPECT_TRUE( is( "device", static_cast<Topology::Device *>( nullptr ) ) );
    EXPECT_TRUE( is( "component", static_cast<Topology::Component *>( nullptr ) ) );
    EXPECT_TRUE( is( "I2C", static_cast<Topology::I2C *>( nullptr ) ) );
    EXPECT_TRUE( is( "IOPort", static_cast<Topology::IOPort *>( nullptr ) ) );
    EXPECT_TRUE( is( "PLM", static_cast<Topology::PLM *>( nullptr ) ) );
    EXPECT_TRUE( is( "SccSpi", static_cast<Topology::SccSpi *>( nullptr ) ) );
    EXPECT_TRUE( is( "Celestica", static_cast<Topology::Celestica *>( nullptr ) ) );
    EXPECT_TRUE( is( "LinuxFs", static_cast<Topology::LinuxFs *>( nullptr ) ) );
}

TEST( Labels, UnknownLabelIsNull ) {
    EXPECT_EQ( Topology::getNodeByLabel( "bus" ), nullptr ) << "before any load";
    load( labelled );
    EXPECT_EQ( Topology::getNodeByLabel( "Bus" ), nullptr );
    EXPECT_EQ( Topology::getBusByLabel( "" ), nullptr );
    EXPECT_EQ( Topology::getDeviceByLabel( "none" ), nullptr );
}

TEST( Labels, BusMediaAreBuses ) {
    load( labelled );
    EXPECT_EQ( Topology::getBusByLabel( "bus" )->id, 1 );
    EXPECT_EQ( Topology::getBusByLabel( "I2C" )->id, 11 );
    EXPECT_EQ( Topology::getBusByLabel( "IOPort" )->id, 12 );
    EXPECT_EQ( Topology::getBusByLabel( "PLM" )->id, 13 );
    EXPECT_EQ( Topology::getBusByLabel( "SccSpi" )->id, 14 );
}

TEST( Labels, OtherNodesAreNoBus ) {
    load( labelled );
    for ( const char *label :
          { "device", "mux", "component", "accelerator", "scd", "Celestica", "LinuxFs" } ) {
        EXPECT_EQ( Topology::getBusByLabel( label ), nullptr ) << label;
    }
}

TEST( Labels, OnlyDevicesAreDevices ) {
    load( labelled );
    EXPECT_EQ( Topology::getDeviceByLabel( "device" )->did, 3u );
    for ( const char *label : { "bus", "I2C", "mux", "component", "accelerator", "scd" } ) {
        EXPECT_EQ( Topology::getDeviceByLabel( label ), nullptr ) << label;
    }
}

TEST( IsDeviceObject, LooksAtTheFirstCharacterOnly ) {
    EXPECT_TRUE( Topology::isDeviceObject( "{" ) );
    EXPECT_TRUE( Topology::isDeviceObject( "{ not JSON" ) );
    EXPECT_FALSE( Topology::isDeviceObject( " {" ) );
    EXPECT_FALSE( Topology::isDeviceObject( "label{" ) );
    EXPECT_FALSE( Topology::isDeviceObject( "[{" ) );
    EXPECT_FALSE( Topology::isDeviceObject( "" ) );
}

} // namespace
