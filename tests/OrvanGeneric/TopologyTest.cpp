#include "OrvanGeneric/Topology.h"

#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/TopologyVisitor.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/AssertionFailure.h"
#include "tests/support/FakeHost.h"

namespace {

using Topology::loadTopology;

constexpr char loading[] = "loading topology json";
constexpr char same[] = "topology is the same as the previously loaded one (using it)";

pl_status load( const std::string &json ) {
    return loadTopology( json.c_str() );
}

/** The only medium of the current topology. */
template <class Medium>
const Medium &onlyMedium() {
    EXPECT_EQ( Topology::_topology->media.size(), 1u );
    return dynamic_cast<const Medium &>( *Topology::_topology->media.at( 0 ) );
}

template <class Map>
std::vector<uint32_t> keysOf( const Map &map ) {
    std::vector<uint32_t> keys;
    for ( const auto &[ key, value ] : map ) {
        keys.push_back( key );
    }
    return keys;
}

/** A bus object around the elements of its devices and muxes. */
std::string i2cWith( const std::string &members ) {
    return R"([ { "type": "I2C", "ham": "h", "id": 0, )" + members + " } ]";
}

// The classes

template <class Node>
constexpr bool isNode =
    std::is_base_of_v<Topology::Node, Node> && std::has_virtual_destructor_v<Node>;
template <class Medium>
constexpr bool isPlainMedium = isNode<Medium> && std::is_base_of_v<Topology::MediumNode, Medium> &&
                               !std::is_base_of_v<Topology::Bus, Medium>;
template <class Medium>
constexpr bool isBusMedium = isNode<Medium> && std::is_base_of_v<Topology::MediumNode, Medium> &&
                             std::is_base_of_v<Topology::Bus, Medium>;

static_assert( isNode<Topology::Component> && isNode<Topology::Device> && isNode<Topology::Mux> );
static_assert( isNode<Topology::Bus> && isNode<Topology::Accelerator> );
static_assert( isNode<Topology::MediumNode> && isNode<Topology::Topology> );
static_assert( isPlainMedium<Topology::SCD> && isPlainMedium<Topology::Celestica> );
static_assert( isPlainMedium<Topology::LinuxFs> );
static_assert( isBusMedium<Topology::I2C> && isBusMedium<Topology::IOPort> );
static_assert( isBusMedium<Topology::PLM> && isBusMedium<Topology::SccSpi> );

// Building

TEST( Topology, NothingIsLoadedAtFirst ) {
    EXPECT_EQ( Topology::_topology, nullptr );
    EXPECT_EQ( Topology::_topology_json, "" );
    EXPECT_TRUE( Topology::_topology_index.empty() );
}

TEST( Topology, EmptyArrayHasNoMedia ) {
    EXPECT_EQ( load( " [\t\r\n] " ), PL_STATUS_OK );
    ASSERT_NE( Topology::_topology, nullptr );
    EXPECT_TRUE( Topology::_topology->media.empty() );
    EXPECT_EQ( FakeHost::instance().traces, ( Traces{ { 2, loading } } ) );
}

TEST( Topology, PlainBusIsMediumAndBus ) {
    ASSERT_EQ( load( R"([ { "type": "I2C", "ham": "SimHam", "id": 3 } ])" ), PL_STATUS_OK );
    const auto &i2c = onlyMedium<Topology::I2C>();
    EXPECT_EQ( i2c.ham, "SimHam" );
    EXPECT_EQ( i2c.id, 3 );
    EXPECT_FALSE( i2c.simulated );
    EXPECT_TRUE( i2c.devices.empty() );
    EXPECT_TRUE( i2c.muxes.empty() );
}

TEST( Topology, SimulatedBus ) {
    ASSERT_EQ( load( i2cWith( R"("simulated": true)" ) ), PL_STATUS_OK );
    EXPECT_TRUE( onlyMedium<Topology::I2C>().simulated );
    ASSERT_EQ( load( i2cWith( R"("simulated": false)" ) ), PL_STATUS_OK );
    EXPECT_FALSE( onlyMedium<Topology::I2C>().simulated );
}

TEST( Topology, EveryMediumTypeInDocumentOrder ) {
    ASSERT_EQ( load( R"([
        { "type": "SccSpi", "ham": "1", "id": 1 },
        { "type": "LinuxFs", "ham": "2" },
        { "type": "PLM", "ham": "3", "id": 2 },
        { "type": "Celestica", "ham": "4", "accelerators": [] },
        { "type": "IOPort", "ham": "5", "id": 3 },
        { "type": "I2C", "ham": "6", "id": 4 },
        { "type": "SCD", "ham": "7", "pci": 5, "accelerators": [] } ])" ),
               PL_STATUS_OK );
    const auto &media = Topology::_topology->media;
    ASSERT_EQ( media.size(), 7u );
    EXPECT_EQ( dynamic_cast<Topology::SccSpi &>( *media[ 0 ] ).id, 1 );
    EXPECT_NE( dynamic_cast<Topology::LinuxFs *>( media[ 1 ].get() ), nullptr );
    EXPECT_EQ( dynamic_cast<Topology::PLM &>( *media[ 2 ] ).id, 2 );
    EXPECT_NE( dynamic_cast<Topology::Celestica *>( media[ 3 ].get() ), nullptr );
    EXPECT_EQ( dynamic_cast<Topology::IOPort &>( *media[ 4 ] ).id, 3 );
    EXPECT_EQ( dynamic_cast<Topology::I2C &>( *media[ 5 ] ).id, 4 );
    EXPECT_EQ( dynamic_cast<Topology::SCD &>( *media[ 6 ] ).pci, 5u );
    for ( size_t i = 0; i < media.size(); ++i ) {
        EXPECT_EQ( media[ i ]->ham, std::to_string( i + 1 ) );
    }
}

TEST( Topology, ControllersKeepAcceleratorsAndBusesById ) {
    ASSERT_EQ( load( R"([
        { "type": "SCD", "ham": "h", "pci": 4294967295, "accelerators": [
            { "id": 9, "busses": [ { "id": 4 }, { "id": 2 } ] }, { "id": 1, "busses": [] } ] },
        { "type": "Celestica", "ham": "h", "accelerators": [
            { "id": 4294967295, "busses": [ { "id": 2147483647 } ] },
            { "id": 0, "busses": [] } ] } ])" ),
               PL_STATUS_OK );
    const auto &scd = dynamic_cast<Topology::SCD &>( *Topology::_topology->media.at( 0 ) );
    EXPECT_EQ( scd.pci, 4294967295u );
    EXPECT_EQ( keysOf( scd.accelerators ), ( std::vector<uint32_t>{ 1, 9 } ) );
    EXPECT_EQ( scd.accelerators.at( 9 )->id, 9u );
    EXPECT_EQ( keysOf( scd.accelerators.at( 9 )->busses ), ( std::vector<uint32_t>{ 2, 4 } ) );
    const auto &celestica =
        dynamic_cast<Topology::Celestica &>( *Topology::_topology->media.at( 1 ) );
    EXPECT_EQ( keysOf( celestica.accelerators ), ( std::vector<uint32_t>{ 0, 4294967295 } ) );
    EXPECT_EQ( celestica.accelerators.at( 4294967295 )->busses.at( 2147483647 )->id, 2147483647 );
}

TEST( Topology, SameIdsUnderDifferentParentsAreNoDuplicates ) {
    EXPECT_EQ( load( R"([
        { "type": "SCD", "ham": "h", "pci": 0, "accelerators": [
            { "id": 1, "busses": [ { "id": 1 } ] }, { "id": 2, "busses": [ { "id": 1 } ] } ] },
        { "type": "SCD", "ham": "h", "pci": 0, "accelerators": [ { "id": 1, "busses": [] } ] },
        { "type": "I2C", "ham": "h", "id": 1 }, { "type": "I2C", "ham": "h", "id": 1 } ])" ),
               PL_STATUS_OK );
}

TEST( Topology, BusIdsAreSigned ) {
    ASSERT_EQ( load( R"([ { "type": "PLM", "ham": "h", "id": -2147483648 } ])" ), PL_STATUS_OK );
    EXPECT_EQ( onlyMedium<Topology::PLM>().id, -2147483647 - 1 );
}

TEST( Topology, DevicesAndComponentsKeepTheirOrder ) {
    ASSERT_EQ( load( i2cWith( R"("devices": [ { "did": 5 }, { "did": 4294967295, "components":
                                 [ { "uid": 4294967295 }, { "uid": 2 } ] }, { "did": 5 } ])" ) ),
               PL_STATUS_OK );
    const auto &devices = onlyMedium<Topology::I2C>().devices;
    ASSERT_EQ( devices.size(), 3u );
    EXPECT_EQ( devices[ 0 ]->did, 5u );
    EXPECT_EQ( devices[ 0 ]->args, nullptr );
    EXPECT_TRUE( devices[ 0 ]->components.empty() );
    EXPECT_EQ( devices[ 1 ]->did, 4294967295u );
    ASSERT_EQ( devices[ 1 ]->components.size(), 2u );
    EXPECT_EQ( devices[ 1 ]->components[ 0 ]->uid, 4294967295u );
    EXPECT_EQ( devices[ 1 ]->components[ 1 ]->uid, 2u );
    EXPECT_EQ( devices[ 2 ]->did, 5u );
}

TEST( Topology, FileSystemMediumHasDevices ) {
    ASSERT_EQ( load( R"([ { "type": "LinuxFs", "ham": "h", "devices": [ { "did": 2 },
                            { "did": 1 } ] } ])" ),
               PL_STATUS_OK );
    const auto &devices = onlyMedium<Topology::LinuxFs>().devices;
    ASSERT_EQ( devices.size(), 2u );
    EXPECT_EQ( devices[ 0 ]->did, 2u );
    EXPECT_EQ( devices[ 1 ]->did, 1u );
}

TEST( Topology, InlineDeviceHasDriverArguments ) {
    ASSERT_EQ( load( i2cWith( R"("devices": [ { "did": 5, "driver": "Dummy", "uid": 8,
                     "address": { "address": 80 }, "driverArgs": { "bank": 1 } } ])" ) ),
               PL_STATUS_OK );
    const auto &args = onlyMedium<Topology::I2C>().devices.at( 0 )->args;
    ASSERT_NE( args, nullptr );
    EXPECT_EQ( args->driver, "Dummy" );
    EXPECT_EQ( args->did, 5u );
    EXPECT_EQ( args->uid, 8u );
    EXPECT_EQ( args->address.packed(), 0x0200005000000000u );
    EXPECT_EQ( args->driverArgs, ( std::map<std::string, std::string>{ { "bank", "1" } } ) );
    EXPECT_EQ( args->jsonText, nullptr );
}

TEST( Topology, MuxesNest ) {
    ASSERT_EQ( load( i2cWith( R"("muxes": [ { "did": 1 }, { "did": 2, "busses": [
                 { "id": 128, "muxes": [ { "did": 3, "busses": [
                     { "id": 1, "devices": [ { "did": 4 } ] } ] } ] } ] } ])" ) ),
               PL_STATUS_OK );
    const auto &muxes = onlyMedium<Topology::I2C>().muxes;
    ASSERT_EQ( muxes.size(), 2u );
    EXPECT_EQ( muxes[ 0 ]->did, 1u );
    EXPECT_TRUE( muxes[ 0 ]->busses.empty() );
    EXPECT_EQ( muxes[ 1 ]->did, 2u );
    const auto &inner = muxes[ 1 ]->busses.at( 128 )->muxes.at( 0 );
    EXPECT_EQ( inner->busses.at( 1 )->devices.at( 0 )->did, 4u );
}

TEST( Topology, LaterBusOfAMuxReplacesOneOfTheSameId ) {
    ASSERT_EQ( load( i2cWith( R"("muxes": [ { "did": 1, "busses": [
                 { "id": 1, "devices": [ { "did": 10 } ] },
                 { "id": 1, "devices": [ { "did": 20 } ] } ] } ])" ) ),
               PL_STATUS_OK );
    const auto &busses = onlyMedium<Topology::I2C>().muxes.at( 0 )->busses;
    ASSERT_EQ( busses.size(), 1u );
    ASSERT_EQ( busses.at( 1 )->devices.size(), 1u );
    EXPECT_EQ( busses.at( 1 )->devices[ 0 ]->did, 20u );
}

TEST( Topology, UnknownMembersAreIgnored ) {
    EXPECT_EQ( load( i2cWith( R"("colour": null, "accelerators": 5)" ) ), PL_STATUS_OK );
}

TEST( Topology, LastNodeOfALabelWins ) {
    ASSERT_EQ( load( R"([
        { "type": "I2C", "ham": "h", "id": 1, "label": "twice", "devices": [
            { "did": 7, "label": "twice" }, { "did": 8, "label": "thrice" } ] },
        { "type": "I2C", "ham": "h", "id": 2, "label": "thrice" } ])" ),
               PL_STATUS_OK );
    // A parent is entered before its children.
    EXPECT_EQ( Topology::getDeviceByLabel( "twice" )->did, 7u );
    EXPECT_EQ( Topology::getBusByLabel( "thrice" )->id, 2 );
    EXPECT_EQ( Topology::_topology_index.size(), 2u );
}

TEST( Topology, LabelOfAReplacedBusIsKept ) {
    ASSERT_EQ( load( i2cWith( R"("muxes": [ { "did": 1, "busses": [
                 { "id": 1, "label": "first" }, { "id": 1 } ] } ])" ) ),
               PL_STATUS_OK );
    const auto &first = Topology::_topology_index.at( "first" );
    EXPECT_EQ( first.use_count(), 1 );
    EXPECT_EQ( Topology::getBusByLabel( "first" )->id, 1 );
}

TEST( Topology, TextsOfInvalidEncodingAreKept ) {
    // The bytes of a string are not checked.
    ASSERT_EQ( load( i2cWith( "\"label\": \"\xC3\xFF\"" ) ), PL_STATUS_OK );
    EXPECT_NE( Topology::getNodeByLabel( "\xC3\xFF" ), nullptr );
}

// Loading anew

TEST( TopologyLoad, SameTextKeepsTheTree ) {
    const std::string text = i2cWith( R"("label": "bus")" );
    ASSERT_EQ( load( text ), PL_STATUS_OK );
    const Topology::Topology *const first = Topology::_topology;
    const Topology::Node *const bus = Topology::getNodeByLabel( "bus" );
    FakeHost::instance().traces.clear();
    EXPECT_EQ( load( text ), PL_STATUS_OK );
    EXPECT_EQ( Topology::_topology, first );
    EXPECT_EQ( Topology::getNodeByLabel( "bus" ), bus );
    EXPECT_EQ( FakeHost::instance().traces, ( Traces{ { 2, same } } ) );
}

TEST( TopologyLoad, OtherWhiteSpaceIsAnotherText ) {
    ASSERT_EQ( load( "[]" ), PL_STATUS_OK );
    FakeHost::instance().traces.clear();
    EXPECT_EQ( load( "[ ]" ), PL_STATUS_OK );
    EXPECT_EQ( Topology::_topology_json, "[ ]" );
    EXPECT_EQ( FakeHost::instance().traces, ( Traces{ { 2, loading } } ) );
}

TEST( TopologyLoad, AnotherTextReplacesTreeAndLabels ) {
    ASSERT_EQ( load( i2cWith( R"("label": "old")" ) ), PL_STATUS_OK );
    const std::weak_ptr<Topology::MediumNode> old = Topology::_topology->media.at( 0 );
    const std::string text = i2cWith( R"("label": "new")" );
    EXPECT_EQ( load( text ), PL_STATUS_OK );
    EXPECT_TRUE( old.expired() );
    EXPECT_EQ( Topology::getNodeByLabel( "old" ), nullptr );
    EXPECT_NE( Topology::getNodeByLabel( "new" ), nullptr );
    EXPECT_EQ( Topology::_topology_json, text );
}

TEST( TopologyLoad, SharedNodesOutliveTheTree ) {
    ASSERT_EQ( load( i2cWith( R"("devices": [ { "did": 9 } ])" ) ), PL_STATUS_OK );
    const auto device = onlyMedium<Topology::I2C>().devices.at( 0 );
    ASSERT_EQ( load( "[]" ), PL_STATUS_OK );
    EXPECT_EQ( device.use_count(), 1 );
    EXPECT_EQ( device->did, 9u );
}

// Texts that are not JSON

struct ParseErrorCase {
    const char *name;
    const char *text;
    const char *message;
    int offset;
};

void PrintTo( const ParseErrorCase &errorCase, std::ostream *out ) {
    *out << errorCase.text;
}

class TopologyParseError : public testing::TestWithParam<ParseErrorCase> {};

TEST_P( TopologyParseError, IsTracedAndChangesNothing ) {
    const std::string before = i2cWith( R"("label": "kept")" );
    ASSERT_EQ( load( before ), PL_STATUS_OK );
    const Topology::Topology *const tree = Topology::_topology;
    FakeHost::instance().traces.clear();

    EXPECT_EQ( load( GetParam().text ), PL_STATUS_INVALID );
    EXPECT_EQ(
        FakeHost::instance().traces,
        ( Traces{ { 2, loading },
                  { 2, std::string( "failed to load topology from json: " ) + GetParam().message +
                           " offset " + std::to_string( GetParam().offset ) } } ) );
    EXPECT_EQ( Topology::_topology, tree );
    EXPECT_EQ( Topology::_topology_json, before );
    EXPECT_NE( Topology::getNodeByLabel( "kept" ), nullptr );
    EXPECT_EQ( load( before ), PL_STATUS_OK );
    EXPECT_EQ( FakeHost::instance().traces.back(), ( Trace{ 2, same } ) );
}

// The messages about encodings, handlers and unspecific errors have no text that leads to them:
// encodings are not checked, and the document takes everything that the parser hands it.
INSTANTIATE_TEST_SUITE_P(
    All, TopologyParseError,
    testing::Values(
        ParseErrorCase{ "Empty", "", "The document is empty.", 0 },
        ParseErrorCase{ "WhiteSpace", " \t\r\n", "The document is empty.", 4 },
        ParseErrorCase{ "TwoRoots", "[] []",
                        "The document root must not be followed by other values.", 3 },
        ParseErrorCase{ "TrailingText", "[]x",
                        "The document root must not be followed by other values.", 2 },
        ParseErrorCase{ "TrailingComma", R"([{"id":1},])", "Invalid value.", 10 },
        ParseErrorCase{ "Unclosed", "[", "Invalid value.", 1 },
        ParseErrorCase{ "OtherWhiteSpace", "[\f]", "Invalid value.", 1 },
        ParseErrorCase{ "Comment", "[ // none\n]", "Invalid value.", 2 },
        ParseErrorCase{ "NameWithoutQuotes", "[{id:1}]", "Missing a name for object member.", 2 },
        ParseErrorCase{ "Colon", R"([{"id" 3}])", "Missing a colon after a name of object member.",
                        7 },
        ParseErrorCase{ "CommaInObject", R"([{"id":3 "pci":4}])",
                        "Missing a comma or '}' after an object member.", 9 },
        ParseErrorCase{ "CommaInArray", "[{} {}]", "Missing a comma or ']' after an array element.",
                        4 },
        ParseErrorCase{ "HexDigit", R"(["\u12G4"])",
                        "Incorrect hex digit after \\u escape in string.", 2 },
        ParseErrorCase{ "LoneSurrogate", R"(["a\uD834b"])",
                        "The surrogate pair in string is invalid.", 3 },
        ParseErrorCase{ "SurrogatePair", R"(["\uD834\u0041"])",
                        "The surrogate pair in string is invalid.", 2 },
        ParseErrorCase{ "Escape", R"(["\q"])", "Invalid escape character in string.", 2 },
        ParseErrorCase{ "ControlCharacter", "[\"a\tb\"]", "Invalid escape character in string.",
                        3 },
        ParseErrorCase{ "Quote", R"(["abc)", "Missing a closing quotation mark in string.", 5 },
        ParseErrorCase{ "Number", "[ 1e309]", "Number too big to be stored in double.", 2 },
        ParseErrorCase{ "Fraction", "[1.]", "Miss fraction part in number.", 3 },
        ParseErrorCase{ "Exponent", "[1e+]", "Miss exponent in number.", 4 } ),
    []( const auto &test ) { return std::string( test.param.name ); } );

TEST( TopologyLoad, FirstTextThatIsNotJsonLeavesNothing ) {
    EXPECT_EQ( load( "[" ), PL_STATUS_INVALID );
    EXPECT_EQ( Topology::_topology, nullptr );
    EXPECT_EQ( Topology::_topology_json, "" );
}

// When memory runs out

/** No other allocation of a load is as large as a label of this length. */
constexpr size_t longLabel = 100'000;

std::string longLabelText() {
    return i2cWith( R"("devices": [ { "did": 1, "label": "early" },
                       { "did": 2, "label": ")" +
                    std::string( longLabel, 'x' ) + "\" } ]" );
}

TEST( TopologyAllocation, FailureGivesUpTheTree ) {
    ASSERT_EQ( load( i2cWith( R"("label": "old")" ) ), PL_STATUS_OK );
    FakeHost::instance().traces.clear();
    const std::string text = longLabelText();
    {
        const AllocationFailure failure( longLabel );
        EXPECT_EQ( load( text ), PL_STATUS_FAILED );
        EXPECT_TRUE( failure.happened() );
    }
    EXPECT_EQ( Topology::_topology, nullptr );
    EXPECT_EQ( FakeHost::instance().traces,
               ( Traces{ { 2, loading }, { 2, "failed to create topology tree" } } ) );
    EXPECT_EQ( Topology::getNodeByLabel( "old" ), nullptr );

    FakeHost::instance().traces.clear();
    EXPECT_EQ( load( text ), PL_STATUS_OK );
    EXPECT_NE( Topology::_topology, nullptr );
    EXPECT_EQ( FakeHost::instance().traces, ( Traces{ { 2, loading } } ) );
}

TEST( TopologyAllocation, TextBeforeTheFailureIsBuiltAnew ) {
    const std::string before = i2cWith( R"("label": "old")" );
    ASSERT_EQ( load( before ), PL_STATUS_OK );
    const std::string text = longLabelText();
    {
        const AllocationFailure failure( longLabel );
        ASSERT_EQ( load( text ), PL_STATUS_FAILED );
    }
    FakeHost::instance().traces.clear();
    EXPECT_EQ( load( before ), PL_STATUS_OK );
    EXPECT_EQ( FakeHost::instance().traces, ( Traces{ { 2, loading } } ) );
    EXPECT_NE( Topology::getNodeByLabel( "old" ), nullptr );
}

TEST( TopologyAllocation, LabelsOfAFailedTreeAreNotFoundInTheNextOne ) {
    const std::string text = longLabelText();
    {
        const AllocationFailure failure( longLabel );
        ASSERT_EQ( load( text ), PL_STATUS_FAILED );
    }
    ASSERT_EQ( load( "[]" ), PL_STATUS_OK );
    EXPECT_EQ( Topology::getNodeByLabel( "early" ), nullptr );
}

TEST( TopologyAllocation, LabelsOfAFailedTreeAreGoneImmediately ) {
    const std::string text = longLabelText();
    const AllocationFailure failure( longLabel );
    ASSERT_EQ( load( text ), PL_STATUS_FAILED );
    EXPECT_TRUE( Topology::_topology_index.empty() );
    EXPECT_EQ( Topology::getNodeByLabel( "early" ), nullptr );
}

/** Parsing and remembering the text ask for memory, too; a C host must not see an exception. */
TEST( TopologyAllocation, WhicheverOfALoadsAllocationsFailsThereIsNoTreeAndTheTextIsBuiltAnew ) {
    const std::string before = i2cWith( R"("label": "old")" );
    const std::string after = i2cWith( R"("label": "a label that needs memory of its own",
        "devices": [ { "did": 1, "driver": "Dummy", "address": { "address": 1 },
                       "driverArgs": { "text": "a text that needs memory of its own" } } ])" );
    FakeHost::instance().dropTraces = true; // keeping them would take memory, too
    size_t spared = 0;
    for ( bool failed = true; failed; ++spared ) {
        ASSERT_EQ( load( before ), PL_STATUS_OK );
        pl_status status = PL_STATUS_OK;
        {
            const AllocationFailure failure( 0, spared );
            status = Topology::loadTopology( after.c_str() );
            failed = failure.happened();
        }
        ASSERT_EQ( status, failed ? PL_STATUS_FAILED : PL_STATUS_OK ) << spared;
        EXPECT_EQ( Topology::_topology == nullptr, failed ) << spared;
        EXPECT_EQ( Topology::getNodeByLabel( "old" ), nullptr ) << spared;
        ASSERT_EQ( load( before ), PL_STATUS_OK );
        EXPECT_NE( Topology::getNodeByLabel( "old" ), nullptr ) << spared;
        ASSERT_EQ( load( "[]" ), PL_STATUS_OK );
    }
    EXPECT_GT( spared, 10u );
}

TEST( TopologyAllocation, NoneOfABuildsAllocationsIsLeftUnguarded ) {
    rapidjson::Document document;
    document.Parse( R"([
        { "type": "SCD", "ham": "a name too long for the string itself", "pci": 0,
          "label": "scd", "accelerators": [ { "id": 0, "busses": [ { "id": 0, "devices": [
              { "did": 1, "driver": "Dummy", "address": { "address": 1 },
                "driverArgs": { "id": 1 }, "components": [ { "uid": 1 } ] } ],
              "muxes": [ { "did": 1, "busses": [ { "id": 1 } ] } ] } ] } ] },
        { "type": "Celestica", "ham": "h", "accelerators": [ { "id": 0, "busses": [] } ] },
        { "type": "LinuxFs", "ham": "h", "devices": [ { "did": 2 } ] },
        { "type": "I2C", "ham": "h", "id": 0 }, { "type": "IOPort", "ham": "h", "id": 0 },
        { "type": "PLM", "ham": "h", "id": 0 }, { "type": "SccSpi", "ham": "h", "id": 0 } ])" );
    ASSERT_FALSE( document.HasParseError() );
    size_t spared = 0;
    for ( bool failed = true; failed; ++spared ) {
        Topology::_topology_index.clear();
        std::unique_ptr<Topology::Topology> tree;
        {
            const AllocationFailure failure( 0, spared );
            tree.reset( Topology::Topology::fromJSON( document ) );
            failed = failure.happened();
        }
        EXPECT_EQ( tree == nullptr, failed ) << spared;
    }
    EXPECT_GT( spared, 20u );
}

// Nesting

std::string nested( size_t depth ) {
    return std::string( depth, '[' ) + std::string( depth, ']' );
}

TEST( TopologyNesting, BeyondTheLimitIsAParseErrorAndChangesNothing ) {
    const std::string before = i2cWith( R"("label": "old")" );
    ASSERT_EQ( load( before ), PL_STATUS_OK );
    FakeHost::instance().traces.clear();
    EXPECT_EQ( load( nested( 105000 ) ), PL_STATUS_INVALID );
    EXPECT_EQ( FakeHost::instance().traces,
               ( Traces{ { 2, loading },
                         { 2, "failed to load topology from json: Terminate parsing due to Handler "
                              "error. offset 512" } } ) );
    EXPECT_NE( Topology::getNodeByLabel( "old" ), nullptr );
}

TEST( TopologyNesting, MuxesBehindMuxesAreTakenUpToTheLimit ) {
    // The list, the medium, and for each mux a list, itself, a list, and its bus.
    const auto text = []( int muxes ) {
        std::string begin, end;
        for ( int i = 0; i < muxes; ++i ) {
            begin += R"("muxes":[{"did":7,"busses":[{"id":1,)";
            end += "}]}]";
        }
        return R"([{"type":"I2C","ham":"SimHam","id":1,)" + begin + R"("label":"last")" + end +
               "}]";
    };
    EXPECT_EQ( load( text( 127 ) ), PL_STATUS_OK );
    EXPECT_EQ( load( text( 128 ) ), PL_STATUS_INVALID );
    EXPECT_EQ( load( text( 30000 ) ), PL_STATUS_INVALID );
}

// Structures that abort

struct AbortCase {
    const char *name;
    const char *text;
    const char *expression;
};

void PrintTo( const AbortCase &abortCase, std::ostream *out ) {
    *out << abortCase.text;
}

class TopologyDeath : public testing::TestWithParam<AbortCase> {};

TEST_P( TopologyDeath, NamesTheBrokenCondition ) {
    EXPECT_DEATH( load( GetParam().text ),
                  assertionFailure( "OrvanGeneric/Topology.cpp", GetParam().expression ) );
}

#define BUS( members ) R"([{"type":"I2C","ham":"h",)" members "}]"
#define SCD_ACCELERATORS( elements )                                                               \
    R"([{"type":"SCD","ham":"h","pci":1,"accelerators":[)" elements "]}]"

constexpr char noPci[] = "json.HasMember( \"pci\" )";
constexpr char noId[] = "json.HasMember( \"id\" )";
constexpr char noDid[] = "json.HasMember( \"did\" )";
constexpr char noUid[] = "json.HasMember( \"uid\" )";
constexpr char unknownType[] = "false && \"Unknown type\"";

INSTANTIATE_TEST_SUITE_P(
    Media, TopologyDeath,
    testing::Values(
        AbortCase{ "RootObject", "{}", "json.IsArray()" },
        AbortCase{ "RootNumber", "1", "json.IsArray()" },
        AbortCase{ "MediumNumber", "[1]", "it->IsObject()" },
        AbortCase{ "MediumArray", "[[]]", "it->IsObject()" },
        AbortCase{ "NoType", R"([{"ham":"h"}])", "it->HasMember( \"type\" )" },
        AbortCase{ "NoHam", R"([{"type":"LinuxFs"}])", "it->HasMember( \"ham\" )" },
        AbortCase{ "NoTypeNorHam", "[{}]", "it->HasMember( \"type\" )" },
        AbortCase{ "HamIsLookedForBeforeTheType", R"([{"type":"none"}])",
                   "it->HasMember( \"ham\" )" },
        AbortCase{ "SecondMedium", R"([{"type":"LinuxFs","ham":"h"},0])", "it->IsObject()" },
        AbortCase{ "LowerCaseType", R"([{"type":"i2c","ham":"h","id":1}])", unknownType },
        AbortCase{ "EmptyType", R"([{"type":"","ham":"h"}])", unknownType },
        AbortCase{ "LongerType", R"([{"type":"I2C ","ham":"h","id":1}])", unknownType },
        AbortCase{ "BusWithoutId", R"([{"type":"I2C","ham":"h"}])", noId },
        AbortCase{ "IOPortWithoutId", R"([{"type":"IOPort","ham":"h"}])", noId },
        AbortCase{ "PLMWithoutId", R"([{"type":"PLM","ham":"h"}])", noId },
        AbortCase{ "SccSpiWithoutId", R"([{"type":"SccSpi","ham":"h"}])", noId },
        AbortCase{ "NoPci", R"([{"type":"SCD","ham":"h","accelerators":[]}])", noPci } ),
    []( const auto &test ) { return std::string( test.param.name ); } );

INSTANTIATE_TEST_SUITE_P(
    Accelerators, TopologyDeath,
    testing::Values(
        AbortCase{ "MissingInScd", R"([{"type":"SCD","ham":"h","pci":1}])", "accels.IsArray()" },
        AbortCase{ "MissingInCelestica", R"([{"type":"Celestica","ham":"h"}])",
                   "accels.IsArray()" },
        AbortCase{ "ScdObject", R"([{"type":"SCD","ham":"h","pci":1,"accelerators":{}}])",
                   "accels.IsArray()" },
        AbortCase{ "CelesticaNull", R"([{"type":"Celestica","ham":"h","accelerators":null}])",
                   "accels.IsArray()" },
        AbortCase{ "Number", SCD_ACCELERATORS( "1" ), "it->IsObject()" },
        AbortCase{ "NoId", SCD_ACCELERATORS( R"({"busses":[]})" ), noId },
        AbortCase{ "NoBusses", SCD_ACCELERATORS( R"({"id":1})" ), "busses.IsArray()" },
        AbortCase{ "BussesObject", SCD_ACCELERATORS( R"({"id":1,"busses":{}})" ),
                   "busses.IsArray()" },
        AbortCase{ "BusNumber", SCD_ACCELERATORS( R"({"id":1,"busses":[1]})" ), "it->IsObject()" },
        AbortCase{ "BusWithoutId", SCD_ACCELERATORS( R"({"id":1,"busses":[{}]})" ), noId },
        AbortCase{ "DuplicateInScd",
                   SCD_ACCELERATORS( R"({"id":1,"busses":[]},{"id":1,"busses":[]})" ),
                   "scd->accelerators.find( accel->id ) == scd->accelerators.end()" },
        AbortCase{ "DuplicateInCelestica", R"([{"type":"Celestica","ham":"h","accelerators":[
                       {"id":1,"busses":[]},{"id":2,"busses":[]},{"id":1,"busses":[]}]}])",
                   "cel->accelerators.find( accel->id ) == cel->accelerators.end()" },
        AbortCase{ "DuplicateBus", SCD_ACCELERATORS( R"({"id":1,"busses":[{"id":1},{"id":1}]})" ),
                   "accel->busses.find( bus->id ) == accel->busses.end()" } ),
    []( const auto &test ) { return std::string( test.param.name ); } );

INSTANTIATE_TEST_SUITE_P(
    Buses, TopologyDeath,
    testing::Values(
        AbortCase{ "DeviceNumber", BUS( R"("id":1,"devices":[1])" ), "it->IsObject()" },
        AbortCase{ "DeviceWithoutDid", BUS( R"("id":1,"devices":[{}])" ), noDid },
        AbortCase{ "MuxText", BUS( R"("id":1,"muxes":["PCA9548"])" ), "it->IsObject()" },
        AbortCase{ "MuxWithoutDid", BUS( R"("id":1,"muxes":[{"busses":[]}])" ), noDid },
        AbortCase{ "MuxBusNull", BUS( R"("id":1,"muxes":[{"did":1,"busses":[null]}])" ),
                   "it->IsObject()" },
        AbortCase{ "MuxBusWithoutId", BUS( R"("id":1,"muxes":[{"did":1,"busses":[{}]}])" ), noId },
        AbortCase{ "ComponentNumber", BUS( R"("id":1,"devices":[{"did":1,"components":[1]}])" ),
                   "it->IsObject()" },
        AbortCase{ "ComponentWithoutUid",
                   BUS( R"("id":1,"devices":[{"did":1,"components":[{"did":1}]}])" ), noUid },
        AbortCase{ "FileSystemDevice", R"([{"type":"LinuxFs","ham":"h","devices":[{}]}])",
                   noDid } ),
    []( const auto &test ) { return std::string( test.param.name ); } );

TEST( TopologyTypeDeath, InlineDeviceNeedsItsDriverArguments ) {
    EXPECT_DEATH(
        load( BUS( R"("id":1,"devices":[{"did":1,"driver":"Dummy"}])" ) ),
        assertionFailure( "OrvanGeneric/Drivers/Drivers.cpp", "json.HasMember( \"address\" )" ) );
}

TEST( TopologyTypeDeath, ValuesOfTheWrongKind ) {
    for ( const char *text : {
              R"([{"type":1,"ham":"h"}])",
              R"([{"type":"LinuxFs","ham":null}])",
              R"([{"type":"LinuxFs","ham":"h","label":1}])",
              R"([{"type":"LinuxFs","ham":"h","devices":{}}])",
              R"([{"type":"SCD","ham":"h","pci":-1,"accelerators":[]}])",
              R"([{"type":"SCD","ham":"h","pci":"1","accelerators":[]}])",
              SCD_ACCELERATORS( R"({"id":-1,"busses":[]})" ),
              BUS( R"("id":2147483648)" ),
              BUS( R"("id":1.5)" ),
              BUS( R"("id":1,"simulated":1)" ),
              BUS( R"("id":1,"simulated":"true")" ),
              BUS( R"("id":1,"devices":null)" ),
              BUS( R"("id":1,"muxes":{})" ),
              BUS( R"("id":1,"devices":[{"did":-1}])" ),
              BUS( R"("id":1,"devices":[{"did":4294967296}])" ),
              BUS( R"("id":1,"devices":[{"did":1,"components":{}}])" ),
              BUS( R"("id":1,"devices":[{"did":1,"components":[{"uid":1.5}]}])" ),
              BUS( R"("id":1,"devices":[{"did":1,"driver":5}])" ),
              BUS( R"("id":1,"muxes":[{"did":1,"busses":{}}])" ),
          } ) {
        EXPECT_DEATH( load( text ), jsonTypeFailure() ) << text;
    }
}

} // namespace
