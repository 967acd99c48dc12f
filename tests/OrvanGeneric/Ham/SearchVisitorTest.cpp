#include "OrvanGeneric/Ham/SearchVisitor.h"

#include <ostream>

#include <gtest/gtest.h>

#include "OrvanGeneric/DriverArgs.h"
#include "tests/support/FakeHost.h"

namespace {

using Ham::SearchVisitor;
using Topology::_topology;

class SearchVisitorTest : public testing::Test {
  protected:
    static void load( const std::string &text ) {
        ASSERT_EQ( Topology::loadTopology( text.c_str() ), PL_STATUS_OK );
        FakeHost::instance().traces.clear();
    }
    static const Traces &traces() { return FakeHost::instance().traces; }
};

TEST_F( SearchVisitorTest, StartsWithNothingFound ) {
    const SearchVisitor search( 11, 3 );
    EXPECT_EQ( search.uid, 11u );
    EXPECT_EQ( search.did, 3u );
    EXPECT_FALSE( search.found );
    EXPECT_EQ( search.device, nullptr );
    EXPECT_EQ( search.hamName, "" );
}

/** A medium, and what the visitor says of it once the device below is found. */
struct Medium {
    const char *name; ///< of its Ham
    const char *json;
    Traces traces;
};

void PrintTo( const Medium &medium, std::ostream *out ) {
    *out << medium.name;
}

class SearchVisitorMedium : public SearchVisitorTest, public testing::WithParamInterface<Medium> {};

TEST_P( SearchVisitorMedium, GivesItsHamAndItsTrace ) {
    load( GetParam().json );
    SearchVisitor search( Drivers::noComponent, 3 );
    _topology->accept( &search );
    EXPECT_TRUE( search.found );
    ASSERT_NE( search.device, nullptr );
    EXPECT_EQ( search.device->did, 3u );
    EXPECT_EQ( search.hamName, GetParam().name );
    Traces expected = { { 2, "Device 3 contain the component" } };
    expected.insert( expected.end(), GetParam().traces.begin(), GetParam().traces.end() );
    EXPECT_EQ( traces(), expected );
}

INSTANTIATE_TEST_SUITE_P(
    EveryKind, SearchVisitorMedium,
    testing::Values(
        Medium{ "scdHam",
                R"([ { "type": "SCD", "ham": "scdHam", "pci": 4294901776, "accelerators": [
                       { "id": 200, "busses": [ { "id": 5, "devices": [ { "did": 3 } ] } ] } ] } ])",
                { { 2, "BusId 5" }, { 2, "AccelId 200" }, { 2, "SCD 4294901776 FFFF0010" } } },
        Medium{ "celesticaHam",
                R"([ { "type": "Celestica", "ham": "celesticaHam", "accelerators": [
                       { "id": 1, "busses": [ { "id": 6, "devices": [ { "did": 3 } ] } ] } ] } ])",
                { { 2, "BusId 6" }, { 2, "AccelId 1" }, { 2, "Celestica" } } },
        Medium{ "i2cHam",
                R"([ { "type": "I2C", "ham": "i2cHam", "id": 8, "devices": [ { "did": 3 } ] } ])",
                { { 2, "BusId 8" }, { 2, "I2C bus 8" } } },
        Medium{
            "ioPortHam",
            R"([ { "type": "IOPort", "ham": "ioPortHam", "id": 1, "devices": [ { "did": 3 } ] } ])",
            { { 2, "BusId 1" }, { 2, "IOPort" } } },
        Medium{ "plmHam",
                R"([ { "type": "PLM", "ham": "plmHam", "id": 2, "devices": [ { "did": 3 } ] } ])",
                { { 2, "BusId 2" }, { 2, "PLM" } } },
        Medium{
            "sccSpiHam",
            R"([ { "type": "SccSpi", "ham": "sccSpiHam", "id": 3, "devices": [ { "did": 3 } ] } ])",
            { { 2, "BusId 3" }, { 2, "SccSpi" } } },
        Medium{ "",
                R"([ { "type": "LinuxFs", "ham": "linuxFsHam", "devices": [ { "did": 3 } ] } ])",
                {} } ) );

TEST_F( SearchVisitorTest, ComponentIsTracedBeforeItsDevice ) {
    load( R"([ { "type": "I2C", "ham": "kind", "id": 8, "devices": [
                 { "did": 1, "components": [ { "uid": 10 } ] },
                 { "did": 2, "components": [ { "uid": 11 }, { "uid": 12 } ] } ] } ])" );
    SearchVisitor search( 12, 1 );
    _topology->accept( &search );
    ASSERT_NE( search.device, nullptr );
    EXPECT_EQ( search.device->did, 2u );
    EXPECT_EQ( search.hamName, "kind" );
    EXPECT_EQ( traces(), ( Traces{ { 2, "Component 12 found in tree" },
                                   { 2, "Device 2 contain the component" },
                                   { 2, "BusId 8" },
                                   { 2, "I2C bus 8" } } ) );
}

TEST_F( SearchVisitorTest, DeviceIdDoesNotCountWhereAComponentIsSought ) {
    load( R"([ { "type": "I2C", "ham": "kind", "id": 8, "devices": [ { "did": 3 } ] } ])" );
    SearchVisitor search( 12, 3 );
    EXPECT_TRUE( _topology->accept( &search ) );
    EXPECT_FALSE( search.found );
    EXPECT_EQ( search.device, nullptr );
    EXPECT_EQ( search.hamName, "" );
    EXPECT_TRUE( traces().empty() );
}

TEST_F( SearchVisitorTest, LaterMediaDoNotReplaceTheHam ) {
    load( R"([ { "type": "I2C", "ham": "first", "id": 1, "devices": [ { "did": 3 } ] },
               { "type": "I2C", "ham": "second", "id": 2, "devices": [ { "did": 3 } ] } ])" );
    SearchVisitor search( Drivers::noComponent, 3 );
    EXPECT_FALSE( _topology->accept( &search ) );
    EXPECT_EQ( search.hamName, "first" );
}

TEST_F( SearchVisitorTest, MuxesBeforeTheMatchDoNotEndTheWalk ) {
    load( R"([ { "type": "I2C", "ham": "kind", "id": 1, "muxes": [
                 { "did": 70, "busses": [ { "id": 1 } ] },
                 { "did": 4294967295, "busses": [ { "id": 2, "devices": [ { "did": 3 } ] } ] },
                 { "did": 72, "busses": [ { "id": 4 } ] } ] } ])" );
    SearchVisitor search( Drivers::noComponent, 3 );
    _topology->accept( &search );
    EXPECT_EQ( search.hamName, "kind" );
    EXPECT_EQ( traces(), ( Traces{ { 2, "Device 3 contain the component" },
                                   { 2, "BusId 2" },
                                   { 2, "Mux using device -1" },
                                   { 2, "BusId 1" },
                                   { 2, "I2C bus 1" } } ) );
}

TEST_F( SearchVisitorTest, MuxVisitStopsOnlyBehindAMatch ) {
    const Topology::Mux mux;
    SearchVisitor search( Drivers::noComponent, 3 );
    EXPECT_TRUE( search.visit( &mux ) );
    search.found = true;
    EXPECT_FALSE( search.visit( &mux ) );
}

} // namespace
