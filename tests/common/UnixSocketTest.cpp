#include "common/UnixSocket.h"

#include <array>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <stdexcept>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include <gmock/gmock.h>

#include "common/TemporaryFolder.h"

namespace {

using common::connectTo;
using common::Descriptor;
using common::listenOn;
using common::UnixAddress;
using std::chrono::milliseconds;
using testing::ThrowsMessage;

constexpr milliseconds longEnough{ 30000 };

std::error_code errorOf( const std::function<void()> &action ) {
    try {
        action();
    } catch ( const std::system_error &error ) {
        return error.code();
    }
    return {};
}

mode_t modeOf( const std::string &path ) {
    struct stat status {};
    ::stat( path.c_str(), &status );
    return status.st_mode & 0777;
}

class UnixSocket : public testing::Test {
  protected:
    /** The far side of the connection that came first. */
    static Descriptor accepted( const Descriptor &listener ) {
        return Descriptor( ::accept4( listener.get(), nullptr, nullptr, SOCK_CLOEXEC ) );
    }

    common::TemporaryFolder folder_;
    std::string path_ = folder_.file( "s" );
};

TEST( UnixAddress, HoldsThePath ) {
    const UnixAddress address( "/a/b" );
    sockaddr_un seen{};
    ASSERT_EQ( address.size(), sizeof( seen ) );
    std::memcpy( &seen, address.data(), sizeof( seen ) );
    EXPECT_EQ( seen.sun_family, AF_UNIX );
    EXPECT_STREQ( seen.sun_path, "/a/b" );
}

TEST( UnixAddress, TakesPathsThatFit ) {
    EXPECT_EQ( UnixAddress::longestPath, 107u ); // unix(7): 108 bytes with the NUL
    EXPECT_NO_THROW( UnixAddress( std::string( 107, 'x' ) ) );
    const std::string tooLong( 108, 'x' );
    EXPECT_THAT( [ & ] { UnixAddress address( tooLong ); },
                 ThrowsMessage<std::invalid_argument>(
                     tooLong + ": a socket's path has 1 to 107 characters" ) );
    EXPECT_THAT(
        [] { UnixAddress address( "" ); },
        ThrowsMessage<std::invalid_argument>( ": a socket's path has 1 to 107 characters" ) );
}

TEST_F( UnixSocket, ConnectsToAListener ) {
    const Descriptor listener = listenOn( path_ );
    const Descriptor client = connectTo( path_, longEnough );
    const Descriptor server = accepted( listener );
    EXPECT_TRUE( common::sendAll( client, "to" ) );
    EXPECT_TRUE( common::sendAll( server, "fro" ) );
    std::array<char, 2> there{};
    std::array<char, 3> back{};
    EXPECT_TRUE( common::receiveAll( server, there ) );
    EXPECT_TRUE( common::receiveAll( client, back ) );
    EXPECT_EQ( std::string( there.data(), there.size() ), "to" );
    EXPECT_EQ( std::string( back.data(), back.size() ), "fro" );
}

TEST_F( UnixSocket, NoTimeoutOfConnectingIsLeftOnTheConnection ) {
    const Descriptor listener = listenOn( path_ );
    const Descriptor client = connectTo( path_, milliseconds( 1500 ) );
    timeval time{};
    socklen_t size = sizeof( time );
    ASSERT_EQ( ::getsockopt( client.get(), SOL_SOCKET, SO_SNDTIMEO, &time, &size ), 0 );
    EXPECT_EQ( time.tv_sec, 0 );
    EXPECT_EQ( time.tv_usec, 0 );
}

TEST_F( UnixSocket, SocketsDoNotOutliveAnExec ) {
    const Descriptor listener = listenOn( path_ );
    const Descriptor client = connectTo( path_, longEnough );
    EXPECT_EQ( ::fcntl( listener.get(), F_GETFD ), FD_CLOEXEC );
    EXPECT_EQ( ::fcntl( client.get(), F_GETFD ), FD_CLOEXEC );
}

TEST_F( UnixSocket, FileHasTheModeWhateverTheUmask ) {
    ::umask( 0077 );
    const Descriptor group = listenOn( path_, 0660 );
    EXPECT_EQ( modeOf( path_ ), 0660u );
    EXPECT_EQ( ::umask( 0027 ), 0077u ); // put back
    const Descriptor standard = listenOn( folder_.file( "t" ) );
    EXPECT_EQ( modeOf( folder_.file( "t" ) ), 0750u );
}

TEST_F( UnixSocket, WhatCannotBeListenedOnIsNamed ) {
    const Descriptor first = listenOn( path_ );
    EXPECT_THAT(
        [ & ] { listenOn( path_ ); },
        ThrowsMessage<std::system_error>( path_ + ": cannot be bound: Address already in use" ) );
    EXPECT_EQ( errorOf( [ & ] { listenOn( folder_.file( "no/s" ) ); } ),
               std::errc::no_such_file_or_directory );
    EXPECT_THROW( listenOn( "" ), std::invalid_argument );
}

TEST_F( UnixSocket, NobodyThereIsTold ) {
    EXPECT_THAT( [ & ] { connectTo( path_, longEnough ); },
                 ThrowsMessage<std::system_error>(
                     path_ + ": cannot be connected to: No such file or directory" ) );
    listenOn( path_ ); // closed again, its file stays
    EXPECT_EQ( errorOf( [ & ] { connectTo( path_, longEnough ); } ),
               std::errc::connection_refused );
    EXPECT_THROW( connectTo( "", longEnough ), std::invalid_argument );
}

TEST_F( UnixSocket, ConnectingEndsAtItsLimit ) {
    const Descriptor listener = listenOn( path_, std::nullopt, 0 ); // room for one
    const Descriptor first = connectTo( path_, longEnough );
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ( errorOf( [ & ] { connectTo( path_, milliseconds( 20 ) ); } ), std::errc::timed_out );
    EXPECT_GE( std::chrono::steady_clock::now() - start, milliseconds( 20 ) );
    EXPECT_EQ( errorOf( [ & ] { connectTo( path_, milliseconds( 0 ) ); } ), std::errc::timed_out );
    EXPECT_EQ( errorOf( [ & ] { connectTo( path_, milliseconds( -5 ) ); } ), std::errc::timed_out );
}

TEST_F( UnixSocket, ConnectingWaitsForRoom ) {
    const Descriptor listener = listenOn( path_, std::nullopt, 0 );
    const Descriptor first = connectTo( path_, longEnough );
    Descriptor second;
    std::thread waiting( [ & ] { second = connectTo( path_, longEnough ); } );
    const Descriptor firstsServer = accepted( listener );
    const Descriptor secondsServer = accepted( listener );
    waiting.join();
    EXPECT_TRUE( common::sendAll( second, "2" ) );
    std::array<char, 1> got{};
    EXPECT_TRUE( common::receiveAll( secondsServer, got ) );
    EXPECT_EQ( got[ 0 ], '2' );
}

TEST_F( UnixSocket, ProbeFindsListenersWithoutWaiting ) {
    const UnixAddress address( path_ );
    EXPECT_EQ( common::probe( address ), std::errc::no_such_file_or_directory );
    {
        const Descriptor listener = listenOn( path_, std::nullopt, 0 );
        EXPECT_FALSE( common::probe( address ) );
        EXPECT_FALSE( common::probe( address ) ); // the backlog is full
    }
    EXPECT_EQ( common::probe( address ), std::errc::connection_refused );
    folder_.write( "file", "" );
    EXPECT_EQ( common::probe( UnixAddress( folder_.file( "file" ) ) ),
               std::errc::connection_refused );
}

TEST_F( UnixSocket, AClosedOtherSideIsToldWithoutASignal ) {
    const Descriptor listener = listenOn( path_ );
    Descriptor client = connectTo( path_, longEnough );
    Descriptor server = accepted( listener );
    common::sendAll( server, "ab" );
    server.close();
    std::array<char, 3> three{};
    EXPECT_FALSE( common::receiveAll( client, three ) );
    EXPECT_FALSE( common::sendAll( client, "x" ) ); // no SIGPIPE
}

TEST_F( UnixSocket, LongTextsGoThroughWhole ) {
    const Descriptor listener = listenOn( path_ );
    const Descriptor client = connectTo( path_, longEnough );
    const Descriptor server = accepted( listener );
    const std::string text( 2 * 1024 * 1024, 'y' ); // more than a socket's buffer holds
    std::string got( text.size(), '\0' );
    std::thread sender( [ & ] { EXPECT_TRUE( common::sendAll( client, text ) ); } );
    EXPECT_TRUE( common::receiveAll( server, got ) );
    sender.join();
    EXPECT_EQ( got, text );
}

TEST_F( UnixSocket, FramesAreReceivedOneByOne ) {
    const Descriptor listener = listenOn( path_ );
    Descriptor client = connectTo( path_, longEnough );
    const Descriptor server = accepted( listener );
    common::sendAll( client, common::framed( "one" ) + common::framed( "" ) +
                                 common::framed( "half" ).substr( 0, 5 ) );
    client.close();
    common::FrameDecoder frame;
    ASSERT_TRUE( common::receiveFrame( server, frame ) );
    EXPECT_EQ( frame.message(), "one" );
    ASSERT_TRUE( common::receiveFrame( server, frame ) );
    EXPECT_EQ( frame.message(), "" );
    EXPECT_FALSE( common::receiveFrame( server, frame ) );
    EXPECT_TRUE( frame.started() );
    EXPECT_FALSE( common::receiveFrame( server, frame ) );
    EXPECT_FALSE( frame.started() );
}

TEST_F( UnixSocket, AFrameThatClaimsTooMuchIsAnError ) {
    const Descriptor listener = listenOn( path_ );
    const Descriptor client = connectTo( path_, longEnough );
    const Descriptor server = accepted( listener );
    common::sendAll( client, std::string( "\0\x10\0\1", 4 ) );
    common::FrameDecoder frame;
    EXPECT_THROW( common::receiveFrame( server, frame ), common::FrameError );
}

} // namespace
