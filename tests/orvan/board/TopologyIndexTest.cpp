/** What is said of a topology, rule by rule, and the way found to a device. */
#include "orvan/board/TopologyIndex.h"

#include <gtest/gtest.h>

namespace {

using orvan::DevicePlace;
using orvan::JsonFile;
using orvan::Problems;
using orvan::TopologyIndex;

struct Loaded {
    explicit Loaded( const std::string &text ) {
        EXPECT_TRUE( orvan::parseJsonText( "t", text, file, problems ) ) << problems.text();
        index.build( file, problems );
    }
    JsonFile file;
    Problems problems;
    TopologyIndex index;
};

std::string problemsOf( const std::string &text ) {
    return Loaded( text ).problems.text();
}

/** An I2C medium that is bus 0, with @p rest after its id. */
std::string bus( const std::string &rest ) {
    return R"([{"type":"I2C","ham":"OrvanSmbus","id":0,)" + rest + "}]";
}

/** An SCD with @p accelerators. */
std::string scd( const std::string &accelerators ) {
    return R"([{"type":"SCD","ham":"OrvanSmbus","pci":7,"accelerators":)" + accelerators + "}]";
}

constexpr const char *muxChip = R"({"did":2,"driver":"PCA9548","address":{"address":112}})";

TEST( TopologyIndex, AnEmptyTopologyIsGood ) {
    EXPECT_EQ( problemsOf( "[]" ), "" );
}

TEST( TopologyIndex, EveryMediumIsGoodWithItsKeys ) {
    EXPECT_EQ( problemsOf( R"([
        {"type":"SCD","ham":"OrvanSmbus","pci":4294967295,"accelerators":[{"id":0,"busses":[]}]},
        {"type":"I2C","ham":"OrvanSmbus","id":127,"simulated":true},
        {"type":"IOPort","ham":"OrvanSmbus","id":0},
        {"type":"Celestica","ham":"OrvanSmbus","accelerators":[]},
        {"type":"PLM","ham":"OrvanSmbus","id":0},
        {"type":"SccSpi","ham":"OrvanSmbus","id":0},
        {"type":"LinuxFs","ham":"x","devices":[{"did":1}]}])" ),
               "" );
}

struct Mistake {
    const char *topology;
    const char *message;
};
/** For the test's name. */
void PrintTo( const Mistake &mistake, std::ostream *out ) {
    *out << mistake.topology;
}

class TopologyMistake : public testing::TestWithParam<Mistake> {};

TEST_P( TopologyMistake, IsNamed ) {
    EXPECT_EQ( problemsOf( GetParam().topology ), GetParam().message );
}

const Mistake rootAndMedia[] = {
    { "{}", "t: {}; expected an array of access media\n" },
    { "[7]", "t: at /0: 7; expected an object: an access medium with \"type\" and \"ham\"\n" },
    { R"([{"ham":"h"}])",
      "t: at /0: {\"ham\":\"h\"}; expected the key \"type\": one of \"SCD\", \"I2C\", \"IOPort\", "
      "\"Celestica\", \"PLM\", \"SccSpi\", \"LinuxFs\"\n" },
    { R"([{"type":"I2C","id":1}])", "t: at /0: {\"type\":\"I2C\",\"id\":1}; expected the key "
                                    "\"ham\": the name of the medium's access manager, a text\n" },
    { R"([{"type":"i2c","ham":"h"}])",
      "t: at /0/type: \"i2c\"; expected one of \"SCD\", \"I2C\", \"IOPort\", \"Celestica\", "
      "\"PLM\", \"SccSpi\", \"LinuxFs\"\n" },
    { R"([{"type":"I2C","ham":7,"id":1}])",
      "t: at /0/ham: 7; expected the name of the medium's access manager, a text\n" },
    { R"([{"type":"I2C","ham":"h","label":7,"id":1}])",
      "t: at /0/label: 7; expected a label, a text\n" },
    { R"([{"type":"SCD","ham":"h","accelerators":[]}])",
      "t: at /0: {\"type\":\"SCD\",\"ham\":\"h\",\"accelerators\":[]}; expected the key \"pci\": "
      "the "
      "controller's PCI address, an integer from 0 to 4294967295\n" },
    { R"([{"type":"SCD","ham":"h","pci":-1,"accelerators":[]}])",
      "t: at /0/pci: -1; expected the controller's PCI address, an integer from 0 to "
      "4294967295\n" },
    { R"([{"type":"SCD","ham":"h","pci":1}])",
      "t: at /0: {\"type\":\"SCD\",\"ham\":\"h\",\"pci\":1}; expected the key \"accelerators\": an "
      "array of accelerators\n" },
    { R"([{"type":"Celestica","ham":"h"}])",
      "t: at /0: {\"type\":\"Celestica\",\"ham\":\"h\"}; expected the key \"accelerators\": an "
      "array of accelerators\n" },
    { R"([{"type":"PLM","ham":"h"}])",
      "t: at /0: {\"type\":\"PLM\",\"ham\":\"h\"}; expected the key \"id\": the bus's number, an "
      "integer from 0 to 127\n" },
    { R"([{"type":"I2C","ham":"h","id":1,"simulated":1}])",
      "t: at /0/simulated: 1; expected true or false\n" },
    { R"([{"type":"LinuxFs","ham":"h","devices":{}}])",
      "t: at /0/devices: {}; expected an array of devices\n" },
};
INSTANTIATE_TEST_SUITE_P( RootAndMedia, TopologyMistake, testing::ValuesIn( rootAndMedia ) );

TEST( TopologyIndex, MistakesBelowAnAcceleratorAreNamed ) {
    EXPECT_EQ( problemsOf( scd( R"([{"busses":[]}])" ) ),
               "t: at /0/accelerators/0: {\"busses\":[]}; expected the key \"id\": the "
               "accelerator's number, an integer from 0 to 127\n" );
    EXPECT_EQ( problemsOf( scd( R"([{"id":1}])" ) ),
               "t: at /0/accelerators/0: {\"id\":1}; expected the key \"busses\": an array of "
               "buses\n" );
    EXPECT_EQ( problemsOf( scd( R"([{"id":1,"busses":{}}])" ) ),
               "t: at /0/accelerators/0/busses: {}; expected an array of buses\n" );
    EXPECT_EQ( problemsOf( scd( R"([{"id":1,"busses":[{"id":"2"}]}])" ) ),
               "t: at /0/accelerators/0/busses/0/id: \"2\"; expected the bus's number, an integer "
               "from 0 to 127\n" );
    EXPECT_EQ( problemsOf( scd( R"([{"id":128,"busses":[]}])" ) ),
               "t: at /0/accelerators/0/id: 128; expected the accelerator's number, an integer "
               "from 0 to 127\n" )
        << "an address holds seven bits of it";
}

TEST( TopologyIndex, IdsAreTheirOwn ) {
    EXPECT_EQ( problemsOf( scd( R"([{"id":1,"busses":[]},{"id":1,"busses":[]}])" ) ),
               "t: at /0/accelerators/1/id: 1; expected an accelerator number of its own: "
               "/0/accelerators/0 has the same\n" );
    EXPECT_EQ( problemsOf( scd( R"([{"id":1,"busses":[{"id":3},{"id":3}]}])" ) ),
               "t: at /0/accelerators/0/busses/1/id: 3; expected a bus number of its own: "
               "/0/accelerators/0/busses/0 has the same\n" );
    EXPECT_EQ( problemsOf( bus( R"("devices":[{"did":1},{"did":1}])" ) ),
               "t: at /0/devices/1/did: 1; expected a device id of its own: /0/devices/0 has the "
               "same\n" );
    EXPECT_EQ( problemsOf( bus( R"("devices":[{"did":1,"components":[{"uid":5}]},)"
                                R"({"did":2,"components":[{"uid":5}]}])" ) ),
               "t: at /0/devices/1/components/0/uid: 5; expected a component id of its own: device "
               "1 has a component with the same\n" );
    EXPECT_EQ( problemsOf( bus( R"("label":"a","devices":[{"did":1,"label":"a"}])" ) ),
               "t: at /0/devices/0/label: \"a\"; expected a label of its own: /0 has the same\n" );
    EXPECT_EQ( problemsOf( bus( std::string( R"("devices":[)" ) + muxChip +
                                R"(],"muxes":[{"did":2,"busses":[{"id":4},{"id":4}]}])" ) ),
               "t: at /0/muxes/0/busses/1/id: 4; expected a channel byte of its own: "
               "/0/muxes/0/busses/0 has the same\n" );
}

TEST( TopologyIndex, MistakesInDevicesAreNamed ) {
    EXPECT_EQ( problemsOf( bus( R"("devices":[{}])" ) ),
               "t: at /0/devices/0: {}; expected the key \"did\": a device id, an integer from 0 "
               "to 4294967295\n" );
    EXPECT_EQ( problemsOf( bus( R"("devices":[{"did":4294967296}])" ) ),
               "t: at /0/devices/0/did: 4294967296; expected a device id, an integer from 0 to "
               "4294967295\n" );
    EXPECT_EQ( problemsOf( bus( R"("devices":[{"did":1,"components":[{}]}])" ) ),
               "t: at /0/devices/0/components/0: {}; expected the key \"uid\": a component id, an "
               "integer from 0 to 4294967294\n" );
    EXPECT_EQ( problemsOf( bus( R"("devices":[{"did":1,"driver":"Dummy"}])" ) ),
               "t: at /0/devices/0: {\"did\":1,\"driver\":\"Dummy\"}; expected the key "
               "\"address\": an object with \"address\", the device's 7-bit SMBus address\n" );
    EXPECT_EQ( problemsOf( bus( R"("devices":[{"did":1,"driver":7,"address":{"address":1}}])" ) ),
               "t: at /0/devices/0/driver: 7; expected the name of a driver, a text\n" );
    EXPECT_EQ(
        problemsOf( bus( R"("devices":[{"did":1,"driver":"Dummy","address":{"address":128}}])" ) ),
        "t: at /0/devices/0/address/address: 128; expected the device's 7-bit SMBus address, an "
        "integer from 0 to 127\n" );
    EXPECT_EQ( problemsOf( bus( R"("devices":[{"did":1,"driver":"Dummy",)"
                                R"("address":{"address":1,"addrSize":4}}])" ) ),
               "t: at /0/devices/0/address/addrSize: 4; expected 1 or 2, the width of a register "
               "address in bytes\n" );
    EXPECT_EQ( problemsOf( bus( R"("devices":[{"did":1,"driver":"Dummy",)"
                                R"("address":{"address":1},"provideHam":false}])" ) ),
               "t: at /0/devices/0/provideHam: false; expected 0 or 1 (a number, not true or "
               "false)\n" );
    EXPECT_EQ( problemsOf( bus( R"("devices":[{"did":1,"driver":"Dummy",)"
                                R"("address":{"address":1},"isMultiDevice":true,)"
                                R"("multiDeviceArgs":{}}])" ) ),
               "t: at /0/devices/0/isMultiDevice: true; expected false: a device of the topology "
               "is a single one\n" );
    const std::string unknown =
        problemsOf( bus( R"("devices":[{"did":1,"driver":"PCA9555","address":{"address":1}}])" ) );
    EXPECT_EQ( unknown.substr( 0, unknown.find( "\"Dummy\"" ) ),
               "t: at /0/devices/0/driver: \"PCA9555\"; expected a driver of the library: " );
}

TEST( TopologyIndex, AnInlineDeviceMayLeaveItsDriverOpen ) {
    EXPECT_EQ( problemsOf( bus( R"("devices":[{"did":1,"driver":"","address":{"address":1}}])" ) ),
               "" );
}

TEST( TopologyIndex, AMuxIsADeviceDeclaredInlineWithAMuxDriver ) {
    EXPECT_EQ( problemsOf( bus( R"("muxes":[{"busses":[]}])" ) ),
               "t: at /0/muxes/0: {\"busses\":[]}; expected the key \"did\": a device id, an "
               "integer from 0 to 4294967295\n" );
    EXPECT_EQ( problemsOf( bus( R"("muxes":[{"did":9,"busses":[]}])" ) ),
               "t: at /0/muxes/0/did: 9; expected the id of a device of this topology: the mux "
               "chip\n" );
    EXPECT_EQ( problemsOf( bus( R"("devices":[{"did":2}],"muxes":[{"did":2,"busses":[]}])" ) ),
               "t: at /0/muxes/0/did: 2; expected a device declared inline, with \"driver\" and "
               "\"address\": /0/devices/0 is not\n" );
    EXPECT_EQ( problemsOf( bus( R"("devices":[{"did":2,"driver":"Pmbus","address":{"address":1}}],)"
                                R"("muxes":[{"did":2,"busses":[]}])" ) ),
               "t: at /0/devices/0/driver: \"Pmbus\"; expected a mux driver, since /0/muxes/0 is "
               "this chip: \"GenericSmbusMux\", \"PCA9548\"\n" );
    EXPECT_EQ(
        problemsOf( bus( std::string( R"("muxes":[{"did":2,"busses":[{"id":1,"devices":[)" ) +
                         muxChip + "]}]}]" ) ),
        "t: at /0/muxes/0/did: 2; expected a mux chip that is not behind itself\n" );
}

TEST( TopologyIndex, ChannelsAreBytesOfTheControlRegister ) {
    for ( const char *id : { "0", "256", "-1" } ) {
        EXPECT_EQ( problemsOf( bus( std::string( R"("devices":[)" ) + muxChip +
                                    R"(],"muxes":[{"did":2,"busses":[{"id":)" + id + "}]}]" ) ),
                   std::string( "t: at /0/muxes/0/busses/0/id: " ) + id +
                       "; expected the byte that opens the channel, as written to the mux's "
                       "control register: an integer from 1 to 255 (1, 2, 4, ... 128 for channels "
                       "0 to 7)\n" );
    }
}

TEST( TopologyIndex, UnknownKeysAreWarnings ) {
    const Loaded loaded(
        bus( R"("buses":[],"devices":[{"did":1,"lable":"x","comment":"free text"}])" ) );
    EXPECT_EQ( loaded.problems.text(),
               "t: warning: at /0/buses: unknown key, ignored by the library\n"
               "t: warning: at /0/devices/0/lable: unknown key, ignored by the library\n" );
    EXPECT_FALSE( loaded.problems.hasErrors() );
}

TEST( TopologyIndex, TheWayToADeviceIsFound ) {
    const Loaded loaded( R"([{"type":"SCD","ham":"OrvanSmbus","pci":7,"accelerators":[
        {"id":3,"busses":[{"id":5,
          "devices":[{"did":1,"label":"direct","components":[{"uid":77}]},
                     {"did":2,"driver":"PCA9548","address":{"address":112}}],
          "muxes":[{"did":2,"busses":[{"id":4,
            "devices":[{"did":6,"driver":"GenericSmbusMux","address":{"address":113}}],
            "muxes":[{"did":6,"busses":[{"id":128,"devices":[{"did":7}]}]}]}]}]}]}]},
        {"type":"LinuxFs","ham":"x","label":"fs","devices":[{"did":8}]}])" );
    ASSERT_EQ( loaded.problems.text(), "" );
    const DevicePlace *direct = loaded.index.deviceLabelled( "direct" );
    ASSERT_NE( direct, nullptr );
    EXPECT_EQ( direct->did, 1u );
    EXPECT_EQ( direct->path( loaded.index ), "SCD accel 3 bus 5" );
    EXPECT_EQ( loaded.index.component( 77 ), direct );
    EXPECT_FALSE( direct->inlineDeclared() );
    const DevicePlace *deep = loaded.index.device( 7 );
    ASSERT_NE( deep, nullptr );
    EXPECT_EQ( deep->path( loaded.index ),
               "SCD accel 3 bus 5, mux 0x70 ch 0x04, mux 0x71 ch 0x80" );
    EXPECT_EQ( deep->ham, "OrvanSmbus" );
    const DevicePlace *file = loaded.index.device( 8 );
    ASSERT_NE( file, nullptr );
    EXPECT_TRUE( file->onFileSystem );
    EXPECT_EQ( file->path( loaded.index ), "fs" );
    EXPECT_EQ( loaded.index.device( 9 ), nullptr );
    EXPECT_EQ( loaded.index.component( 78 ), nullptr );
    EXPECT_EQ( loaded.index.deviceLabelled( "fs" ), nullptr ) << "a medium is no device";
    EXPECT_EQ( TopologyIndex::addressOf( *loaded.index.device( 2 ) ), 0x70u );
}

} // namespace
