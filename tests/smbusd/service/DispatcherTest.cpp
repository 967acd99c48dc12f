#include "smbusd/service/Dispatcher.h"

#include <gtest/gtest.h>

#include "tests/support/TestBoard.h"

namespace {

using namespace std::chrono_literals;
using test::bytes;
using test::Place;
using test::TestBoard;
using test::TransactionBuilder;
using Kind = smbusd::Fault::Kind;

const char *const twoBuses = R"({ "buses": [
    { "name": "one", "master": "SCD", "pci": "0x300", "accelerator": 1, "bus": 2, "chips": [
      { "name": "a", "type": "registers", "address": "0x20" } ] },
    { "name": "two", "master": "I2C", "bus": 1, "chips": [
      { "name": "b", "type": "registers", "address": "0x20" } ] } ] })";

constexpr Place one = { Smbus::SCD, 0x300, 1, 2, 0x20 };
constexpr Place two = { Smbus::I2C, 0, 0, 1, 0x20 };
constexpr Place nowhere = { Smbus::PLM, 0, 3, 4, 0x20 };

class Dispatcher : public testing::Test {
  protected:
    void delay( const std::string &target, uint32_t milliseconds ) {
        smbusd::Fault fault;
        fault.kind = Kind::Delay;
        fault.target = target;
        fault.milliseconds = milliseconds;
        fault.times = 1;
        test.hardware.faults.inject( fault );
    }

    TestBoard test{ twoBuses };
};

TEST_F( Dispatcher, AnswersEveryRequestInOrder ) {
    const auto response = test.run( TransactionBuilder()
                                        .write( one, 1, bytes( 0x11 ) )
                                        .read( one, 1, 1 )
                                        .write( two, 1, bytes( 0x22 ) )
                                        .read( two, 1, 1 ) );
    EXPECT_FALSE( response.has_failed() );
    EXPECT_FALSE( response.has_reason() );
    ASSERT_EQ( response.responses_size(), 4 );
    EXPECT_FALSE( response.responses( 0 ).has_data() );
    EXPECT_EQ( response.responses( 1 ).data(), bytes( 0x11 ) );
    EXPECT_EQ( response.responses( 3 ).data(), bytes( 0x22 ) );
}

TEST_F( Dispatcher, AnswersAnEmptyTransaction ) {
    const auto response = test.run( TransactionBuilder() );
    EXPECT_FALSE( response.failed() );
    EXPECT_EQ( response.responses_size(), 0 );
}

TEST_F( Dispatcher, TheFirstFailureEndsTheTransaction ) {
    const auto response = test.run( TransactionBuilder()
                                        .read( one, 1, 1 )
                                        .read( one.at( 0x21 ), 1, 1 )
                                        .write( one, 1, bytes( 5 ) ) );
    EXPECT_TRUE( response.failed() );
    EXPECT_EQ( response.responses_size(), 1 );
    EXPECT_EQ( response.reason(),
               "request 2 of 3: read byte at register 0x01 of 0x21 on bus \"one\" (SCD 0x00000300 "
               "accelerator 1 bus 2): address not acknowledged, also when repeated 3 time(s)" );
    EXPECT_EQ( test.number( "a", 1 ), 0u );
}

TEST_F( Dispatcher, RefusesWhatIsNotMapped ) {
    const auto response =
        test.run( TransactionBuilder().write( one, 1, bytes( 5 ) ).read( nowhere, 0, 1 ) );
    EXPECT_TRUE( response.failed() );
    EXPECT_EQ( response.reason(),
               "request 2 of 2: PLM accelerator 3 bus 4: no such bus is configured" );
    EXPECT_EQ( response.responses_size(), 1 );
    EXPECT_EQ( test.number( "a", 1 ), 5u );
}

TEST_F( Dispatcher, RefusesRequestsThatContradictThemselves ) {
    const auto response = test.run( TransactionBuilder().add( one, Smbus::WRITE, 0, 2, "abc" ) );
    EXPECT_EQ( response.reason(),
               "request 1 of 1: bus \"one\": the length is 2, but 3 bytes of data are there" );
    EXPECT_TRUE( test.wire.empty() );
}

TEST_F( Dispatcher, RepeatsThreeTimesUnlessTheRequestSaysOtherwise ) {
    test.inject( Kind::Nack, "a" );
    test.run( TransactionBuilder().read( one, 0, 1 ) );
    EXPECT_EQ( test.wire.size(), 4u );
    test.run( TransactionBuilder().read( one, 0, 1 ).retries( 0 ) );
    EXPECT_EQ( test.wire.size(), 1u );
    test.run( TransactionBuilder().read( one, 0, 1 ).retries( 5 ) );
    EXPECT_EQ( test.wire.size(), 6u );
}

TEST_F( Dispatcher, RetriesAreCountedForEachRequest ) {
    test.inject( Kind::Nack, "a", 2 );
    test.inject( Kind::ArbitrationLost, "two", 3 );
    const auto response =
        test.run( TransactionBuilder().read( one, 0, 1 ).read( two, 0, 1 ).retries( 3 ) );
    EXPECT_FALSE( response.failed() );
    EXPECT_EQ( response.responses_size(), 2 );
    EXPECT_EQ( test.wire.size(), 7u );
    EXPECT_TRUE(
        test.logged( "bus \"one\": read byte at register 0x00 of 0x20: done after 2 repeat(s)" ) );
    EXPECT_TRUE(
        test.logged( "bus \"two\": read byte at register 0x00 of 0x20: done after 3 repeat(s)" ) );
}

TEST_F( Dispatcher, AHugeRetryCountEndsAllTheSame ) {
    test.inject( Kind::Nack, "a" );
    const auto response = test.run( TransactionBuilder().read( one, 0, 1 ).retries( 0xFFFFFFFF ) );
    EXPECT_TRUE( response.failed() );
    EXPECT_EQ( test.wire.size(), 1001u );
}

TEST_F( Dispatcher, NeverRepeatsWhatMayHaveHadAnEffect ) {
    smbusd::Fault fault;
    fault.target = "a";
    fault.atData = true;
    test.hardware.faults.inject( fault );
    EXPECT_TRUE( test.run( TransactionBuilder().write( one, 1, bytes( 1 ) ) ).failed() );
    EXPECT_EQ( test.wire.size(), 1u );
    test.hardware.faults.clearTarget( "" );
    test.inject( Kind::StuckBus, "one" );
    EXPECT_TRUE( test.run( TransactionBuilder().write( one, 1, bytes( 1 ) ) ).failed() );
    EXPECT_EQ( test.wire.size(), 1u );
}

TEST_F( Dispatcher, ATransactionHoldsItsBusWhileItWaits ) {
    delay( "a", 100 );
    test.submit( TransactionBuilder().write( one, 1, bytes( 1 ) ).read( one, 1, 1 ) );
    const auto second = test.submit( TransactionBuilder().write( one, 1, bytes( 2 ) ) );
    EXPECT_TRUE( test.finished.empty() );
    test.scheduler.advance( 100ms );
    EXPECT_EQ( test.finished, ( std::vector<uint64_t>{ 1, 2 } ) );
    EXPECT_EQ( test.wire,
               ( std::vector<std::string>{ "S 20 W A 01 A 01 A P", "S 20 W A 01 A Sr 20 R A 01 N P",
                                           "S 20 W A 01 A 02 A P" } ) );
}

TEST_F( Dispatcher, OtherBusesGoOnMeanwhile ) {
    delay( "a", 100 );
    test.submit( TransactionBuilder().read( one, 1, 1 ) );
    test.submit( TransactionBuilder().read( two, 1, 1 ) );
    EXPECT_EQ( test.finished, ( std::vector<uint64_t>{ 2 } ) );
    test.scheduler.advance( 100ms );
    EXPECT_EQ( test.finished, ( std::vector<uint64_t>{ 2, 1 } ) );
}

TEST_F( Dispatcher, ATransactionOnTwoBusesWaitsForBothAndHoldsBoth ) {
    delay( "a", 100 );
    test.submit( TransactionBuilder().read( one, 1, 1 ) );                   // holds one
    test.submit( TransactionBuilder().read( two, 1, 1 ).read( one, 1, 1 ) ); // waits for it
    test.submit( TransactionBuilder().read( two, 1, 1 ) );                   // comes after
    EXPECT_TRUE( test.finished.empty() );
    test.scheduler.advance( 100ms );
    EXPECT_EQ( test.finished, ( std::vector<uint64_t>{ 1, 2, 3 } ) );
}

TEST_F( Dispatcher, CrossedTransactionsOnTwoBusesDoNotLock ) {
    delay( "a", 10 );
    delay( "b", 10 );
    test.submit( TransactionBuilder().read( one, 1, 1 ).read( two, 1, 1 ) );
    test.submit( TransactionBuilder().read( two, 1, 1 ).read( one, 1, 1 ) );
    test.scheduler.advance( 20ms );
    EXPECT_EQ( test.finished, ( std::vector<uint64_t>{ 1, 2 } ) );
}

TEST_F( Dispatcher, ALongTransactionLetsOthersHaveTheThread ) {
    TransactionBuilder many;
    for ( int i = 0; i < 1000; i++ ) {
        many.read( one, 0, 1 );
    }
    auto transaction = std::make_shared<smbusd::Transaction>();
    transaction->request = many.request();
    bool done = false;
    transaction->done = [ & ]( smbusd::Transaction & ) { done = true; };
    test.dispatcher.submit( transaction );
    EXPECT_FALSE( done );
    EXPECT_EQ( transaction->response.responses_size(), 64 );
    test.scheduler.runPosted();
    EXPECT_TRUE( done );
    EXPECT_EQ( transaction->response.responses_size(), 1000 );
}

TEST_F( Dispatcher, AReplyCannotGrowWithoutBound ) {
    TransactionBuilder many;
    for ( int i = 0; i < 65; i++ ) {
        many.read( one, 0, 8192 );
    }
    const auto response = test.run( many );
    EXPECT_TRUE( response.failed() );
    EXPECT_EQ( response.responses_size(), 64 );
    EXPECT_EQ( response.reason(), "request 65 of 65: bus \"one\": the reply would hold more than "
                                  "524288 bytes of data" );
    EXPECT_LE( response.ByteSizeLong(), 1024u * 1024u );
}

TEST_F( Dispatcher, TheLargestRequestStillGetsAReplyThatFitsAFrame ) {
    // As many of the shortest requests as a frame holds; each answer costs two bytes and its data.
    TransactionBuilder many;
    for ( int i = 0; i < 60000; i++ ) {
        many.receiveByte( one );
    }
    ASSERT_LE( many.request().ByteSizeLong(), 1024u * 1024u * 2 );
    const auto response = test.run( many );
    EXPECT_FALSE( response.failed() );
    EXPECT_LE( response.ByteSizeLong(), 1024u * 1024u );
}

TEST_F( Dispatcher, FaultsOfTheServiceEndTheTransactionUnexecuted ) {
    test.inject( Kind::DropConnection, "a", 1 );
    auto dropped = test.submit( TransactionBuilder().write( one, 1, bytes( 1 ) ) );
    EXPECT_EQ( dropped->end, smbusd::Transaction::End::Drop );
    test.inject( Kind::StopAnswering, "a", 1 );
    auto muted = test.submit( TransactionBuilder().write( one, 1, bytes( 1 ) ) );
    EXPECT_EQ( muted->end, smbusd::Transaction::End::Mute );
    EXPECT_EQ( test.finished.size(), 2u );
    EXPECT_EQ( test.number( "a", 1 ), 0u );
    EXPECT_EQ( test.wire,
               ( std::vector<std::string>{ "(connection dropped)", "(no answer sent)" } ) );
}

TEST_F( Dispatcher, TellsTheTrafficWithAttemptsAndResults ) {
    test.inject( Kind::Nack, "a", 1 );
    std::vector<std::string> seen;
    test.dispatcher.setTrafficListener( [ & ]( const smbusd::TrafficEvent &event ) {
        seen.push_back( fmt::format( "{} {} {} {} {} {}", event.transaction.client,
                                     event.transaction.id, event.request, event.bus.name(),
                                     event.attempt, event.result.text() ) );
    } );
    test.run( TransactionBuilder().read( one, 1, 1 ) );
    EXPECT_EQ( seen, ( std::vector<std::string>{ "7 1 1 one 1 address not acknowledged",
                                                 "7 1 1 one 2 done" } ) );
    EXPECT_EQ( test.dispatcher.transactions(), 1u );
}

} // namespace
