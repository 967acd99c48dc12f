#include "common/Frame.h"

#include <algorithm>

#include <gmock/gmock.h>
#include <smbus.pb.h>

namespace {

using common::FrameDecoder;
using common::FrameError;
using common::longestMessage;
using testing::ThrowsMessage;

/** Feeds @p bytes to @p decoder, at most @p step of them at a time. @return how many it took */
size_t feed( FrameDecoder &decoder, std::string_view bytes, size_t step ) {
    size_t taken = 0;
    while ( taken < bytes.size() && !decoder.complete() ) {
        const auto room = decoder.room();
        const size_t count = std::min( { room.size(), step, bytes.size() - taken } );
        std::copy_n( bytes.begin() + static_cast<ptrdiff_t>( taken ), count, room.begin() );
        decoder.received( count );
        taken += count;
    }
    return taken;
}

TEST( Frame, IsTheLengthHighByteFirstAndTheMessage ) {
    EXPECT_EQ( common::framed( "abc" ), std::string( "\0\0\0\3abc", 7 ) );
    EXPECT_EQ( common::framed( "" ), std::string( 4, '\0' ) );
    const auto header = common::frameHeader( 0x0A0B0C );
    EXPECT_EQ( std::string( header.data(), header.size() ), std::string( "\0\x0A\x0B\x0C", 4 ) );
}

TEST( Frame, HoldsUpToAMebibyte ) {
    EXPECT_EQ( longestMessage, 1048576u );
    const auto header = common::frameHeader( longestMessage );
    EXPECT_EQ( std::string( header.data(), header.size() ), std::string( "\0\x10\0\0", 4 ) );
    EXPECT_THAT( [] { common::frameHeader( longestMessage + 1 ); },
                 ThrowsMessage<FrameError>( "claims a frame of 1048577 bytes" ) );
    EXPECT_THROW( common::framed( std::string( longestMessage + 1, 'x' ) ), FrameError );
}

TEST( Frame, OfAMessageReplacesTheBuffer ) {
    Smbus::TransactionResponse message;
    message.set_failed( true );
    std::string buffer = "before";
    common::frameMessage( message, buffer );
    EXPECT_EQ( buffer, common::framed( message.SerializeAsString() ) );
    message.set_reason( std::string( longestMessage, 'x' ) );
    EXPECT_THROW( common::frameMessage( message, buffer ), FrameError );
}

TEST( FrameDecoder, PutsAFrameTogetherFromPiecesOfAnySize ) {
    const std::string bytes = common::framed( "a message" ) + "next";
    for ( const size_t step : { 1, 2, 3, 5, 100 } ) {
        FrameDecoder decoder;
        EXPECT_EQ( feed( decoder, bytes, step ), 13u ) << step;
        EXPECT_TRUE( decoder.complete() );
        EXPECT_EQ( decoder.message(), "a message" );
        EXPECT_TRUE( decoder.room().empty() );
    }
}

TEST( FrameDecoder, TellsWhetherAFrameHasBegun ) {
    FrameDecoder decoder;
    EXPECT_FALSE( decoder.started() );
    EXPECT_FALSE( decoder.complete() );
    EXPECT_EQ( decoder.room().size(), 4u );
    feed( decoder, std::string( 1, '\0' ), 1 );
    EXPECT_TRUE( decoder.started() );
    EXPECT_EQ( decoder.room().size(), 3u );
}

TEST( FrameDecoder, AnEmptyMessageIsCompleteWithItsHeader ) {
    FrameDecoder decoder;
    feed( decoder, std::string( 4, '\0' ), 4 );
    EXPECT_TRUE( decoder.complete() );
    EXPECT_EQ( decoder.message(), "" );
}

TEST( FrameDecoder, TakesOneFrameAfterTheOther ) {
    FrameDecoder decoder;
    feed( decoder, common::framed( "first, the longer one" ), 100 );
    decoder.restart();
    EXPECT_FALSE( decoder.started() );
    feed( decoder, common::framed( "second" ), 100 );
    EXPECT_TRUE( decoder.complete() );
    EXPECT_EQ( decoder.message(), "second" );
}

TEST( FrameDecoder, RestartsWithinAFrame ) {
    FrameDecoder decoder;
    feed( decoder, common::framed( "half" ).substr( 0, 6 ), 100 );
    decoder.room();
    decoder.restart();
    feed( decoder, common::framed( "whole" ), 100 );
    EXPECT_EQ( decoder.message(), "whole" );
}

TEST( FrameDecoder, ALongestMessageIsTakenAndALongerOneRefused ) {
    const std::string longest( longestMessage, 'x' );
    FrameDecoder decoder;
    EXPECT_EQ( feed( decoder, common::framed( longest ), 100000 ), longestMessage + 4 );
    EXPECT_TRUE( decoder.complete() );
    EXPECT_EQ( decoder.message(), longest );
    decoder.restart();
    EXPECT_LE( decoder.message().capacity(), 65536u ); // the memory has gone back
    EXPECT_THAT( [ & ] { feed( decoder, std::string( "\0\x10\0\1", 4 ), 4 ); },
                 ThrowsMessage<FrameError>( "claims a frame of 1048577 bytes" ) );
    decoder.restart();
    EXPECT_THAT( [ & ] { feed( decoder, "\xFF\xFF\xFF\xFF", 4 ); },
                 ThrowsMessage<FrameError>( "claims a frame of 4294967295 bytes" ) );
}

TEST( FrameDecoder, MemoryGrowsWithTheBytesNotWithTheClaim ) {
    FrameDecoder decoder;
    feed( decoder, std::string( "\0\x10\0\0", 4 ), 4 );
    EXPECT_EQ( decoder.room().size(), 16384u );
    EXPECT_LE( decoder.message().capacity(), 2 * 16384u );
    EXPECT_EQ( decoder.room().size(), 16384u ); // asked again, the same
}

} // namespace
