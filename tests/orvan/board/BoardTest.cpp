#include "orvan/board/Board.h"

#include <gmock/gmock.h>

#include "tests/orvan/board/BoardFiles.h"

namespace {

using testing::HasSubstr;

constexpr const char *topology = R"([{"type":"I2C","ham":"OrvanSmbus","id":3,"devices":[
    {"did":1},
    {"did":2,"label":"PSU1<0x58>","driver":"Pmbus","address":{"address":88}},
    {"did":3,"label":"PSoC","driver":"MirelundPsoc","address":{"address":10}}]}])";

constexpr const char *line =
    R"({"kind":"gpio","name":"line","description":{"did":1,"driver":"GenericPCA9555",)"
    R"("address":{"address":32},"driverArgs":{"bank-io-0":0,"bank-io-1":"255","bank":0,"bit":0}}})";

class BoardTest : public testing::Test {
  protected:
    std::string load( const std::string &peripherals ) {
        return files_.load( topology, peripherals );
    }
    test::BoardFiles files_;
};

TEST_F( BoardTest, WhatTheHostAddsIsReadInOrder ) {
    ASSERT_EQ(
        load( std::string( "[" ) + line +
              R"(,{"kind":"temp_sensor","name":"cpu","alert":75,"critical":90.5,"comment":"x",)"
              R"("description":{"did":3,"driver":"MirelundPsoc","address":{"address":10},)"
              R"("driverArgs":{"sensorId":1,"register":32}}},)"
              R"({"kind":"smbus","name":"raw","description":{"label":"PSU1","address":88}},)"
              R"({"kind":"system","name":"power","description":{}}])" ),
        "" );
    const auto &peripherals = files_.board().peripherals;
    ASSERT_EQ( peripherals.size(), 4u );
    EXPECT_EQ( peripherals[ 0 ].name, "line" );
    EXPECT_EQ( peripherals[ 0 ].device,
               R"({"did":1,"driver":"GenericPCA9555","address":{"address":32},)"
               R"("driverArgs":{"bank-io-0":0,"bank-io-1":"255","bank":0,"bit":0}})" );
    EXPECT_EQ( peripherals[ 0 ].driver, "GenericPCA9555" );
    EXPECT_EQ( peripherals[ 0 ].place, "I2C bus 3, 0x20" );
    EXPECT_EQ( peripherals[ 0 ].args.at( "bank-io-1" ), "255" );
    EXPECT_EQ( peripherals[ 1 ].alert, 75.0f );
    EXPECT_EQ( peripherals[ 1 ].critical, 90.5f );
    EXPECT_EQ( peripherals[ 2 ].device, "PSU1" );
    EXPECT_EQ( peripherals[ 2 ].address, 88u );
    EXPECT_EQ( peripherals[ 2 ].driver, "SmbusProxyDriver" );
    EXPECT_EQ( peripherals[ 2 ].place, "I2C bus 3, 0x58" );
    EXPECT_EQ( peripherals[ 3 ].device, "{}" );
    EXPECT_EQ( files_.board().find( "raw" ), &peripherals[ 2 ] );
    EXPECT_EQ( files_.board().find( "none" ), nullptr );
    EXPECT_EQ( files_.board().hardware().filename(), "hardware.json" );
}

TEST_F( BoardTest, TheTopologysTextIsHandedOnAsItIs ) {
    load( "[]" );
    EXPECT_EQ( files_.board().topologyFile.text, topology );
}

TEST_F( BoardTest, MistakesInTheEntriesAreNamed ) {
    EXPECT_EQ( load( "{}" ), "peripherals.json: {}; expected an array of peripherals\n" );
    EXPECT_EQ( load( R"([{"kind":"gpio","name":"a"}])" ),
               "peripherals.json: at /0: {\"kind\":\"gpio\",\"name\":\"a\"}; expected the key "
               "\"description\": an object: the device description, or for \"smbus\" a \"label\" "
               "and an \"address\"\n" );
    EXPECT_EQ( load( R"([{"kind":"lamp","name":"a","description":{}}])" ),
               "peripherals.json: at /0/kind: \"lamp\"; expected one of \"gpio\", \"led\", "
               "\"fan\", \"temp_sensor\", \"xcvr\", \"psu\", \"slot\", \"smbus\", \"system\"\n" );
    for ( const char *name : { "", "-a", "a b", "ä" } ) {
        EXPECT_THAT(
            load( std::string( R"([{"kind":"gpio","description":{},"name":")" ) + name + "\"}]" ),
            HasSubstr( "expected the peripheral's name on the command line: letters, "
                       "digits and any of . _ : / + -, not starting with \"-\"\n" ) );
    }
    EXPECT_EQ( load( R"([{"kind":"gpio","name":"a","description":{},"alert":true}])" ),
               "peripherals.json: at /0/alert: true; expected the warning threshold in degrees "
               "Celsius, a number\n" );
    EXPECT_THAT( load( R"([{"kind":"gpio","name":"a","description":{},"colour":1}])" ),
                 HasSubstr( "no other key than kind, name, description, alert, critical and "
                            "comment\n" ) );
    EXPECT_EQ( load( std::string( "[" ) + line + "," + line + "]" ),
               "peripherals.json: at /1/name: \"line\"; expected a name of its own: /0 has the "
               "same\n" );
}

TEST_F( BoardTest, ATemperatureSensorNeedsItsThresholds ) {
    EXPECT_THAT( load( R"([{"kind":"temp_sensor","name":"a","alert":1,"description":{}}])" ),
                 HasSubstr( "expected the key \"critical\": the critical threshold in degrees "
                            "Celsius, a number\n" ) );
}

TEST_F( BoardTest, MistakesInALabelledEndpointAreNamed ) {
    const auto smbus = [ this ]( const std::string &description ) {
        return load( R"([{"kind":"smbus","name":"raw","description":)" + description + "}]" );
    };
    EXPECT_EQ( smbus( R"({"label":"PSU1","address":89})" ),
               "peripherals.json: at /0/description: {\"label\":\"PSU1\",\"address\":89}; expected "
               "a device labelled \"PSU1<0x59>\" in the topology, declared inline with \"driver\" "
               "and \"address\"\n" );
    EXPECT_EQ( smbus( R"({"label":"PSU1"})" ),
               "peripherals.json: at /0/description: {\"label\":\"PSU1\"}; expected the key "
               "\"address\": the device's 7-bit SMBus address, an integer from 0 to 127\n" );
    EXPECT_EQ( smbus( R"({"label":"{x","address":1})" ),
               "peripherals.json: at /0/description/label: \"{x\"; expected a label, a text that "
               "does not start with \"{\"\n" );
}

TEST_F( BoardTest, ASystemNeedsItsController ) {
    EXPECT_EQ( files_.load( "[]", R"([{"kind":"system","name":"power","description":{}}])" ),
               "peripherals.json: at /0: \"PSoC\"; expected a device labelled \"PSoC\" in the "
               "topology, declared inline with \"driver\" and \"address\"\n" );
}

TEST_F( BoardTest, ATransceiverNeedsAKnownType ) {
    const auto cage = [ this ]( const std::string &args ) {
        return load( R"([{"kind":"xcvr","name":"x","description":{"did":1,"driver":"MireQCPLD",)"
                     R"("address":{"address":96},"driverArgs":)" +
                     args + "}}]" );
    };
    const std::string expected = "expected one of \"sfp\", \"sfp+\", \"qsfp\", \"qsfp+\"\n";
    EXPECT_EQ( cage( R"({"id":1})" ),
               "peripherals.json: at /0/description/driverArgs/type: " + expected );
    EXPECT_EQ( cage( R"({"id":1,"type":"QSFP"})" ),
               "peripherals.json: at /0/description/driverArgs/type: \"QSFP\"; " + expected );
    EXPECT_EQ( cage( R"({"id":1,"type":"qsfp+"})" ), "" );
}

TEST_F( BoardTest, AllMistakesComeAtOnce ) {
    const std::string text = load( R"([{"kind":"gpio","name":"a","description":{}},)"
                                   R"({"kind":"gpio","name":"b","description":{}}])" );
    EXPECT_THAT( text, HasSubstr( "at /0/description" ) );
    EXPECT_THAT( text, HasSubstr( "at /1/description" ) );
}

TEST_F( BoardTest, WithABadTopologyPeripheralsAreNotJudged ) {
    EXPECT_EQ( files_.load( "{}", std::string( "[" ) + line + "]" ),
               "topology.json: {}; expected an array of access media\n" );
}

TEST_F( BoardTest, BothFilesMustBeThere ) {
    orvan::Board board;
    orvan::Problems problems;
    orvan::loadBoard( files_.folder().path(), board, problems );
    EXPECT_THAT( problems.text(), HasSubstr( "topology.json: No such file or directory" ) );
    EXPECT_THAT( problems.text(), HasSubstr( "peripherals.json: No such file or directory" ) );
}

TEST( Board, TheProjectsBoardsAreGood ) {
    int boards = 0;
    for ( const auto &entry : std::filesystem::directory_iterator( ORVAN_SOURCE_DIR "/boards" ) ) {
        orvan::Board board;
        orvan::Problems problems;
        orvan::loadBoard( entry.path(), board, problems );
        EXPECT_EQ( problems.text(), "" );
        EXPECT_FALSE( board.peripherals.empty() );
        EXPECT_TRUE( std::filesystem::exists( board.hardware() ) );
        ++boards;
    }
    EXPECT_GE( boards, 3 );
}

} // namespace
