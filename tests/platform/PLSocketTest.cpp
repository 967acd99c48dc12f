#include <PLSocket.h>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <type_traits>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/Descriptor.h"
#include "common/Frame.h"
#include "common/UnixSocket.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/SocketPeer.h"

namespace {

using PlatformLibrary::PLSocket;
using support::Event;
using support::SocketPeer;
using Connection = SocketPeer::Connection;

constexpr size_t oneMebibyte = 1048576;

static_assert( !std::is_copy_constructible_v<PLSocket> );
static_assert( !std::is_copy_assignable_v<PLSocket> );

/** A write of @p data, by which the peer knows one transaction from another. */
Smbus::TransactionRequest writeOf( const std::string &data ) {
    Smbus::TransactionRequest transaction;
    Smbus::Request *request = transaction.add_requests();
    request->set_type( Smbus::WRITE );
    request->set_length( 1 );
    request->set_address( 0 );
    request->set_mastertype( Smbus::I2C );
    request->set_data( data );
    return transaction;
}

/** The message of a reply with one response that holds @p data. */
std::string replyMessage( const std::string &data ) {
    Smbus::TransactionResponse reply;
    reply.add_responses()->set_data( data );
    return reply.SerializeAsString();
}

/** Answers each request with "reply to " and its data, until the client closes. */
void answerAll( Connection &connection ) {
    std::string message;
    Smbus::TransactionRequest transaction;
    while ( connection.readFrame( message ) && transaction.ParseFromString( message ) ) {
        connection.sendFrame( replyMessage( "reply to " + transaction.requests( 0 ).data() ) );
    }
}

/** A peer whose first connection has a handler of its own; all later ones answer. */
SocketPeer::Handler firstThenAnswer( SocketPeer::Handler first ) {
    return [ first = std::move( first ) ]( Connection &connection ) {
        if ( connection.index() == 0 ) {
            first( connection );
        } else {
            answerAll( connection );
        }
    };
}

/** The monotonic clock in milliseconds. */
int64_t now() {
    timespec time = {};
    clock_gettime( CLOCK_MONOTONIC, &time );
    return int64_t{ time.tv_sec } * 1000 + time.tv_nsec / 1000000;
}

class PLSocketTest : public testing::Test {
  protected:
    void SetUp() override {
        unsetenv( "PL_SMBUS_SOCKET" );
        unsetenv( "PL_SMBUS_TIMEOUT_MS" );
        signal( SIGPIPE, SIG_DFL ); // a SIGPIPE would end the test
    }

    void addressIs( const std::string &path ) { setenv( "PL_SMBUS_SOCKET", path.c_str(), 1 ); }
    /** For connections made from now on; 0: the default, which no test waits for. */
    void timeoutIs( int milliseconds ) {
        if ( milliseconds > 0 ) {
            setenv( "PL_SMBUS_TIMEOUT_MS", std::to_string( milliseconds ).c_str(), 1 );
        } else {
            unsetenv( "PL_SMBUS_TIMEOUT_MS" );
        }
    }

    /** @return the data of the reply to a write of @p data, or the name of the error. */
    std::string call( const std::string &data ) {
        Smbus::TransactionResponse reply;
        errno = 0;
        const int result = socket_.sendRequestWait( &( sent_ = writeOf( data ) ), &reply );
        if ( result < 0 ) {
            return strerrorname_np( errno );
        }
        return reply.responses_size() == 1 ? reply.responses( 0 ).data() : "no data";
    }

    Smbus::TransactionRequest sent_;
    PLSocket socket_;
};

// Connecting

TEST_F( PLSocketTest, StartsWithoutAConnection ) {
    EXPECT_EQ( socket_.descriptor(), -1 );
}

TEST_F( PLSocketTest, SetupConnects ) {
    SocketPeer peer( answerAll );
    addressIs( peer.path() );
    EXPECT_EQ( socket_.setup(), 0 );
    EXPECT_GE( socket_.descriptor(), 0 );
    EXPECT_EQ( call( "a" ), "reply to a" );
    EXPECT_EQ( peer.connections(), 1 );
}

TEST_F( PLSocketTest, SetupKeepsAConnectionThatIsThere ) {
    SocketPeer peer( answerAll );
    addressIs( peer.path() );
    EXPECT_EQ( socket_.setup(), 0 );
    EXPECT_EQ( socket_.setup(), 0 );
    EXPECT_EQ( call( "a" ), "reply to a" );
    EXPECT_EQ( peer.connections(), 1 );
}

TEST_F( PLSocketTest, CallConnectsWithoutSetup ) {
    SocketPeer peer( answerAll );
    addressIs( peer.path() );
    EXPECT_EQ( call( "a" ), "reply to a" );
    EXPECT_EQ( call( "b" ), "reply to b" );
    EXPECT_EQ( peer.connections(), 1 );
}

TEST_F( PLSocketTest, MissingSocket ) {
    SocketPeer peer( answerAll );
    addressIs( peer.path() + ".missing" );
    EXPECT_NE( socket_.setup(), 0 );
    EXPECT_EQ( errno, ENOENT );
    EXPECT_EQ( socket_.descriptor(), -1 );
    EXPECT_EQ( call( "a" ), "ENOENT" );
}

TEST_F( PLSocketTest, SetupSucceedsOnceTheServiceIsThere ) {
    SocketPeer peer( answerAll );
    addressIs( peer.path() );
    peer.stop();
    EXPECT_NE( socket_.setup(), 0 );
    EXPECT_NE( socket_.setup(), 0 );
    peer.start();
    EXPECT_EQ( socket_.setup(), 0 );
}

TEST_F( PLSocketTest, SocketFileOfADeadService ) {
    SocketPeer folder( answerAll );
    const std::string path = folder.path() + ".dead";
    common::listenOn( path ); // closed again; the file stays

    addressIs( path );
    EXPECT_NE( socket_.setup(), 0 );
    EXPECT_EQ( errno, ECONNREFUSED );
}

TEST_F( PLSocketTest, LongestPath ) {
    addressIs( "/" + std::string( 106, 'x' ) ); // 107 characters and the zero fill sun_path
    EXPECT_NE( socket_.setup(), 0 );
    EXPECT_EQ( errno, ENOENT );
}

TEST_F( PLSocketTest, PathTooLong ) {
    addressIs( "/" + std::string( 107, 'x' ) );
    EXPECT_NE( socket_.setup(), 0 );
    EXPECT_EQ( errno, ENAMETOOLONG );
    EXPECT_EQ( call( "a" ), "ENAMETOOLONG" );
}

TEST_F( PLSocketTest, DeadlineCoversConnecting ) {
    SocketPeer folder( answerAll );
    const std::string path = folder.path() + ".full";
    // Room for one, and nobody accepts.
    const common::Descriptor listener = common::listenOn( path, std::nullopt, 0 );
    addressIs( path );
    PLSocket fillsTheBacklog;
    ASSERT_EQ( fillsTheBacklog.setup(), 0 );

    timeoutIs( 20 );
    const int64_t start = now();
    EXPECT_NE( socket_.setup(), 0 );
    EXPECT_EQ( errno, ETIMEDOUT );
    EXPECT_EQ( call( "a" ), "ETIMEDOUT" );
    EXPECT_GE( now() - start, 39 );
}

TEST_F( PLSocketTest, DestructorClosesTheConnection ) {
    Event closed;
    SocketPeer peer( [ & ]( Connection &connection ) {
        answerAll( connection );
        closed.set();
    } );
    addressIs( peer.path() );
    {
        PLSocket socket;
        ASSERT_EQ( socket.setup(), 0 );
    }
    EXPECT_TRUE( closed.wait() );
}

TEST_F( PLSocketTest, WatcherInAProgramThatIsNoHost ) {
    SocketPeer peer( answerAll );
    addressIs( peer.path() );
    PLSocket socket;
    ASSERT_EQ( socket.setup(), 0 );
    socket.watcherIs( 7 ); // nobody to delete it: skipped
}

// The bytes on the wire

TEST_F( PLSocketTest, FramesByteForByte ) {
    std::string seen;
    SocketPeer peer( [ & ]( Connection &connection ) {
        if ( connection.read( 4 + 17, seen ) ) {
            connection.send( std::string( "\0\0\0\5\x0A\3\x0A\1\xA5", 9 ) );
        }
        connection.awaitClose();
    } );
    addressIs( peer.path() );

    Smbus::TransactionRequest transaction;
    Smbus::Request *request = transaction.add_requests();
    request->set_type( Smbus::READ );
    request->set_length( 1 );
    request->set_address( 0x0000005000000012 );
    request->set_mastertype( Smbus::I2C );
    Smbus::TransactionResponse reply;
    EXPECT_EQ( socket_.sendRequestWait( &transaction, &reply ), 0 );

    EXPECT_EQ( seen, std::string( "\0\0\0\x11"               // length
                                  "\x0A\x0F"                 // requests, 15 bytes
                                  "\x08\0"                   // type
                                  "\x10\1"                   // length
                                  "\x19\x12\0\0\0\x50\0\0\0" // address
                                  "\x28\1",                  // mastertype
                                  21 ) );
    ASSERT_EQ( reply.responses_size(), 1 );
    EXPECT_EQ( reply.responses( 0 ).data(), "\xA5" );
    EXPECT_FALSE( reply.has_failed() );
}

TEST_F( PLSocketTest, RefusalOfTheServiceIsAReply ) {
    SocketPeer peer( []( Connection &connection ) {
        std::string message;
        connection.readFrame( message );
        Smbus::TransactionResponse refusal;
        refusal.set_failed( true );
        refusal.set_reason( "request 1 of 1: no such bus" );
        connection.sendFrame( refusal.SerializeAsString() );
        connection.awaitClose();
    } );
    addressIs( peer.path() );
    Smbus::TransactionResponse reply;
    const auto transaction = writeOf( "a" );
    EXPECT_EQ( socket_.sendRequestWait( &transaction, &reply ), 0 );
    EXPECT_TRUE( reply.failed() );
    EXPECT_EQ( reply.reason(), "request 1 of 1: no such bus" );
}

TEST_F( PLSocketTest, ReplyReplacesWhatWasInTheMessage ) {
    SocketPeer peer( answerAll );
    addressIs( peer.path() );
    Smbus::TransactionResponse reply;
    reply.add_responses()->set_data( "old" );
    reply.set_reason( "old" );
    const auto transaction = writeOf( "a" );
    EXPECT_EQ( socket_.sendRequestWait( &transaction, &reply ), 0 );
    ASSERT_EQ( reply.responses_size(), 1 );
    EXPECT_EQ( reply.responses( 0 ).data(), "reply to a" );
    EXPECT_FALSE( reply.has_reason() );
}

TEST_F( PLSocketTest, EmptyReply ) {
    SocketPeer peer( firstThenAnswer( []( Connection &connection ) {
        std::string message;
        connection.readFrame( message );
        connection.send( std::string( 4, '\0' ) );
        answerAll( connection );
    } ) );
    addressIs( peer.path() );
    EXPECT_EQ( call( "a" ), "no data" );
    EXPECT_EQ( call( "b" ), "reply to b" );
    EXPECT_EQ( peer.connections(), 1 );
}

TEST_F( PLSocketTest, ReplyInSingleBytes ) {
    SocketPeer peer( []( Connection &connection ) {
        std::string message;
        while ( connection.readFrame( message ) ) {
            for ( const char byte : common::framed( replyMessage( "piecemeal" ) ) ) {
                connection.send( std::string( 1, byte ) );
                std::this_thread::yield();
            }
        }
    } );
    addressIs( peer.path() );
    EXPECT_EQ( call( "a" ), "piecemeal" );
    EXPECT_EQ( call( "b" ), "piecemeal" );
    EXPECT_EQ( peer.connections(), 1 );
}

// A deadline too short for the socket's own time-out takes another way through the waiting.
TEST_F( PLSocketTest, ReplyInSingleBytesWithinAShortDeadline ) {
    SocketPeer peer( []( Connection &connection ) {
        std::string message;
        while ( connection.readFrame( message ) ) {
            for ( const char byte : common::framed( replyMessage( "piecemeal" ) ) ) {
                if ( !connection.send( std::string( 1, byte ) ) ) {
                    return;
                }
            }
        }
    } );
    addressIs( peer.path() );
    timeoutIs( 39 );
    std::string result = "ETIMEDOUT";
    for ( int attempt = 0; attempt < 200 && result == "ETIMEDOUT"; ++attempt ) {
        result = call( "a" ); // on a busy machine one may well be late
    }
    EXPECT_EQ( result, "piecemeal" );
}

TEST_F( PLSocketTest, OneMebibyteBothWays ) {
    // A reply's data of n bytes (n from 2^14 to 2^21) is a message of n + 8: tag and three bytes of
    // length for the response, and again for the data.
    const std::string reply = replyMessage( std::string( oneMebibyte - 8, 'r' ) );
    ASSERT_EQ( reply.size(), oneMebibyte );
    SocketPeer peer( [ & ]( Connection &connection ) {
        std::string message;
        while ( connection.readFrame( message ) && message.size() == oneMebibyte ) {
            connection.sendFrame( reply );
        }
    } );
    addressIs( peer.path() );
    // A request's data of n bytes is a message of n + 23: two bytes each for type, length and
    // master type, nine for the address, and the tags and lengths as above.
    EXPECT_EQ( call( std::string( oneMebibyte - 23, 'd' ) ), std::string( oneMebibyte - 8, 'r' ) );
    EXPECT_EQ( sent_.ByteSizeLong(), oneMebibyte );
    EXPECT_EQ( call( std::string( oneMebibyte - 23, 'd' ) ).size(), oneMebibyte - 8 );
    EXPECT_EQ( peer.connections(), 1 );
}

TEST_F( PLSocketTest, RequestTooLong ) {
    SocketPeer peer( answerAll );
    addressIs( peer.path() );
    EXPECT_EQ( call( std::string( oneMebibyte - 22, 'd' ) ), "EMSGSIZE" );
    EXPECT_EQ( sent_.ByteSizeLong(), oneMebibyte + 1 );
    EXPECT_EQ( call( "b" ), "reply to b" );
    EXPECT_EQ( peer.frames(), 1 );
}

TEST_F( PLSocketTest, RequestWithoutARequiredField ) {
    SocketPeer peer( answerAll );
    addressIs( peer.path() );
    Smbus::TransactionRequest transaction = writeOf( "a" );
    transaction.mutable_requests( 0 )->clear_mastertype();
    Smbus::TransactionResponse reply;
    EXPECT_LT( socket_.sendRequestWait( &transaction, &reply ), 0 );
    EXPECT_EQ( errno, EINVAL );
    EXPECT_EQ( call( "b" ), "reply to b" );
    EXPECT_EQ( peer.frames(), 1 );
}

// Broken replies

/**
 * Has the first connection send @p bytes for its first request and stay open; expects the first
 * call to fail so and to close the connection, and the second to be answered on a new one.
 */
class BrokenReplyTest : public PLSocketTest {
  protected:
    void expectBadMessage( const std::string &bytes ) {
        Event closed;
        SocketPeer peer( firstThenAnswer( [ & ]( Connection &connection ) {
            std::string message;
            connection.readFrame( message );
            connection.send( bytes );
            connection.awaitClose();
            closed.set();
        } ) );
        addressIs( peer.path() );
        EXPECT_EQ( call( "a" ), "EBADMSG" );
        EXPECT_EQ( socket_.descriptor(), -1 );
        EXPECT_TRUE( closed.wait() );
        EXPECT_EQ( call( "b" ), "reply to b" );
        EXPECT_EQ( peer.connections(), 2 );
        EXPECT_EQ( peer.frames(), 2 );
    }
};

TEST_F( BrokenReplyTest, Claims4GiB ) {
    expectBadMessage( "\xFF\xFF\xFF\xFF" );
}

TEST_F( BrokenReplyTest, ClaimsOneByteTooMuch ) {
    expectBadMessage( std::string( "\0\x10\0\1", 4 ) );
}

TEST_F( BrokenReplyTest, SendsOneByteTooMuch ) {
    const std::string message = replyMessage( std::string( oneMebibyte - 7, 'r' ) );
    ASSERT_EQ( message.size(), size_t{ oneMebibyte } + 1 );
    expectBadMessage( std::string( "\0\x10\0\1", 4 ) + message );
}

TEST_F( BrokenReplyTest, Garbage ) {
    expectBadMessage( common::framed( "\xFF\xFF\xFF\xFF" ) );
}

TEST_F( BrokenReplyTest, MessageCutShortInAWholeFrame ) {
    std::string message = replyMessage( "some data" );
    message.pop_back();
    expectBadMessage( common::framed( message ) );
}

TEST_F( BrokenReplyTest, TextInsteadOfFrames ) {
    expectBadMessage( "HTTP/1.1 400 Bad Request\r\n\r\n" ); // "HTTP" claims 1.1 GiB
}

// Connections that end

/** How the first connection ends after reading a request and sending @p bytes. */
class EndingConnectionTest : public PLSocketTest {
  protected:
    void expectFailure( const std::string &bytes, const char *error ) {
        SocketPeer peer( firstThenAnswer( [ & ]( Connection &connection ) {
            std::string message;
            connection.readFrame( message );
            connection.send( bytes );
        } ) );
        addressIs( peer.path() );
        ASSERT_EQ( socket_.setup(), 0 ); // an old connection, that might tempt into a second try
        EXPECT_EQ( call( "a" ), error );
        EXPECT_EQ( peer.frames(), 1 ); // it may have been carried out: never again
        EXPECT_EQ( peer.connections(), 1 );
        EXPECT_EQ( call( "b" ), "reply to b" );
        EXPECT_EQ( peer.frames(), 2 );
        EXPECT_EQ( peer.connections(), 2 );
    }
};

TEST_F( EndingConnectionTest, BeforeTheReply ) {
    expectFailure( "", "ECONNRESET" );
}

TEST_F( EndingConnectionTest, InTheHeader ) {
    expectFailure( std::string( "\0\0", 2 ), "EBADMSG" );
}

TEST_F( EndingConnectionTest, BehindTheHeader ) {
    expectFailure( std::string( "\0\0\0\5", 4 ), "EBADMSG" );
}

TEST_F( EndingConnectionTest, InTheMessage ) {
    const std::string whole = common::framed( replyMessage( "some data" ) );
    expectFailure( whole.substr( 0, whole.size() - 1 ), "EBADMSG" );
}

TEST_F( PLSocketTest, PeerClosesWithTheRequestUnread ) {
    SocketPeer peer( firstThenAnswer( [ & ]( Connection &connection ) {
        std::string some;
        connection.read( 1, some ); // the rest stays unread: the client's end is reset
    } ) );
    addressIs( peer.path() );
    ASSERT_EQ( socket_.setup(), 0 );
    EXPECT_EQ( call( "a" ), "ECONNRESET" );
    EXPECT_EQ( peer.connections(), 1 );
    EXPECT_EQ( call( "b" ), "reply to b" );
}

TEST_F( PLSocketTest, PeerClosesInTheMiddleOfALongRequest ) {
    Event closed;
    SocketPeer peer( firstThenAnswer( [ & ]( Connection &connection ) {
        std::string some;
        connection.read( 1, some );
        connection.close();
        closed.set();
    } ) );
    addressIs( peer.path() );
    ASSERT_EQ( socket_.setup(), 0 );
    // More than a socket's buffer: sending cannot be over when the peer closes.
    EXPECT_THAT( call( std::string( oneMebibyte - 23, 'd' ) ),
                 testing::AnyOf( "EPIPE", "ECONNRESET" ) );
    EXPECT_TRUE( closed.wait() );
    EXPECT_EQ( peer.connections(), 1 ); // some of it got through: not sent again
    EXPECT_EQ( call( "b" ), "reply to b" );
}

TEST_F( PLSocketTest, OldConnectionFoundClosed ) {
    Event closed;
    SocketPeer peer( firstThenAnswer( [ & ]( Connection &connection ) {
        std::string message;
        connection.readFrame( message );
        connection.sendFrame( replyMessage( "first" ) );
        connection.close();
        closed.set();
    } ) );
    addressIs( peer.path() );
    EXPECT_EQ( call( "a" ), "first" );
    ASSERT_TRUE( closed.wait() );
    EXPECT_EQ( call( "b" ), "reply to b" );
    EXPECT_EQ( peer.connections(), 2 );
    EXPECT_EQ( peer.frames(), 2 );
}

TEST_F( PLSocketTest, OldConnectionFoundClosedForReplies ) {
    Event closed;
    SocketPeer peer( firstThenAnswer( [ & ]( Connection &connection ) {
        std::string message;
        connection.readFrame( message );
        connection.sendFrame( replyMessage( "first" ) );
        connection.shutDown( SHUT_WR ); // it would still take a request, and never answer
        closed.set();
        connection.awaitClose();
    } ) );
    addressIs( peer.path() );
    EXPECT_EQ( call( "a" ), "first" );
    ASSERT_TRUE( closed.wait() );
    EXPECT_EQ( call( "b" ), "reply to b" );
    EXPECT_EQ( peer.connections(), 2 );
    EXPECT_EQ( peer.frames(), 2 );
}

// Only sending shows this one, as when the service dies after the look at the connection.
TEST_F( PLSocketTest, OldConnectionClosedOnlyForRequests ) {
    Event closed, calledAgain;
    SocketPeer peer( firstThenAnswer( [ & ]( Connection &connection ) {
        std::string message;
        connection.readFrame( message );
        connection.sendFrame( replyMessage( "first" ) );
        connection.shutDown( SHUT_RD );
        closed.set();
        EXPECT_TRUE( calledAgain.wait() ); // until then the other direction stays open
    } ) );
    addressIs( peer.path() );
    EXPECT_EQ( call( "a" ), "first" );
    EXPECT_TRUE( closed.wait() );
    EXPECT_EQ( call( "b" ), "reply to b" );
    calledAgain.set();
    EXPECT_EQ( peer.connections(), 2 );
    EXPECT_EQ( peer.frames(), 2 );
}

TEST_F( PLSocketTest, ServiceRestartsBetweenCalls ) {
    SocketPeer peer( answerAll );
    addressIs( peer.path() );
    for ( int restart = 0; restart < 5; ++restart ) {
        EXPECT_EQ( call( "a" ), "reply to a" );
        EXPECT_EQ( call( "b" ), "reply to b" );
        peer.stop();
        peer.start();
    }
    EXPECT_EQ( peer.connections(), 5 );
    EXPECT_EQ( peer.frames(), 10 );
}

TEST_F( PLSocketTest, ServiceAwayForAWhile ) {
    SocketPeer peer( answerAll );
    addressIs( peer.path() );
    EXPECT_EQ( call( "a" ), "reply to a" );
    peer.stop();
    EXPECT_EQ( call( "b" ), "ENOENT" );
    EXPECT_EQ( call( "c" ), "ENOENT" );
    peer.start();
    EXPECT_EQ( call( "d" ), "reply to d" );
    EXPECT_EQ( peer.frames(), 2 );
}

TEST_F( PLSocketTest, ServiceDiesWhileTheClientWaits ) {
    const int client = support::currentThread();
    SocketPeer peer( firstThenAnswer( [ & ]( Connection &connection ) {
        std::string message;
        connection.readFrame( message );
        support::waitUntilAsleep( client );
    } ) );
    addressIs( peer.path() );
    EXPECT_EQ( call( "a" ), "ECONNRESET" );
    EXPECT_EQ( call( "b" ), "reply to b" );
    EXPECT_EQ( peer.frames(), 2 );
}

// Deadlines: one that is waited for with poll(2) alone, and one with the socket's own time-out too

class DeadlineTest : public PLSocketTest, public testing::WithParamInterface<int> {};

INSTANTIATE_TEST_SUITE_P( Milliseconds, DeadlineTest, testing::Values( 20, 40 ) );

TEST_P( DeadlineTest, LateReplyIsNotTheNextOnes ) {
    Event timedOut, answeredLate;
    SocketPeer peer( firstThenAnswer( [ & ]( Connection &connection ) {
        std::string message;
        connection.readFrame( message );
        EXPECT_TRUE( timedOut.wait() );
        connection.sendFrame( replyMessage( "late" ) );
        answeredLate.set();
    } ) );
    addressIs( peer.path() );
    timeoutIs( GetParam() );
    ASSERT_EQ( socket_.setup(), 0 ); // the socket's own time-out is for old connections
    const int64_t start = now();
    EXPECT_EQ( call( "a" ), "ETIMEDOUT" );
    EXPECT_GE( now() - start, GetParam() - 1 );
    EXPECT_EQ( socket_.descriptor(), -1 );
    timedOut.set();
    EXPECT_TRUE( answeredLate.wait() );
    timeoutIs( 0 );
    EXPECT_EQ( call( "b" ), "reply to b" );
    EXPECT_EQ( peer.frames(), 2 );
}

TEST_P( DeadlineTest, PeerThatNeverReads ) {
    Event timedOut;
    SocketPeer peer( firstThenAnswer( [ & ]( Connection & ) { EXPECT_TRUE( timedOut.wait() ); } ) );
    addressIs( peer.path() );
    timeoutIs( GetParam() );
    ASSERT_EQ( socket_.setup(), 0 );
    const int64_t start = now();
    EXPECT_EQ( call( std::string( oneMebibyte - 23, 'd' ) ), "ETIMEDOUT" );
    EXPECT_GE( now() - start, GetParam() - 1 );
    timedOut.set();
    EXPECT_EQ( peer.connections(), 1 );
    timeoutIs( 0 );
    EXPECT_EQ( call( "b" ), "reply to b" );
    EXPECT_EQ( peer.frames(), 1 );
}

TEST_P( DeadlineTest, SpansAReplyThatNeverEnds ) {
    SocketPeer peer( firstThenAnswer( []( Connection &connection ) {
        std::string message;
        connection.readFrame( message );
        connection.send( std::string( "\0\x10\0\0", 4 ) );
        // A byte at a time, the whole mebibyte would take several times the deadline. The last
        // byte never comes.
        for ( size_t byte = 1; byte < oneMebibyte; ++byte ) {
            if ( !connection.send( "x" ) ) {
                return;
            }
        }
        connection.awaitClose();
    } ) );
    addressIs( peer.path() );
    timeoutIs( GetParam() );
    ASSERT_EQ( socket_.setup(), 0 );
    EXPECT_EQ( call( "a" ), "ETIMEDOUT" );
    timeoutIs( 0 );
    EXPECT_EQ( call( "b" ), "reply to b" );
    EXPECT_EQ( peer.frames(), 2 );
}

// Replies nobody asked for

TEST_F( PLSocketTest, TwoRepliesAtOnce ) {
    SocketPeer peer( firstThenAnswer( []( Connection &connection ) {
        std::string message;
        connection.readFrame( message );
        connection.send( common::framed( replyMessage( "first" ) ) +
                         common::framed( replyMessage( "surplus" ) ) );
        connection.awaitClose();
    } ) );
    addressIs( peer.path() );
    EXPECT_EQ( call( "a" ), "first" );
    EXPECT_EQ( call( "b" ), "reply to b" );
    EXPECT_EQ( peer.connections(), 2 );
    EXPECT_EQ( peer.frames(), 2 );
}

TEST_F( PLSocketTest, SecondReplyAfterTheFirstWasTaken ) {
    Event firstTaken, surplusSent;
    SocketPeer peer( firstThenAnswer( [ & ]( Connection &connection ) {
        std::string message;
        connection.readFrame( message );
        connection.sendFrame( replyMessage( "first" ) );
        EXPECT_TRUE( firstTaken.wait() );
        connection.sendFrame( replyMessage( "surplus" ) );
        surplusSent.set();
        connection.awaitClose();
    } ) );
    addressIs( peer.path() );
    EXPECT_EQ( call( "a" ), "first" );
    firstTaken.set();
    EXPECT_TRUE( surplusSent.wait() );
    EXPECT_EQ( call( "b" ), "reply to b" );
    EXPECT_EQ( peer.connections(), 2 );
    EXPECT_EQ( peer.frames(), 2 );
}

TEST_F( PLSocketTest, UnaskedBytesBeforeTheFirstRequest ) {
    Event greeted;
    SocketPeer peer( firstThenAnswer( [ & ]( Connection &connection ) {
        connection.sendFrame( replyMessage( "welcome" ) );
        greeted.set();
        connection.awaitClose();
    } ) );
    addressIs( peer.path() );
    ASSERT_EQ( socket_.setup(), 0 );
    EXPECT_TRUE( greeted.wait() );
    EXPECT_EQ( call( "a" ), "reply to a" );
    EXPECT_EQ( peer.connections(), 2 );
}

// Signals

void ignoreSignal( int ) {}

class InterruptedTest : public PLSocketTest {
  protected:
    void SetUp() override {
        PLSocketTest::SetUp();
        struct sigaction action = {};
        action.sa_handler = ignoreSignal; // without SA_RESTART: system calls end with EINTR
        ASSERT_EQ( sigaction( SIGUSR1, &action, nullptr ), 0 );
    }
    /** Interrupts this thread from the peer's, each time it has gone to sleep. */
    void interruptClient() {
        for ( int times = 0; times < 5; ++times ) {
            support::waitUntilAsleep( client_ );
            pthread_kill( clientHandle_, SIGUSR1 );
        }
    }

  private:
    const int client_ = support::currentThread();
    const pthread_t clientHandle_ = pthread_self();
};

TEST_F( InterruptedTest, WaitingForTheReply ) {
    SocketPeer peer( [ this ]( Connection &connection ) {
        std::string message;
        connection.readFrame( message );
        interruptClient();
        connection.sendFrame( replyMessage( "undisturbed" ) );
        connection.awaitClose();
    } );
    addressIs( peer.path() );
    ASSERT_EQ( socket_.setup(), 0 );
    EXPECT_EQ( call( "a" ), "undisturbed" );
    EXPECT_EQ( peer.frames(), 1 );
}

TEST_F( InterruptedTest, WaitingToSend ) {
    SocketPeer peer( [ this ]( Connection &connection ) {
        interruptClient();
        answerAll( connection );
    } );
    addressIs( peer.path() );
    ASSERT_EQ( socket_.setup(), 0 );
    const std::string data( oneMebibyte - 100, 'd' );
    EXPECT_EQ( call( data ), "reply to " + data );
    EXPECT_EQ( peer.frames(), 1 );
}

// Cost

TEST_F( PLSocketTest, WarmCallAllocatesNothing ) {
    const std::string reply = common::framed( replyMessage( std::string( 64, 'r' ) ) );
    SocketPeer peer( [ & ]( Connection &connection ) {
        std::string message;
        while ( connection.readFrame( message ) ) {
            connection.send( reply );
        }
    } );
    addressIs( peer.path() );
    const auto transaction = writeOf( std::string( 32, 'd' ) );
    Smbus::TransactionResponse answer;
    ASSERT_EQ( socket_.sendRequestWait( &transaction, &answer ), 0 );

    int failures = 0;
    const support::AllocationCounter allocations;
    for ( int call = 0; call < 100; ++call ) {
        failures += socket_.sendRequestWait( &transaction, &answer ) != 0;
    }
    EXPECT_EQ( allocations.count(), 0u );
    EXPECT_EQ( failures, 0 );
}

TEST_F( PLSocketTest, AllocationsAreCounted ) {
    const support::AllocationCounter allocations;
    std::string *text = new std::string( 100, 'x' );
    delete text;
    EXPECT_EQ( allocations.count(), 2u );
}

} // namespace
