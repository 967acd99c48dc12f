#include "common/TemporaryFolder.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <gmock/gmock.h>

namespace {

using common::TemporaryFolder;
using testing::ThrowsMessage;
namespace fs = std::filesystem;

TEST( TemporaryFolder, IsThisUsersAndGoneWithAllThatIsInIt ) {
    std::string path;
    {
        const TemporaryFolder folder;
        path = folder.path();
        EXPECT_EQ( fs::status( path ).permissions(), fs::perms::owner_all );
        fs::create_directory( folder.file( "deep" ) );
        folder.write( "deep/file", "x" );
    }
    EXPECT_FALSE( fs::exists( path ) );
}

TEST( TemporaryFolder, IsMadeWhereTheEnvironmentSays ) {
    ::unsetenv( "TMPDIR" );
    EXPECT_THAT( TemporaryFolder().path(), testing::MatchesRegex( "/tmp/orvan-......" ) );
    ::setenv( "TMPDIR", "", 1 );
    const TemporaryFolder base( "base" );
    EXPECT_THAT( base.path(), testing::MatchesRegex( "/tmp/base-......" ) );
    ::setenv( "TMPDIR", base.path().c_str(), 1 );
    EXPECT_THAT( TemporaryFolder().path(), testing::StartsWith( base.path() + "/orvan-" ) );
    ::setenv( "TMPDIR", "/nonexistent", 1 );
    EXPECT_THAT( [] { TemporaryFolder folder; },
                 ThrowsMessage<std::system_error>( "cannot make a folder /nonexistent/orvan-"
                                                   "XXXXXX: No such file or directory" ) );
}

TEST( TemporaryFolder, FilesAreWrittenAndReadByteForByte ) {
    const TemporaryFolder folder;
    const std::string content( "a\r\n\0b", 5 );
    EXPECT_EQ( folder.write( "file", content ), folder.path() + "/file" );
    EXPECT_EQ( common::readFile( folder.file( "file" ) ), content );
    folder.write( "file", "" );
    EXPECT_EQ( common::readFile( folder.file( "file" ) ), "" );
}

TEST( TemporaryFolder, WhatCannotBeWrittenOrReadIsNamed ) {
    const TemporaryFolder folder;
    EXPECT_THAT( [ & ] { folder.write( "no/file", "x" ); },
                 ThrowsMessage<std::system_error>( "cannot write " + folder.file( "no/file" ) +
                                                   ": No such file or directory" ) );
    EXPECT_THAT( [ & ] { common::readFile( folder.file( "none" ) ); },
                 ThrowsMessage<std::system_error>( "cannot read " + folder.file( "none" ) +
                                                   ": No such file or directory" ) );
    EXPECT_THAT(
        [ & ] { common::readFile( folder.path() ); },
        ThrowsMessage<std::system_error>( "cannot read " + folder.path() + ": Is a directory" ) );
}

} // namespace
