#include "OrvanGeneric/Ham/HamSelection.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <set>

#include <gtest/gtest.h>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Ham/Ham.h"
#include "OrvanGeneric/Ham/SimHam.h"
#include "OrvanGeneric/Topology.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScriptedHam.h"
#include "tests/support/ScriptedIpmiHam.h"

namespace {

using Drivers::DriverArgs;
using HamBase = Ham::Ham;
using Log = std::vector<std::string>;

/** "%p" of @p pointer. */
std::string shown( const void *pointer ) {
    char text[ 32 ];
    std::snprintf( text, sizeof( text ), "%p", pointer );
    return text;
}

/** Makes Hams of a kind "Scripted" and keeps what its factory is given. */
class HamSelection : public testing::Test {
  protected:
    HamSelection() {
        Ham::hams[ "Scripted" ] = [ this ]( const Topology::Topology &topology,
                                            const DriverArgs &args ) {
            topologies_.push_back( &topology );
            args_.push_back( &args );
            return made_;
        };
    }

    static DriverArgs device( uint32_t did, uint32_t uid = Drivers::noComponent ) {
        DriverArgs args;
        args.did = did;
        args.uid = uid;
        return args;
    }

    ScriptedHam ham_;
    ScriptedHam *made_ = &ham_;
    std::vector<const Topology::Topology *> topologies_;
    std::vector<const DriverArgs *> args_;
    FakeHost &host_ = FakeHost::instance();
};

TEST_F( HamSelection, RegistryKnowsTheTwoKindsThatMediaName ) {
    Ham::hams.erase( "Scripted" );
    std::set<std::string> kinds;
    for ( const auto &[ kind, factory ] : Ham::hams ) {
        EXPECT_TRUE( factory ) << kind;
        kinds.insert( kind );
    }
    EXPECT_EQ( kinds, ( std::set<std::string>{ "OrvanSmbus", "SimHam" } ) );
}

TEST_F( HamSelection, CreateCallsTheFactoryOfTheKindAndInitialisesTheHam ) {
    const Topology::Topology topology;
    const DriverArgs args = device( 1 );
    EXPECT_EQ( HamBase::create( "Scripted", topology, args ), &ham_ );
    EXPECT_TRUE( ham_.initialised );
    EXPECT_EQ( topologies_, std::vector{ &topology } );
    EXPECT_EQ( args_, std::vector{ &args } );
    EXPECT_EQ( host_.traces, ( Traces{ { 3, "looking up for Scripted in " + shown( &topology ) +
                                                " with " + shown( &args ) },
                                       { 3, "calling Scripted factory function" },
                                       { 3, "ham initialisation" } } ) );
}

TEST_F( HamSelection, CreateOfAnUnknownKindGivesNull ) {
    const Topology::Topology topology;
    const DriverArgs args = device( 1 );
    for ( const char *kind : { "Nonsense", "scripted", "" } ) {
        host_.traces.clear();
        EXPECT_EQ( HamBase::create( kind, topology, args ), nullptr );
        EXPECT_EQ( host_.traces,
                   ( Traces{ { 3, std::string( "looking up for " ) + kind + " in " +
                                      shown( &topology ) + " with " + shown( &args ) },
                             { 0, std::string( "Couldn't find HAM " ) + kind } } ) );
    }
}

TEST_F( HamSelection, CreateGivesNullWhenTheFactoryDoes ) {
    made_ = nullptr;
    const Topology::Topology topology;
    EXPECT_EQ( HamBase::create( "Scripted", topology, device( 1 ) ), nullptr );
    EXPECT_EQ( host_.traces.back(),
               ( Trace{ 0, "Factory function returned, couldn't create HAM Scripted" } ) );
    EXPECT_EQ( host_.texts( 3 ).back(), "calling Scripted factory function" );
}

/** Device 3 behind two muxes, device 1 with components, both on a medium of the kind "Scripted". */
const char *const board = R"([
    { "type": "I2C", "ham": "Other", "id": 7, "devices": [ { "did": 4 } ] },
    { "type": "SCD", "ham": "Scripted", "pci": 1281, "accelerators": [ { "id": 2, "busses": [
        { "id": 5,
          "devices": [ { "did": 1, "components": [ { "uid": 11 }, { "uid": 12 } ] } ],
          "muxes": [ { "did": 70, "busses": [ { "id": 1, "muxes": [
              { "did": 71, "busses": [ { "id": 4, "devices": [ { "did": 3 } ] } ] } ] } ] } ] }
    ] } ] },
    { "type": "I2C", "ham": "Nonsense", "id": 9, "devices": [ { "did": 5 } ] },
    { "type": "LinuxFs", "ham": "Scripted", "devices": [ { "did": 6 } ] }
])";

class HamFromTopology : public HamSelection {
  protected:
    HamFromTopology() {
        Topology::loadTopology( board );
        host_.traces.clear();
    }
};

TEST_F( HamSelection, WithoutATopologyIsABrokenInvariant ) {
    EXPECT_DEATH( Ham::createHam( device( 1 ) ), "OrvanGeneric/Ham/Ham.cpp.*`topology'" );
}

TEST_F( HamFromTopology, DeviceBehindMuxesGetsTheHamOfItsMedium ) {
    const DriverArgs args = device( 3 );
    EXPECT_EQ( Ham::createHam( args ), &ham_ );
    EXPECT_TRUE( ham_.initialised );
    EXPECT_EQ( topologies_, std::vector<const Topology::Topology *>{ Topology::_topology } );
    EXPECT_EQ( args_, std::vector{ &args } );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 0, "looking for component 4294967295 of device 3 in topology" },
                         { 2, "Device 3 contain the component" },
                         { 2, "BusId 4" },
                         { 2, "Mux using device 71" },
                         { 2, "BusId 1" },
                         { 2, "Mux using device 70" },
                         { 2, "BusId 5" },
                         { 2, "AccelId 2" },
                         { 2, "SCD 1281 00000501" },
                         { 0, "creating Scripted HAM using topology information" },
                         { 3, "looking up for Scripted in " + shown( Topology::_topology ) +
                                  " with " + shown( &args ) },
                         { 3, "calling Scripted factory function" },
                         { 3, "ham initialisation" } } ) );
}

TEST_F( HamFromTopology, ComponentIsFoundWhateverTheDeviceId ) {
    EXPECT_EQ( Ham::createHam( device( 99, 12 ) ), &ham_ );
    EXPECT_EQ( host_.texts( 0 ), ( Log{ "looking for component 12 of device 99 in topology",
                                        "creating Scripted HAM using topology information" } ) );
}

TEST_F( HamFromTopology, UnknownComponentGivesNullEvenWhereTheDeviceExists ) {
    EXPECT_EQ( Ham::createHam( device( 3, 13 ) ), nullptr );
    EXPECT_EQ( host_.traces, ( Traces{ { 0, "looking for component 13 of device 3 in topology" },
                                       { 0, "could not find component uid 13 in topology" } } ) );
}

TEST_F( HamFromTopology, UnknownDeviceGivesNullAndTracesTheComponentAsSigned ) {
    EXPECT_EQ( Ham::createHam( device( 99 ) ), nullptr );
    EXPECT_EQ( host_.traces,
               ( Traces{ { 0, "looking for component 4294967295 of device 99 in topology" },
                         { 0, "could not find component uid -1 in topology" } } ) );
}

TEST_F( HamFromTopology, UnknownKindInTheTopologyGivesNull ) {
    EXPECT_EQ( Ham::createHam( device( 5 ) ), nullptr );
    EXPECT_EQ( host_.texts( 0 ), ( Log{ "looking for component 4294967295 of device 5 in topology",
                                        "creating Nonsense HAM using topology information",
                                        "Couldn't find HAM Nonsense", "failed to create HAM" } ) );
}

TEST_F( HamFromTopology, DeviceOfTheFileSystemHasNoKindOfHam ) {
    EXPECT_EQ( Ham::createHam( device( 6 ) ), nullptr );
    EXPECT_EQ( host_.texts( 0 ), ( Log{ "looking for component 4294967295 of device 6 in topology",
                                        "creating  HAM using topology information",
                                        "Couldn't find HAM ", "failed to create HAM" } ) );
}

TEST_F( HamFromTopology, FailingFactoryIsTracedTwice ) {
    made_ = nullptr;
    EXPECT_EQ( Ham::createHam( device( 3 ) ), nullptr );
    EXPECT_EQ( host_.texts( 0 ), ( Log{ "looking for component 4294967295 of device 3 in topology",
                                        "creating Scripted HAM using topology information",
                                        "Factory function returned, couldn't create HAM Scripted",
                                        "failed to create HAM" } ) );
}

TEST_F( HamFromTopology, SimulationReplacesTheKindOfEveryMedium ) {
    setenv( "SIMULATION_VMID", "", 1 );
    static auto &made = *new std::vector<HamBase *>(); // Hams are never destroyed
    for ( const uint32_t did : { 3, 5, 6 } ) {
        made.push_back( Ham::createHam( device( did ) ) );
        EXPECT_NE( dynamic_cast<Ham::SimHam *>( made.back() ), nullptr ) << did;
        EXPECT_EQ( host_.texts( 0 ).back(), "creating SimHam HAM using topology information" );
    }
    EXPECT_TRUE( args_.empty() );
}

TEST_F( HamFromTopology, SimulationStillWantsTheDeviceInTheTopology ) {
    setenv( "SIMULATION_VMID", "1", 1 );
    EXPECT_EQ( Ham::createHam( device( 99 ) ), nullptr );
}

TEST( IpmiHams, AreEmptyAtLoadAndFilledBeforeTheFirstLookup ) {
    EXPECT_TRUE( Ham::ipmiHams.empty() );
    EXPECT_NE( Ham::createIpmiHam( "ipmitool" ), nullptr );
    EXPECT_EQ( Ham::ipmiHams.size(), 1u );
    EXPECT_EQ( FakeHost::instance().traces, ( Traces{
                                                { 3, "looking for ham ipmitool" },
                                                { 3, "creating  ipmitool factory function" },
                                            } ) );
}

TEST( IpmiHams, AKindOfTheSameNameThatIsThereAlreadyStays ) {
    const auto ham = std::make_shared<ScriptedIpmiHam>();
    Ham::ipmiHams[ "ipmitool" ] = [ & ] { return ham; };
    EXPECT_EQ( Ham::createIpmiHam( "ipmitool" ), ham );
}

TEST( IpmiHams, AnUnknownNameGivesNone ) {
    EXPECT_EQ( Ham::createIpmiHam( "IPMITOOL" ), nullptr );
    EXPECT_EQ( FakeHost::instance().traces, ( Traces{
                                                { 3, "looking for ham IPMITOOL" },
                                                { 0, "ham not found IPMITOOL" },
                                            } ) );
}

TEST( IpmiHams, AFactoryThatFailsGivesNone ) {
    Ham::ipmiHams[ "broken" ] = [] { return nullptr; };
    EXPECT_EQ( Ham::createIpmiHam( "broken" ), nullptr );
    EXPECT_EQ( FakeHost::instance().traces, ( Traces{
                                                { 3, "looking for ham broken" },
                                                { 3, "creating  broken factory function" },
                                                { 0, "Failed to create ham broken" },
                                            } ) );
}

} // namespace
