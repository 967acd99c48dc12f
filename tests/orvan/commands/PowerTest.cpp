#include <gmock/gmock.h>

#include "tests/orvan/fakes/FakeBoard.h"

namespace {

using orvan::ExitCode;
using testing::Contains;
using testing::IsEmpty;

TEST( Power, NothingHappensWithoutYes ) {
    test::FakeBoard board;
    board.add( "system", "power" );
    for ( const std::string command : { "poweroff", "powercycle" } ) {
        const test::Outcome outcome = board.run( command );
        EXPECT_EQ( outcome.code, ExitCode::BadInput );
        EXPECT_EQ( outcome.errors,
                   "error: " + command + " takes the whole board down; say --yes to do it\n" );
    }
    EXPECT_THAT( board.state().calls, IsEmpty() );
}

TEST( Power, WithYesTheSystemIsAsked ) {
    test::FakeBoard board;
    board.add( "system", "power" );
    for ( const std::string command : { "poweroff", "powercycle" } ) {
        EXPECT_EQ( board.run( command + " --yes" ).code, ExitCode::Ok );
        EXPECT_THAT( board.state().calls, Contains( command ) );
    }
}

TEST( Power, AFailureIsShown ) {
    test::FakeBoard board;
    board.add( "system", "power" );
    board.state().status = PL_STATUS_TRANSPORT;
    const test::Outcome outcome = board.run( "poweroff --yes" );
    EXPECT_EQ( outcome.code, ExitCode::Failed );
    EXPECT_EQ( outcome.errors, "poweroff: transport\n" );
}

TEST( Power, ABoardWithoutASystemCannot ) {
    test::FakeBoard board;
    board.add( "gpio", "line" );
    const test::Outcome outcome = board.run( "poweroff --yes" );
    EXPECT_EQ( outcome.code, ExitCode::BadInput );
    EXPECT_EQ( outcome.errors, "error: the board lists no peripheral of kind \"system\"\n" );
}

TEST( Power, WhatTheLibraryThrowsIsAFailure ) {
    test::FakeBoard board;
    board.add( "system", "power" );
    board.state().throwOnCall = true;
    const test::Outcome outcome = board.run( "powercycle --yes" );
    EXPECT_EQ( outcome.code, ExitCode::Failed );
    EXPECT_EQ( outcome.errors,
               "error: the library threw fake::FakeNotImplemented: Not implemented powercycle\n" );
}

TEST( Power, AnEmptyTableIsUnsupported ) {
    test::FakeBoard board;
    board.state().shortTables = true;
    board.add( "system", "power" );
    const test::Outcome outcome = board.run( "poweroff --yes" );
    EXPECT_EQ( outcome.code, ExitCode::Failed );
    EXPECT_EQ( outcome.errors, "poweroff: unsupported\n" );
}

} // namespace
