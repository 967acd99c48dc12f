#include <PLSocket.h>
#include <cstdlib>
#include <fcntl.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pl/host.h>

#include "tests/support/SocketPeer.h"

namespace {

using PlatformLibrary::PLSocket;
using support::SocketPeer;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<uint32_t> deletedWatchers;
int watchedDescriptor = -1;
bool descriptorWasOpen = false;

} // namespace

// This program is a host that offers the service.
void pl_fd_watcher_delete( uint32_t watcher ) {
    deletedWatchers.push_back( watcher );
    descriptorWasOpen = fcntl( watchedDescriptor, F_GETFD ) >= 0;
}

namespace {

class PLSocketWatcher : public testing::Test {
  protected:
    void SetUp() override { deletedWatchers.clear(); }
};

TEST_F( PLSocketWatcher, DestructorDeletesItBeforeItCloses ) {
    support::Event closed;
    SocketPeer peer( [ & ]( SocketPeer::Connection &connection ) {
        connection.awaitClose();
        closed.set();
    } );
    setenv( "PL_SMBUS_SOCKET", peer.path().c_str(), 1 );
    {
        PLSocket socket;
        ASSERT_EQ( socket.setup(), 0 );
        watchedDescriptor = socket.descriptor();
        socket.watcherIs( 7 );
        EXPECT_THAT( deletedWatchers, IsEmpty() );
    }
    EXPECT_THAT( deletedWatchers, ElementsAre( 7u ) );
    EXPECT_TRUE( descriptorWasOpen );
    EXPECT_TRUE( closed.wait() );
}

TEST_F( PLSocketWatcher, IsDeletedOnceWithAConnectionThatFails ) {
    SocketPeer peer( []( SocketPeer::Connection &connection ) {
        std::string message;
        connection.readFrame( message );
    } );
    setenv( "PL_SMBUS_SOCKET", peer.path().c_str(), 1 );
    {
        PLSocket socket;
        ASSERT_EQ( socket.setup(), 0 );
        watchedDescriptor = socket.descriptor();
        socket.watcherIs( 7 );
        const Smbus::TransactionRequest request;
        Smbus::TransactionResponse reply;
        EXPECT_LT( socket.sendRequestWait( &request, &reply ), 0 );
        EXPECT_THAT( deletedWatchers, ElementsAre( 7u ) );
        EXPECT_TRUE( descriptorWasOpen );
    }
    EXPECT_THAT( deletedWatchers, ElementsAre( 7u ) );
}

TEST_F( PLSocketWatcher, NoneToDelete ) {
    SocketPeer peer( []( SocketPeer::Connection &connection ) { connection.awaitClose(); } );
    setenv( "PL_SMBUS_SOCKET", peer.path().c_str(), 1 );
    {
        PLSocket neverConnected;
        PLSocket connected;
        ASSERT_EQ( connected.setup(), 0 );
    }
    EXPECT_THAT( deletedWatchers, IsEmpty() );
}

} // namespace
