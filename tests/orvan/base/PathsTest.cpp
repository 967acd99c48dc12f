#include "orvan/base/Paths.h"

#include <cstdlib>
#include <string>

#include <gmock/gmock.h>

namespace {

namespace fs = std::filesystem;

TEST( Paths, TheProgramsFolderIsTheOneOfTheRunningProgram ) {
    EXPECT_EQ( fs::canonical( orvan::ownFolder() ), fs::canonical( ORVAN_BIN_DIR ) );
}

TEST( Paths, TheDefaultLibraryIsTheOneOfTheSameBuild ) {
    EXPECT_EQ( fs::canonical( orvan::defaultLibraryPath() ),
               fs::canonical( ORVAN_LIB_DIR "/libOrvanDriversMirelund.so" ) );
}

TEST( Paths, TheDefaultServiceIsBesideTheProgram ) {
    EXPECT_EQ( fs::path( orvan::defaultServicePath() ), orvan::ownFolder() / "smbusd" );
}

TEST( Paths, TheSocketIsTheOneOfTheEnvironment ) {
    ::setenv( "PL_SMBUS_SOCKET", "/a/b.sock", 1 );
    EXPECT_EQ( orvan::socketPath(), "/a/b.sock" );
    ::unsetenv( "PL_SMBUS_SOCKET" );
}

TEST( Paths, WithoutOneInTheEnvironmentTheSocketIsTheServicesOwnDefault ) {
    ::unsetenv( "PL_SMBUS_SOCKET" );
    EXPECT_EQ( orvan::socketPath(), "/run/smbusd.sock" );
    ::setenv( "PL_SMBUS_SOCKET", "", 1 );
    EXPECT_EQ( orvan::socketPath(), "/run/smbusd.sock" );
    ::unsetenv( "PL_SMBUS_SOCKET" );
}

} // namespace
