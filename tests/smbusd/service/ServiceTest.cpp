// The real smbusd over real sockets: what clients can do to it, and how it comes and goes.
#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <sys/stat.h>
#include <thread>

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include "common/Child.h"
#include "common/Descriptor.h"
#include "common/Frame.h"
#include "common/TemporaryFolder.h"
#include "common/UnixSocket.h"
#include "tests/support/Process.h"
#include "tests/support/SmbusClient.h"
#include "tests/support/SmbusdProcess.h"

namespace {

using test::bytes;
using test::Place;
using test::RawClient;
using test::SmbusClient;
using test::SmbusdProcess;
using test::TransactionBuilder;

const char *const hardware = R"({ "buses": [
  { "name": "one", "master": "SCD", "pci": "0x300", "accelerator": 1, "bus": 2, "chips": [
    { "name": "expander", "type": "pca9555", "address": "0x20" },
    { "name": "file", "type": "registers", "address": "0x40" },
    { "name": "mux", "type": "pca9548", "address": "0x70", "channels": {
      "2": [ { "name": "deep", "type": "registers", "address": "0x50", "width": 16,
               "byteOrder": "high-first", "registers": { "1": "0x1234" } } ] } } ] },
  { "name": "two", "master": "I2C", "bus": 1, "chips": [
    { "name": "file2", "type": "registers", "address": "0x40" } ] },
  { "name": "three", "master": "Celestica", "accelerator": 5, "bus": 6, "chips": [
    { "name": "file3", "type": "registers", "address": "0x40" } ] } ] })";

constexpr Place one = { Smbus::SCD, 0x300, 1, 2, 0x40 };
constexpr Place two = { Smbus::I2C, 0, 0, 1, 0x40 };
constexpr Place three = { Smbus::CELESTICA, 0, 5, 6, 0x40 };

/** Whether a client gets a right answer. */
bool serves( SmbusClient &client ) {
    const auto reply = client.call( TransactionBuilder().read( one.at( 0x20 ), 6, 1 ) );
    return reply && reply->responses_size() == 1 && reply->responses( 0 ).data() == bytes( 0xFF );
}

bool serves( const SmbusdProcess &service ) {
    SmbusClient client( service.socket() );
    return serves( client );
}

TEST( Service, CarriesOutTransactions ) {
    const SmbusdProcess service( hardware );
    SmbusClient client( service.socket() );
    const auto reply = client.call( TransactionBuilder()
                                        .write( one.at( 0x20 ), 6, bytes( 0xFF, 0x00 ) )
                                        .write( one.at( 0x20 ), 3, bytes( 0xA5 ) )
                                        .read( one.at( 0x20 ), 0, 2 ) );
    ASSERT_TRUE( reply );
    EXPECT_FALSE( reply->failed() ) << reply->reason();
    ASSERT_EQ( reply->responses_size(), 3 );
    EXPECT_EQ( reply->responses( 2 ).data(), bytes( 0xFF, 0xA5 ) );
}

TEST( Service, SelectsAMuxChannelWithinATransaction ) {
    const SmbusdProcess service( hardware );
    SmbusClient client( service.socket() );
    const auto reply = client.call( TransactionBuilder()
                                        .sendByte( one.at( 0x70 ), 0x04 )
                                        .read( one.at( 0x50 ), 1, 2 )
                                        .sendByte( one.at( 0x70 ), 0 ) );
    ASSERT_TRUE( reply );
    ASSERT_EQ( reply->responses_size(), 3 ) << reply->reason();
    EXPECT_EQ( reply->responses( 1 ).data(), bytes( 0x12, 0x34 ) );
}

TEST( Service, SaysWhatIsNotMapped ) {
    const SmbusdProcess service( hardware );
    SmbusClient client( service.socket() );
    Place wrong = one;
    wrong.pci = 0x301;
    const auto reply = client.call( TransactionBuilder().read( wrong, 0, 1 ) );
    ASSERT_TRUE( reply );
    EXPECT_TRUE( reply->failed() );
    EXPECT_EQ( reply->reason(), "request 1 of 1: SCD 0x00000301 accelerator 1 bus 2: no such bus "
                                "is configured" );
    EXPECT_TRUE( serves( client ) );
}

TEST( Service, AnswersRequestsSentAheadInTheirOrder ) {
    const SmbusdProcess service( hardware );
    SmbusClient client( service.socket() );
    std::string frames;
    for ( unsigned i = 0; i < 20; i++ ) {
        const std::string message = TransactionBuilder()
                                        .write( one, 1, bytes( i ) )
                                        .read( one, 1, 1 )
                                        .request()
                                        .SerializeAsString();
        frames += common::framed( message );
    }
    ASSERT_TRUE( client.sendBytes( frames ) );
    for ( unsigned i = 0; i < 20; i++ ) {
        const auto reply = client.receive();
        ASSERT_TRUE( reply );
        EXPECT_EQ( reply->responses( 1 ).data(), bytes( i ) );
    }
}

TEST( Service, TakesAFrameInPieces ) {
    const SmbusdProcess service( hardware );
    SmbusClient client( service.socket() );
    const std::string message =
        TransactionBuilder().read( one.at( 0x20 ), 6, 1 ).request().SerializeAsString();
    for ( const char byte : common::framed( message ) ) {
        ASSERT_TRUE( client.sendBytes( { &byte, 1 } ) );
    }
    const auto reply = client.receive();
    ASSERT_TRUE( reply );
    EXPECT_EQ( reply->responses( 0 ).data(), bytes( 0xFF ) );
}

TEST( Service, AnEmptyFrameIsAnEmptyTransaction ) {
    const SmbusdProcess service( hardware );
    SmbusClient client( service.socket() );
    ASSERT_TRUE( client.sendBytes( common::framed( "" ) ) );
    const auto reply = client.receive();
    ASSERT_TRUE( reply );
    EXPECT_EQ( reply->responses_size(), 0 );
}

TEST( Service, GarbageCostsOnlyItsSender ) {
    const SmbusdProcess service( hardware );
    SmbusClient good( service.socket() );
    {
        RawClient garbage( service.socket() );
        ASSERT_TRUE( garbage.sendBytes( common::framed( "garbage" ) ) );
        EXPECT_TRUE( garbage.closedByPeer() );
    }
    {
        // A request without its required fields is none.
        RawClient incomplete( service.socket() );
        ASSERT_TRUE( incomplete.sendBytes( common::framed( bytes( 0x0A, 0x00 ) ) ) );
        EXPECT_TRUE( incomplete.closedByPeer() );
    }
    EXPECT_TRUE( serves( good ) );
}

TEST( Service, SurvivesDamagedRequests ) {
    const SmbusdProcess service( hardware );
    std::mt19937 random( 20240607 ); // the same damage in every run
    const std::string whole = TransactionBuilder()
                                  .write( one, 1, "abc" )
                                  .blockRead( two, 0x9A, true )
                                  .processCall( three, 5, "ab" )
                                  .retries( 1 )
                                  .request()
                                  .SerializeAsString();
    for ( int round = 0; round < 1000; round++ ) {
        std::string message = whole.substr( 0, 1 + random() % whole.size() );
        for ( unsigned i = random() % 4; i > 0; i-- ) {
            message[ random() % message.size() ] = static_cast<char>( random() );
        }
        SmbusClient client( service.socket() );
        ASSERT_TRUE( client.sendBytes( common::framed( message ) ) );
        client.finishSending();
        client.receive(); // an answer or an end, but no silence
    }
    EXPECT_TRUE( serves( service ) );
}

TEST( Service, ControlSocketSurvivesGarbage ) {
    const SmbusdProcess service( hardware );
    RawClient control( service.control() );
    ASSERT_TRUE( control.sendBytes( "garbage\n" + std::string( 30000, '[' ) +
                                    std::string( 30000, ']' ) + "\n{\"command\":\"faults\"}\n" ) );
    EXPECT_EQ( control.receiveLine(), "{\"ok\":false,\"error\":\"request: line 1, column 1: "
                                      "Invalid value; expected JSON text\"}" );
    EXPECT_EQ( control.receiveLine(),
               "{\"ok\":false,\"error\":\"request: " + std::string( 57, '[' ) +
                   "...; expected an object with a \\\"command\\\"\"}" );
    EXPECT_EQ( control.receiveLine(), "{\"ok\":true,\"faults\":[]}" );

    RawClient endless( service.control() );
    endless.sendBytes( std::string( 100000, 'x' ) );
    EXPECT_TRUE( endless.closedByPeer() );
    RawClient half( service.control() );
    ASSERT_TRUE( half.sendBytes( "{\"comm" ) );
    half.finishSending();
    EXPECT_TRUE( half.closedByPeer() );
    EXPECT_TRUE( serves( service ) );
}

TEST( Service, AClaimOf4GiBEndsTheConnectionAtOnce ) {
    const SmbusdProcess service( hardware );
    RawClient greedy( service.socket() );
    ASSERT_TRUE( greedy.sendBytes( bytes( 0xFF, 0xFF, 0xFF, 0xFF ) ) );
    EXPECT_TRUE( greedy.closedByPeer() );
    RawClient oneTooMany( service.socket() );
    ASSERT_TRUE( oneTooMany.sendBytes( bytes( 0x00, 0x10, 0x00, 0x01 ) ) );
    EXPECT_TRUE( oneTooMany.closedByPeer() );
    EXPECT_TRUE( serves( service ) );
}

TEST( Service, TheLongestFrameIsTaken ) {
    const SmbusdProcess service( hardware );
    SmbusClient client( service.socket() );
    // Requests of 23 bytes each and an unknown field that fills the frame to its last byte.
    Smbus::TransactionRequest request;
    *request.add_requests() =
        TransactionBuilder().read( one.at( 0x20 ), 6, 1 ).request().requests( 0 );
    std::string message = request.SerializeAsString();
    const size_t rest = 1024 * 1024 - message.size();
    // Field 15, length-delimited: tag 0x7A, then the length in three 7-bit groups.
    const size_t size = rest - 4;
    message += bytes( 0x7A, 0x80 | ( size & 0x7F ), 0x80 | ( size >> 7 & 0x7F ), size >> 14 );
    message += std::string( size, 'x' );
    ASSERT_EQ( message.size(), 1024u * 1024u );
    ASSERT_TRUE( client.sendBytes( common::framed( message ) ) );
    const auto reply = client.receive();
    ASSERT_TRUE( reply );
    EXPECT_EQ( reply->responses( 0 ).data(), bytes( 0xFF ) );
}

TEST( Service, HalfAFrameAndSilenceCostNobodyElse ) {
    const SmbusdProcess service( hardware );
    RawClient silent( service.socket() );
    RawClient half( service.socket() );
    ASSERT_TRUE( half.sendBytes( common::framed( std::string( 100, 'x' ) ).substr( 0, 13 ) ) );
    RawClient halfHeader( service.socket() );
    ASSERT_TRUE( halfHeader.sendBytes( bytes( 0, 0 ) ) );
    EXPECT_TRUE( serves( service ) );
    half.finishSending();
    EXPECT_TRUE( half.closedByPeer() );
    EXPECT_TRUE( serves( service ) );
}

size_t residentKib( pid_t pid ) {
    std::ifstream status( "/proc/" + std::to_string( pid ) + "/status" );
    for ( std::string line; std::getline( status, line ); ) {
        if ( line.starts_with( "VmRSS:" ) ) {
            return static_cast<size_t>( std::stoul( line.substr( 6 ) ) );
        }
    }
    return 0;
}

TEST( Service, ClaimsAndUnreadRepliesTakeBoundedMemory ) {
    const SmbusdProcess service( hardware );
    ASSERT_TRUE( serves( service ) );
    const size_t before = residentKib( service.pid() );
    // A hundred clients claim a whole frame each and send nothing of it.
    std::vector<std::unique_ptr<SmbusClient>> clients;
    for ( int i = 0; i < 100; i++ ) {
        clients.push_back( std::make_unique<SmbusClient>( service.socket() ) );
        ASSERT_TRUE( clients.back()->sendBytes( bytes( 0x00, 0x10, 0x00, 0x00 ) ) );
    }
    // One sends requests for ever and reads no reply: it is not listened to any more.
    SmbusClient deaf( service.socket() );
    deaf.setDeadline( 200 );
    TransactionBuilder much;
    for ( int i = 0; i < 64; i++ ) {
        much.read( one, 0, 8192 );
    }
    size_t sent = 0;
    while ( sent < 100000 && deaf.send( much.request() ) ) {
        sent++;
    }
    EXPECT_LT( sent, 100000u );
    EXPECT_TRUE( serves( service ) );
    EXPECT_LT( residentKib( service.pid() ) - before, 32u * 1024u );
}

TEST( Service, RefusesMoreClientsThanItMayHave ) {
    const SmbusdProcess service( hardware, { "--max-clients", "2" } );
    SmbusClient first( service.socket() );
    {
        SmbusClient second( service.socket() );
        ASSERT_TRUE( serves( first ) );
        ASSERT_TRUE( serves( second ) );
        RawClient third( service.socket() );
        EXPECT_TRUE( third.closedByPeer() );
    }
    EXPECT_TRUE( serves( first ) );
}

TEST( Service, FourClientsOnThreeBusesKeepEveryTransactionWhole ) {
    constexpr unsigned clients = 4;
    constexpr unsigned transactions = 10000;
    const SmbusdProcess service( hardware );
    const std::array<Place, 3> places = { one, two, three };
    std::array<unsigned, clients> failures{};
    // Every transaction leaves its mark in two places of its bus and must find both at its end: an
    // operation of another one in between would have left its own.
    const auto work = [ & ]( unsigned client ) {
        SmbusClient connection( service.socket() );
        for ( unsigned i = 0; i < transactions; i++ ) {
            const Place &place = places[ ( i + client ) % places.size() ];
            const std::string mark = bytes( client + 1, i & 0xFF, i >> 8 );
            const auto reply = connection.call( TransactionBuilder()
                                                    .write( place, 0x20, mark )
                                                    .read( place, 0x20, 3 )
                                                    .write( place, 0x10, mark )
                                                    .read( place, 0x20, 3 )
                                                    .read( place, 0x10, 3 ) );
            const bool whole =
                reply && reply->responses_size() == 5 && reply->responses( 1 ).data() == mark &&
                reply->responses( 3 ).data() == mark && reply->responses( 4 ).data() == mark;
            failures[ client ] += whole ? 0 : 1;
        }
    };
    std::vector<std::thread> threads;
    for ( unsigned client = 0; client < clients; client++ ) {
        threads.emplace_back( work, client );
    }
    for ( std::thread &thread : threads ) {
        thread.join();
    }
    EXPECT_EQ( failures, ( std::array<unsigned, clients>{} ) );
    RawClient control( service.control() );
    ASSERT_TRUE( control.sendBytes( "{\"command\":\"counters\"}\n" ) );
    rapidjson::Document counters;
    counters.Parse( control.receiveLine().value() );
    EXPECT_EQ( counters[ "transactions" ].GetUint(), clients * transactions );
    uint64_t operations = 0;
    for ( const rapidjson::Value &bus : counters[ "buses" ].GetArray() ) {
        operations += bus[ "operations" ].GetUint64();
        EXPECT_EQ( bus[ "errors" ].GetUint64(), 0u );
    }
    EXPECT_EQ( operations, uint64_t{ clients } * transactions * 5 );
}

TEST( Service, FollowedTrafficOfABusIsWholeAndInOrder ) {
    // Two clients on one bus: between the first and the last operation of a transaction the traffic
    // must show no operation of another.
    const SmbusdProcess service( hardware );
    RawClient follower( service.control() );
    ASSERT_TRUE( follower.sendBytes( "{\"command\":\"follow\",\"bus\":\"one\"}\n" ) );
    ASSERT_EQ( follower.receiveLine(), "{\"ok\":true}" );
    constexpr unsigned transactions = 100;
    const auto work = [ & ] {
        SmbusClient connection( service.socket() );
        for ( unsigned i = 0; i < transactions; i++ ) {
            connection.call(
                TransactionBuilder().read( one, 1, 1 ).read( one, 2, 1 ).read( one, 3, 1 ) );
        }
    };
    std::thread first( work );
    std::thread second( work );
    first.join();
    second.join();
    uint64_t lastTransaction = 0;
    for ( unsigned i = 0; i < 2 * transactions; i++ ) {
        uint64_t id = 0;
        for ( unsigned request = 1; request <= 3; request++ ) {
            const auto line = follower.receiveLine();
            ASSERT_TRUE( line );
            rapidjson::Document event;
            event.Parse( *line );
            ASSERT_FALSE( event.HasParseError() ) << *line;
            ASSERT_EQ( event[ "request" ].GetUint(), request ) << *line;
            if ( request == 1 ) {
                id = event[ "transaction" ].GetUint64();
                ASSERT_GT( id, lastTransaction );
            }
            ASSERT_EQ( event[ "transaction" ].GetUint64(), id );
        }
        lastTransaction = id;
    }
}

TEST( Service, DropsTheConnectionByAFault ) {
    const SmbusdProcess service( hardware );
    RawClient control( service.control() );
    ASSERT_TRUE( control.sendBytes( R"({"command":"inject","fault":{"target":"file","kind":)"
                                    R"("drop-connection","times":1}})"
                                    "\n" ) );
    ASSERT_TRUE( control.receiveLine() );
    SmbusClient client( service.socket() );
    ASSERT_TRUE( serves( client ) ); // another chip
    ASSERT_TRUE( client.send( TransactionBuilder().read( one, 1, 1 ).request() ) );
    EXPECT_TRUE( client.closedByPeer() );
    SmbusClient again( service.socket() );
    const auto reply = again.call( TransactionBuilder().read( one, 1, 1 ) );
    ASSERT_TRUE( reply );
    EXPECT_FALSE( reply->failed() );
}

TEST( Service, StopsAnsweringByAFaultAndNoOneElseSuffers ) {
    const SmbusdProcess service( hardware );
    RawClient control( service.control() );
    ASSERT_TRUE( control.sendBytes( R"({"command":"inject","fault":{"target":"file","kind":)"
                                    R"("stop-answering","times":1}})"
                                    "\n" ) );
    ASSERT_TRUE( control.receiveLine() );
    SmbusClient client( service.socket() );
    ASSERT_TRUE( client.send( TransactionBuilder().read( one, 1, 1 ).request() ) );
    ASSERT_TRUE( client.send( TransactionBuilder().read( one, 1, 1 ).request() ) );
    EXPECT_TRUE( serves( service ) );
    EXPECT_TRUE( client.silent() ); // its answer would have been there before the other's
}

TEST( Service, ADelayedBusHoldsUpNoOther ) {
    const SmbusdProcess service( hardware );
    RawClient control( service.control() );
    ASSERT_TRUE( control.sendBytes( R"({"command":"inject","fault":{"target":"two","kind":"delay",)"
                                    R"("ms":86400000,"times":1}})"
                                    "\n" ) );
    ASSERT_TRUE( control.receiveLine() );
    SmbusClient waiting( service.socket() );
    ASSERT_TRUE( waiting.send( TransactionBuilder().read( two, 1, 1 ).request() ) );
    // A whole day is in front of that bus; the others answer now.
    EXPECT_TRUE( serves( service ) );
    SmbusClient other( service.socket() );
    const auto reply = other.call( TransactionBuilder().read( three, 1, 1 ) );
    ASSERT_TRUE( reply );
    EXPECT_FALSE( reply->failed() );
}

TEST( Service, EndsCleanlyOnSignals ) {
    for ( const int signal : { SIGTERM, SIGINT } ) {
        SmbusdProcess service( hardware );
        SmbusClient connected( service.socket() );
        ASSERT_TRUE( serves( connected ) );
        const common::ChildEnd finished = service.end( signal );
        EXPECT_EQ( finished.exitCode, 0 );
        EXPECT_FALSE( std::filesystem::exists( service.socket() ) );
        EXPECT_FALSE( std::filesystem::exists( service.control() ) );
        EXPECT_TRUE( connected.closedByPeer() );
    }
}

TEST( Service, ReplacesTheSocketsOfOneThatWasKilled ) {
    SmbusdProcess service( hardware );
    service.end( SIGKILL );
    ASSERT_TRUE( std::filesystem::exists( service.socket() ) );
    service.start();
    EXPECT_TRUE( serves( service ) );
}

TEST( Service, ASecondOneOnTheSamePathRefusesToStart ) {
    const SmbusdProcess service( hardware );
    const test::Finished second =
        test::runProgram( { ORVAN_BIN_DIR "/smbusd", "--config", service.config(), "--socket",
                            service.socket(), "--control", service.folder().file( "other" ) } );
    EXPECT_EQ( second.exitCode, 1 );
    EXPECT_EQ( second.errors, "smbusd: " + service.socket() + ": another service listens on it\n" );
    EXPECT_TRUE( serves( service ) );
}

TEST( Service, SocketFilesAreForTheirOwnerUnlessToldOtherwise ) {
    const auto modeOf = []( const std::string &path ) {
        struct stat status {};
        ::stat( path.c_str(), &status );
        return status.st_mode & 0777;
    };
    const SmbusdProcess service( hardware );
    EXPECT_EQ( modeOf( service.socket() ), 0600u );
    EXPECT_EQ( modeOf( service.control() ), 0600u );
    const SmbusdProcess shared( hardware, { "--mode", "0660" } );
    EXPECT_EQ( modeOf( shared.socket() ), 0660u );
}

TEST( Service, TakesSocketsFromTheServiceManager ) {
    const common::TemporaryFolder folder;
    const std::string config = folder.write( "hardware.json", hardware );
    const std::string path = folder.file( "activated.sock" );
    common::Descriptor listening = common::listenOn( path );
    // A client may come before the service is there.
    SmbusClient client( path );
    common::ChildOptions options;
    options.descriptors = { { 3, listening.get() } };
    // The shell becomes the service, whose process id must be in its environment.
    common::Child child( { "sh", "-c", "LISTEN_FDS=1 LISTEN_PID=$$ exec \"$@\"", "sh",
                           ORVAN_BIN_DIR "/smbusd", "--config", config, "--control",
                           folder.file( "control" ), "--log-level", "error" },
                         options );
    listening.close();
    EXPECT_TRUE( serves( client ) );
    child.signal( SIGTERM );
    EXPECT_EQ( child.wait().exitCode, 0 );
    EXPECT_TRUE( std::filesystem::exists( path ) ); // its file is the service manager's
}

TEST( Service, SaysWhatIsWrongWithItsConfiguration ) {
    const common::TemporaryFolder folder;
    const std::string config = folder.write( "hardware.json", R"({ "buses": 1 })" );
    const test::Finished finished = test::runProgram(
        { ORVAN_BIN_DIR "/smbusd", "--config", config, "--socket", folder.file( "s" ) } );
    EXPECT_EQ( finished.exitCode, 2 );
    EXPECT_EQ( finished.errors, "smbusd: " + config + ": at /buses: 1; expected an array\n" );
    EXPECT_FALSE( std::filesystem::exists( folder.file( "s" ) ) );
}

TEST( Service, ChecksAConfigurationWithoutStarting ) {
    const common::TemporaryFolder folder;
    const std::string config = folder.write( "hardware.json", hardware );
    const test::Finished finished =
        test::runProgram( { ORVAN_BIN_DIR "/smbusd", "--config", config, "--socket",
                            folder.file( "s" ), "--check" } );
    EXPECT_EQ( finished.exitCode, 0 );
    EXPECT_EQ( finished.output, config + ": 3 buses, 6 chips\n" );
    EXPECT_FALSE( std::filesystem::exists( folder.file( "s" ) ) );
}

TEST( Service, RefusesWrongOptions ) {
    const test::Finished mode =
        test::runProgram( { ORVAN_BIN_DIR "/smbusd", "--config", "x", "--mode", "rw" } );
    EXPECT_NE( mode.exitCode, 0 );
    EXPECT_NE( mode.errors.find( "expected an octal mode such as 0600, not rw" ),
               std::string::npos )
        << mode.errors;
    EXPECT_NE( test::runProgram( { ORVAN_BIN_DIR "/smbusd" } ).exitCode, 0 );
}

} // namespace
