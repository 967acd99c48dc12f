// The control tool against a real service.
#include <optional>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "common/Child.h"
#include "common/Descriptor.h"
#include "tests/support/Process.h"
#include "tests/support/SmbusClient.h"
#include "tests/support/SmbusdProcess.h"

namespace {

using test::bytes;
using test::Place;
using test::SmbusClient;
using test::SmbusdProcess;
using test::TransactionBuilder;

const char *const hardware = R"({ "buses": [
  { "name": "scd", "master": "SCD", "pci": "0x300", "accelerator": 1, "bus": 2, "chips": [
    { "name": "lines", "type": "pca9555", "address": "0x20" },
    { "name": "psu", "type": "commands", "address": "0x58", "commands": {
      "0x79": { "word": "0x2C4B", "readOnly": true }, "0x9A": { "block": "ACME" } } },
    { "name": "rom", "type": "eeprom", "address": "0x50", "data": [ 72, 105 ] },
    { "name": "mux", "type": "pca9548", "address": "0x70", "channels": {
      "3": [ { "name": "file", "type": "registers", "address": "0x40" } ] } } ] } ],
  "units": [ { "name": "supply", "chips": [ "psu", "rom" ], "inputs": [
    { "chip": "lines", "input": "p00", "plugged": 0, "unplugged": 1 } ] } ] })";

constexpr Place psu = { Smbus::SCD, 0x300, 1, 2, 0x58 };

class Smbusctl : public testing::Test {
  protected:
    test::Finished run( std::vector<std::string> arguments ) {
        arguments.insert( arguments.begin(),
                          { ORVAN_BIN_DIR "/smbusctl", "--control", service.control() } );
        return test::runProgram( arguments );
    }
    /** The output of a command that must succeed. */
    std::string output( std::vector<std::string> arguments ) {
        const test::Finished finished = run( std::move( arguments ) );
        EXPECT_EQ( finished.exitCode, 0 ) << finished.errors;
        return finished.output;
    }
    std::optional<Smbus::TransactionResponse> call( const TransactionBuilder &builder ) {
        return SmbusClient( service.socket() ).call( builder );
    }

    SmbusdProcess service{ hardware };
};

TEST_F( Smbusctl, List ) {
    EXPECT_EQ( output( { "list" } ), "bus scd: SCD 0x00000300 accelerator 1 bus 2, virtual\n"
                                     "  0x20  lines                    pca9555      scd\n"
                                     "  0x58  psu                      commands     scd\n"
                                     "  0x50  rom                      eeprom       scd\n"
                                     "  0x70  mux                      pca9548      scd\n"
                                     "  0x40  file                     registers    scd/mux:3\n"
                                     "unit supply: psu rom\n" );
}

TEST_F( Smbusctl, ReadInEveryForm ) {
    EXPECT_EQ( output( { "read", "psu" } ), "0x79  0x2C4B  (read-only)\n"
                                            "0x9A  41 43 4D 45  |ACME|\n" );
    EXPECT_EQ( output( { "read", "lines", "0x06" } ), "0x06  0xFF  config0\n" );
    const std::string dump = output( { "read", "rom", "0", "17" } );
    EXPECT_EQ( dump, "0000: 48 69 FF FF FF FF FF FF FF FF FF FF FF FF FF FF  |Hi..............|\n"
                     "0010: FF  |.|\n" );
    EXPECT_EQ( output( { "--json", "read", "psu", "0x79" } ),
               "{\"ok\":true,\"registers\":[{\"register\":121,\"width\":2,\"readOnly\":true,"
               "\"value\":11339}]}\n" );
}

TEST_F( Smbusctl, WriteANumberAndABlock ) {
    EXPECT_EQ( output( { "write", "psu", "0x79", "0x1234" } ), "" );
    output( { "write", "psu", "0x9A", "72", "0x49" } );
    const auto reply = call( TransactionBuilder().read( psu, 0x79, 2 ).blockRead( psu, 0x9A ) );
    ASSERT_TRUE( reply );
    ASSERT_EQ( reply->responses_size(), 2 ) << reply->reason();
    EXPECT_EQ( reply->responses( 0 ).data(), bytes( 0x34, 0x12 ) );
    EXPECT_EQ( reply->responses( 1 ).data(), "HI" );
    output( { "write", "--block", "psu", "0x9A", "65" } );
    EXPECT_EQ( output( { "read", "psu", "0x9A" } ), "0x9A  41  |A|\n" );
}

TEST_F( Smbusctl, InputsAndSet ) {
    output( { "set", "lines", "p01", "0" } );
    const std::string inputs = output( { "inputs", "lines" } );
    EXPECT_EQ( inputs.substr( 0, 18 ), "p00 0\np01 0\np02 1\n" );
    const auto reply = call( TransactionBuilder().read( psu.at( 0x20 ), 0, 1 ) );
    ASSERT_TRUE( reply );
    EXPECT_EQ( reply->responses( 0 ).data(), bytes( 0xFC ) );
}

TEST_F( Smbusctl, UnplugAndPlug ) {
    output( { "unplug", "supply" } );
    EXPECT_TRUE( call( TransactionBuilder().read( psu, 0x79, 2 ) )->failed() );
    EXPECT_EQ( output( { "read", "lines", "0" } ), "0x00  0xFF  input0  (read-only)\n" );
    EXPECT_NE( output( { "list" } ).find( "unit supply (unplugged): psu rom" ), std::string::npos );
    output( { "plug", "supply" } );
    EXPECT_FALSE( call( TransactionBuilder().read( psu, 0x79, 2 ) )->failed() );
}

TEST_F( Smbusctl, Power ) {
    output( { "power", "off" } );
    EXPECT_TRUE( call( TransactionBuilder().read( psu, 0x79, 2 ) )->failed() );
    EXPECT_EQ( output( { "list" } ).substr( 0, 24 ), "The board has no power.\n" );
    output( { "power", "on" } );
    EXPECT_FALSE( call( TransactionBuilder().read( psu, 0x79, 2 ) )->failed() );
}

TEST_F( Smbusctl, Faults ) {
    EXPECT_EQ( output( { "fault", "inject", "psu", "nack", "--times", "9" } ), "fault 1\n" );
    EXPECT_EQ( output( { "fault", "inject", "scd", "flip-bit", "--byte", "1", "--bit", "7" } ),
               "fault 2\n" );
    EXPECT_TRUE( call( TransactionBuilder().read( psu, 0x79, 2 ) )->failed() );
    EXPECT_EQ( output( { "fault", "list" } ),
               "1  psu nack, 5 more time(s), took effect 4 time(s)\n"
               "2  scd flip-bit, until cleared, took effect 4 time(s)\n" );
    EXPECT_EQ( output( { "fault", "clear", "1" } ), "1 cleared\n" );
    const auto flipped = call( TransactionBuilder().read( psu, 0x79, 2 ) );
    EXPECT_EQ( flipped->responses( 0 ).data(), bytes( 0x4B, 0xAC ) );
    EXPECT_EQ( output( { "fault", "clear", "scd" } ), "1 cleared\n" );
    EXPECT_EQ( output( { "fault", "clear" } ), "0 cleared\n" );
    const auto right = call( TransactionBuilder().read( psu, 0x79, 2 ) );
    EXPECT_EQ( right->responses( 0 ).data(), bytes( 0x4B, 0x2C ) );
}

TEST_F( Smbusctl, Counters ) {
    call( TransactionBuilder().read( psu, 0x79, 2 ) );
    EXPECT_EQ( output( { "counters", "psu" } ),
               "                         transactions   operations acknowledges  retries   errors "
               "  faults\n"
               "psu                                 1            1            3        0        0 "
               "       0\n" );
    const std::string all = output( { "counters" } );
    EXPECT_EQ( all.substr( 0, 14 ), "1 transactions" );
    EXPECT_NE( all.find( "\nscd  " ), std::string::npos );
    EXPECT_NE( all.find( "\nfile  " ), std::string::npos );
}

TEST_F( Smbusctl, FollowPrintsOneLineAnOperation ) {
    common::Pipe pipe = common::makePipe();
    common::ChildOptions options;
    options.descriptors = { { STDOUT_FILENO, pipe.writeEnd.get() } };
    common::Child follower( { ORVAN_BIN_DIR "/smbusctl", "--control", service.control(), "follow",
                              "--bus", "scd", "--count", "2" },
                            options );
    pipe.writeEnd.close();
    // Operations until the follower has seen its two; it may not be there yet for the first ones.
    std::string text;
    std::thread reader( [ & ] { text = common::readAll( pipe.readEnd ); } );
    SmbusClient client( service.socket() );
    while ( follower.runs() ) {
        client.call(
            TransactionBuilder().read( psu, 0x79, 2 ).read( psu.at( 0x21 ), 0, 1 ).retries( 0 ) );
    }
    reader.join();
    EXPECT_NE( text.find( " scd client 1: S 58 W A 79 A Sr 58 R A 4B A 2C N P\n" ),
               std::string::npos )
        << text;
    EXPECT_NE( text.find( " scd client 1: S 21 W N P  [address not acknowledged]\n" ),
               std::string::npos )
        << text;
    EXPECT_EQ( std::count( text.begin(), text.end(), '\n' ), 2 );
}

TEST_F( Smbusctl, RefusalsAreErrors ) {
    const test::Finished refused = run( { "read", "nothing" } );
    EXPECT_EQ( refused.exitCode, 1 );
    EXPECT_EQ( refused.errors,
               "smbusctl: request: at /chip: \"nothing\"; expected the name of a chip\n" );
    EXPECT_NE( run( { "read", "psu", "ten" } ).exitCode, 0 );
    EXPECT_NE( run( {} ).exitCode, 0 );
}

TEST_F( Smbusctl, SaysWhenThereIsNoService ) {
    const std::string nowhere = service.folder().file( "nowhere" );
    const test::Finished finished =
        test::runProgram( { ORVAN_BIN_DIR "/smbusctl", "--control", nowhere, "list" } );
    EXPECT_EQ( finished.exitCode, 2 );
    EXPECT_EQ( finished.errors, "smbusctl: " + nowhere +
                                    ": No such file or directory (is smbusd running? --control "
                                    "names its control socket)\n" );
}

} // namespace
