#include "smbusd/service/ListenSocket.h"

#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "common/TemporaryFolder.h"
#include "tests/support/SmbusClient.h"

namespace {

using smbusd::ListenError;
using smbusd::ListenSocket;

bool exists( const std::string &path ) {
    return std::filesystem::exists( std::filesystem::symlink_status( path ) );
}

mode_t modeOf( const std::string &path ) {
    struct stat status {};
    ::stat( path.c_str(), &status );
    return status.st_mode & 0777;
}

std::string messageOf( const std::string &path ) {
    try {
        ListenSocket socket( path, 0600 );
    } catch ( const ListenError &error ) {
        return error.what();
    }
    return "no error";
}

class ListenSocketFile : public testing::Test {
  protected:
    common::TemporaryFolder folder;
    std::string path = folder.file( "s.sock" );
};

TEST_F( ListenSocketFile, IsThereWithItsModeAndGoneAtTheEnd ) {
    {
        ListenSocket socket( path, 0600 );
        EXPECT_EQ( modeOf( path ), 0600u );
        test::RawClient client( path ); // somebody listens
    }
    EXPECT_FALSE( exists( path ) );
    ::umask( 0077 );
    const ListenSocket group( path, 0660 );
    EXPECT_EQ( modeOf( path ), 0660u );
}

TEST_F( ListenSocketFile, StaysWhileTheDescriptorIsElsewhere ) {
    auto socket = std::make_unique<ListenSocket>( path, 0600 );
    const int fd = socket->release();
    EXPECT_TRUE( exists( path ) );
    socket.reset();
    EXPECT_FALSE( exists( path ) );
    EXPECT_EQ( ::close( fd ), 0 );
}

TEST_F( ListenSocketFile, IsRefusedToASecondListener ) {
    const ListenSocket first( path, 0600 );
    EXPECT_EQ( messageOf( path ), path + ": another service listens on it" );
    test::RawClient client( path ); // the first is unharmed
}

TEST_F( ListenSocketFile, IsReplacedWhenNobodyListensAnyMore ) {
    std::filesystem::create_directory( folder.file( "d" ) );
    const std::string stale = folder.file( "d/s.sock" );
    {
        ListenSocket gone( stale, 0600 );
        std::filesystem::rename( stale, path ); // so that its end does not remove it
    }
    ASSERT_TRUE( exists( path ) );
    const ListenSocket socket( path, 0600 );
    test::RawClient client( path );
}

TEST_F( ListenSocketFile, IsNotRemovedWhenItIsAnothers ) {
    {
        ListenSocket first( path, 0600 );
        std::filesystem::remove( path );
        folder.write( "s.sock", "not a socket" );
    }
    EXPECT_TRUE( exists( path ) );
}

TEST_F( ListenSocketFile, IsNoOrdinaryFile ) {
    folder.write( "s.sock", "precious" );
    EXPECT_EQ( messageOf( path ), path + ": is there, and is not a socket" );
    EXPECT_TRUE( exists( path ) );
}

TEST_F( ListenSocketFile, NeedsAPathThatFitsAnAddress ) {
    const std::string endless = folder.file( std::string( 200, 'x' ) );
    EXPECT_EQ( messageOf( endless ), endless + ": a socket's path has 1 to 107 characters" );
    EXPECT_EQ( messageOf( "" ), ": a socket's path has 1 to 107 characters" );
    const std::string nowhere = folder.file( "no/s.sock" );
    EXPECT_EQ( messageOf( nowhere ), folder.file( "no" ) +
                                         ": the socket's folder cannot be locked: "
                                         "No such file or directory" );
}

class InheritedSockets : public testing::Test {
  protected:
    /** Puts a listening socket on a descriptor, as a service manager would. */
    void provide( int descriptor, const std::string &path ) {
        ListenSocket socket( path, 0600 );
        const int fd = socket.release();
        if ( fd != descriptor ) {
            ASSERT_EQ( ::dup2( fd, descriptor ), descriptor );
            ::close( fd );
        }
    }
    void announce( const std::string &count, const char *names = nullptr ) {
        ::setenv( "LISTEN_PID", std::to_string( ::getpid() ).c_str(), 1 );
        ::setenv( "LISTEN_FDS", count.c_str(), 1 );
        if ( names != nullptr ) {
            ::setenv( "LISTEN_FDNAMES", names, 1 );
        }
    }
    common::TemporaryFolder folder;
};

TEST_F( InheritedSockets, AreNoneUnlessAnnouncedToThisProcess ) {
    EXPECT_EQ( smbusd::inheritedSockets().service, -1 );
    announce( "1" );
    ::setenv( "LISTEN_PID", "1", 1 );
    EXPECT_EQ( smbusd::inheritedSockets().service, -1 );
}

TEST_F( InheritedSockets, FirstServesClientsSecondControls ) {
    provide( 4, folder.file( "b" ) );
    provide( 3, folder.file( "a" ) );
    announce( "2" );
    const auto sockets = smbusd::inheritedSockets();
    EXPECT_EQ( sockets.service, 3 );
    EXPECT_EQ( sockets.control, 4 );
    EXPECT_EQ( ::getenv( "LISTEN_FDS" ), nullptr ); // not meant for programs started from here
}

TEST_F( InheritedSockets, NamesSayWhichIsWhich ) {
    provide( 4, folder.file( "b" ) );
    provide( 3, folder.file( "a" ) );
    announce( "2", "control:smbusd" );
    const auto sockets = smbusd::inheritedSockets();
    EXPECT_EQ( sockets.control, 3 );
    EXPECT_EQ( sockets.service, 4 );
}

TEST_F( InheritedSockets, MustBeListeningSockets ) {
    const int pipeEnd = ::open( "/dev/null", O_RDONLY );
    ASSERT_EQ( ::dup2( pipeEnd, 3 ), 3 );
    announce( "1" );
    try {
        smbusd::inheritedSockets();
        FAIL() << "accepted";
    } catch ( const ListenError &error ) {
        EXPECT_EQ( std::string( error.what() ),
                   "inherited descriptor 3: not a listening UNIX stream socket" );
    }
}

} // namespace
