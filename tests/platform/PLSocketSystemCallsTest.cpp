// What the client asks of the kernel. This program stands between the client and the C library's
// socket calls: it records them, and has one of them fail where a test wants that.

#include <PLSocket.h>
#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/SocketPeer.h"

namespace {

using PlatformLibrary::PLSocket;
using support::SocketPeer;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Gt;
using testing::Le;

/** Only what happens on the test's own thread: the peer's threads are left alone. */
struct Kernel {
    bool watched = false;
    std::vector<std::string> calls; // names, in order
    std::vector<int> pollTimeouts;
    std::vector<int> sendFlags;
    int socketType = 0;
    std::string path;          // of the last connect
    int interruptions = 0;     // how often each kind of call fails with EINTR first
    int interrupted[ 4 ] = {}; // so far: connect, send, recv, poll
    bool connectRefused = false;
    int brokenSends = 0; // how many sends fail with EPIPE
    bool replyWithheld = false;
};

thread_local Kernel kernel;

enum Interruptible { connectCall, sendCall, recvCall, pollCall };

bool interrupts( Interruptible call ) {
    if ( kernel.interrupted[ call ] >= kernel.interruptions ) {
        return false;
    }
    ++kernel.interrupted[ call ];
    errno = EINTR;
    return true;
}

template <class Function>
Function *next( const char *name ) {
    return reinterpret_cast<Function *>( dlsym( RTLD_NEXT, name ) );
}

} // namespace

extern "C" {

int socket( int domain, int type, int protocol ) {
    if ( kernel.watched ) {
        kernel.socketType = type;
    }
    return next<int( int, int, int )>( "socket" )( domain, type, protocol );
}

int connect( int fd, const sockaddr *address, socklen_t size ) {
    if ( kernel.watched ) {
        kernel.calls.push_back( "connect" );
        kernel.path = reinterpret_cast<const sockaddr_un *>( address )->sun_path;
        if ( interrupts( connectCall ) ) {
            return -1;
        }
        if ( kernel.connectRefused ) {
            errno = ECONNREFUSED;
            return -1;
        }
    }
    return next<int( int, const sockaddr *, socklen_t )>( "connect" )( fd, address, size );
}

ssize_t send( int fd, const void *data, size_t size, int flags ) {
    if ( kernel.watched ) {
        kernel.calls.push_back( "send" );
        kernel.sendFlags.push_back( flags );
        if ( interrupts( sendCall ) ) {
            return -1;
        }
        if ( kernel.brokenSends > 0 ) {
            --kernel.brokenSends;
            errno = EPIPE;
            return -1;
        }
    }
    return next<ssize_t( int, const void *, size_t, int )>( "send" )( fd, data, size, flags );
}

ssize_t recv( int fd, void *data, size_t size, int flags ) {
    if ( kernel.watched ) {
        kernel.calls.push_back( "recv" );
        if ( interrupts( recvCall ) ) {
            return -1;
        }
        if ( kernel.replyWithheld ) { // as at the end of the socket's time-out
            errno = EAGAIN;
            return -1;
        }
    }
    return next<ssize_t( int, void *, size_t, int )>( "recv" )( fd, data, size, flags );
}

int poll( pollfd *descriptors, nfds_t count, int timeout ) {
    if ( kernel.watched ) {
        kernel.calls.push_back( "poll" );
        kernel.pollTimeouts.push_back( timeout );
        if ( interrupts( pollCall ) ) {
            return -1;
        }
        if ( kernel.replyWithheld ) {
            kernel.replyWithheld = false;
            errno = EIO; // enough seen: end the wait
            return -1;
        }
    }
    return next<int( pollfd *, nfds_t, int )>( "poll" )( descriptors, count, timeout );
}
}

namespace {

/** Answers every frame with an empty message. */
void answerAll( SocketPeer::Connection &connection ) {
    std::string message;
    while ( connection.readFrame( message ) ) {
        connection.sendFrame( "" );
    }
}

class PLSocketSystemCalls : public testing::Test {
  protected:
    void SetUp() override {
        setenv( "PL_SMBUS_SOCKET", peer_.path().c_str(), 1 );
        unsetenv( "PL_SMBUS_TIMEOUT_MS" );
        kernel = Kernel();
        kernel.watched = true;
    }
    void TearDown() override { kernel.watched = false; }

    int call() {
        const Smbus::TransactionRequest request;
        Smbus::TransactionResponse reply;
        errno = 0;
        return socket_.sendRequestWait( &request, &reply );
    }

    /** The time a call is ready to wait for its reply when the environment says @p text. */
    int deadlineOf( const char *text ) {
        setenv( "PL_SMBUS_TIMEOUT_MS", text, 1 );
        kernel.pollTimeouts.clear();
        kernel.replyWithheld = true;
        PLSocket socket;
        const Smbus::TransactionRequest request;
        Smbus::TransactionResponse reply;
        EXPECT_LT( socket.sendRequestWait( &request, &reply ), 0 );
        EXPECT_EQ( errno, EIO );
        return kernel.pollTimeouts.size() == 1 ? kernel.pollTimeouts[ 0 ] : -1;
    }

    SocketPeer peer_{ answerAll };
    PLSocket socket_;
};

TEST_F( PLSocketSystemCalls, WarmExchangeIsThreeCalls ) {
    ASSERT_EQ( call(), 0 );
    EXPECT_THAT( kernel.calls, ElementsAre( "connect", "send", "poll", "recv" ) );
    kernel.calls.clear();
    ASSERT_EQ( call(), 0 );
    EXPECT_THAT( kernel.calls, ElementsAre( "poll", "send", "recv" ) );
}

TEST_F( PLSocketSystemCalls, DescriptorIsClosedInExecutedPrograms ) {
    ASSERT_EQ( socket_.setup(), 0 );
    EXPECT_EQ( kernel.socketType, SOCK_STREAM | SOCK_CLOEXEC );
}

TEST_F( PLSocketSystemCalls, SendRaisesNoSignalAndDoesNotBlock ) {
    ASSERT_EQ( call(), 0 );
    EXPECT_THAT( kernel.sendFlags, ElementsAre( MSG_NOSIGNAL | MSG_DONTWAIT ) );
}

TEST_F( PLSocketSystemCalls, AddressWithoutEnvironment ) {
    kernel.connectRefused = true;
    unsetenv( "PL_SMBUS_SOCKET" );
    EXPECT_NE( socket_.setup(), 0 );
    EXPECT_EQ( errno, ECONNREFUSED );
    EXPECT_EQ( kernel.path, "/run/smbusd.sock" );
}

TEST_F( PLSocketSystemCalls, EmptyAddressCountsAsAbsent ) {
    kernel.connectRefused = true;
    setenv( "PL_SMBUS_SOCKET", "", 1 );
    EXPECT_NE( socket_.setup(), 0 );
    EXPECT_EQ( kernel.path, "/run/smbusd.sock" );
}

TEST_F( PLSocketSystemCalls, AddressFromEnvironmentIsReadPerConnection ) {
    kernel.connectRefused = true;
    setenv( "PL_SMBUS_SOCKET", "/one", 1 );
    EXPECT_NE( socket_.setup(), 0 );
    EXPECT_EQ( kernel.path, "/one" );
    setenv( "PL_SMBUS_SOCKET", "/two", 1 );
    EXPECT_LT( call(), 0 );
    EXPECT_EQ( kernel.path, "/two" );
}

TEST_F( PLSocketSystemCalls, DeadlineFromEnvironment ) {
    EXPECT_THAT( deadlineOf( "60000" ), AllOf( Gt( 10000 ), Le( 60000 ) ) );
    EXPECT_THAT( deadlineOf( "0060000" ), AllOf( Gt( 10000 ), Le( 60000 ) ) );
    EXPECT_THAT( deadlineOf( "2147483647" ), Gt( 2147000000 ) );
}

// On a machine so busy that these few calls take 5 s, nothing could be told from the rest.
TEST_F( PLSocketSystemCalls, MalformedDeadlineIsTenSeconds ) {
    for ( const char *text :
          { "", " ", "abc", "0", "-1", "+60000", " 60000", "60000 ", "60000ms", "1e9", "0x7FFFFFF",
            "60000.5", "2147483648", "99999999999999999999" } ) {
        EXPECT_THAT( deadlineOf( text ), AllOf( Gt( 5000 ), Le( 10000 ) ) ) << '"' << text << '"';
    }
}

TEST_F( PLSocketSystemCalls, InterruptedCallsGoOn ) {
    kernel.interruptions = 3;
    EXPECT_EQ( socket_.setup(), 0 );
    EXPECT_EQ( call(), 0 );
    EXPECT_THAT( kernel.interrupted, ElementsAre( 3, 3, 3, 3 ) );
    EXPECT_EQ( peer_.frames(), 1 );
    EXPECT_EQ( peer_.connections(), 1 );
}

TEST_F( PLSocketSystemCalls, OldConnectionThatBreaksBeforeAByteIsReplacedOnce ) {
    ASSERT_EQ( call(), 0 );
    kernel.calls.clear();
    kernel.brokenSends = 1;
    EXPECT_EQ( call(), 0 );
    EXPECT_THAT( kernel.calls, ElementsAre( "poll", "send", "connect", "send", "poll", "recv" ) );
    EXPECT_EQ( peer_.frames(), 2 );
}

TEST_F( PLSocketSystemCalls, ReplacementThatBreaksFails ) {
    ASSERT_EQ( call(), 0 );
    kernel.calls.clear();
    kernel.brokenSends = 2;
    EXPECT_LT( call(), 0 );
    EXPECT_EQ( errno, EPIPE );
    EXPECT_THAT( kernel.calls, ElementsAre( "poll", "send", "connect", "send" ) );
    EXPECT_EQ( socket_.descriptor(), -1 );
    EXPECT_EQ( peer_.frames(), 1 );
}

TEST_F( PLSocketSystemCalls, NewConnectionThatBreaksIsNotReplaced ) {
    kernel.brokenSends = 1;
    EXPECT_LT( call(), 0 );
    EXPECT_EQ( errno, EPIPE );
    EXPECT_THAT( kernel.calls, ElementsAre( "connect", "send" ) );
}

} // namespace
