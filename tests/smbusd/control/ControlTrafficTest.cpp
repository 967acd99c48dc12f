#include "smbusd/control/ControlTraffic.h"

#include <gtest/gtest.h>

#include "tests/support/TestBoard.h"

namespace {

using namespace std::chrono_literals;
using smbusd::TrafficQueue;
using test::TestBoard;
using test::testBus;
using test::TransactionBuilder;

TEST( ControlTraffic, AnOperationIsALineOfJson ) {
    TestBoard test(
        TestBoard::withChips( R"({ "name": "r", "type": "registers", "address": 64 })" ) );
    std::vector<std::string> lines;
    test.dispatcher.setTrafficListener( [ & ]( const smbusd::TrafficEvent &event ) {
        lines.push_back( smbusd::trafficLine( event, 1500ms ) );
    } );
    test.run( TransactionBuilder()
                  .read( testBus.at( 64 ), 0x8B, 1 )
                  .receiveByte( testBus.at( 65 ) )
                  .retries( 0 ) );
    EXPECT_EQ( lines,
               ( std::vector<std::string>{
                   R"({"event":"operation","time":1.5,"client":7,"transaction":1,"request":1,)"
                   R"("requests":2,"attempt":1,"bus":"bus","operation":"read byte","address":64,)"
                   R"("register":139,"wire":"S 40 W A 8B A Sr 40 R A 00 N P","ok":true,)"
                   R"("result":"done"})",
                   R"({"event":"operation","time":1.5,"client":7,"transaction":1,"request":2,)"
                   R"("requests":2,"attempt":1,"bus":"bus","operation":"receive byte",)"
                   R"("address":65,"wire":"S 41 R N P","ok":false,)"
                   R"("result":"address not acknowledged"})" } ) );
}

TEST( ControlTraffic, TheQueueIsTakenWhole ) {
    TrafficQueue queue;
    EXPECT_TRUE( queue.empty() );
    queue.add( "a" );
    queue.add( "b" );
    EXPECT_EQ( queue.take(), "a\nb\n" );
    EXPECT_TRUE( queue.empty() );
}

TEST( ControlTraffic, AFullQueueLeavesLinesOutAndSaysSo ) {
    TrafficQueue queue;
    const std::string line( 1023, 'x' );
    for ( int i = 0; i < 300; i++ ) {
        queue.add( line );
    }
    EXPECT_EQ( queue.take().size(), TrafficQueue::limit ); // 256 lines of 1 KiB
    queue.add( "next" );
    EXPECT_EQ( queue.take(), "{\"event\":\"dropped\",\"operations\":44}\nnext\n" );
}

} // namespace
