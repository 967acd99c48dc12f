#include <gmock/gmock.h>

#include "tests/orvan/fakes/FakeBoard.h"

namespace {

using orvan::ExitCode;
using testing::HasSubstr;

class ShellTest : public testing::Test {
  protected:
    ShellTest() { board_.add( "gpio", "line" ); }
    test::FakeBoard board_;
    FakeState &state_ = board_.state();
};

TEST_F( ShellTest, RunsLinesOnOneAndTheSameBoard ) {
    const test::Outcome outcome =
        board_.shell( "\n# a comment\n  get line  \r\nset line on\nquit\nget line\n" );
    EXPECT_EQ( outcome.code, ExitCode::Ok );
    EXPECT_EQ( outcome.output, "0\n" );
    EXPECT_EQ( state_.calls.size(), 4u ) << "initialised and added once, read, set";
}

TEST_F( ShellTest, StopsAtTheFirstFailure ) {
    const test::Outcome outcome = board_.shell( "get lane\nget line\n" );
    EXPECT_EQ( outcome.code, ExitCode::BadInput );
    EXPECT_EQ( outcome.output, "" );
    EXPECT_EQ( outcome.errors,
               "error: the board has no peripheral \"lane\"\nstopped at: get lane\n" );
}

TEST_F( ShellTest, GoesOnIfTold ) {
    const test::Outcome outcome = board_.shell( "expect line 1\nget line\n", true );
    EXPECT_EQ( outcome.code, ExitCode::Failed );
    EXPECT_EQ( outcome.output, "0\n" );
}

TEST_F( ShellTest, UnknownCommandsAreBadInput ) {
    EXPECT_EQ( board_.run( "paint line" ).code, ExitCode::BadInput );
    EXPECT_EQ( board_.run( "get" ).code, ExitCode::BadInput );
}

TEST_F( ShellTest, HelpListsTheCommands ) {
    const test::Outcome outcome = board_.shell( "help\nget --help\n" );
    EXPECT_EQ( outcome.code, ExitCode::Ok );
    for ( const char *command :
          { "show", "get", "set", "expect", "wait", "smbus", "poweroff", "powercycle" } ) {
        EXPECT_THAT( outcome.output, HasSubstr( command ) );
    }
}

TEST_F( ShellTest, LinesWithAnExclamationMarkAreForTheSystemsShell ) {
    EXPECT_EQ( board_.shell( "! true\n" ).code, ExitCode::Ok );
    const test::Outcome failed = board_.shell( "! exit 3\nget line\n" );
    EXPECT_EQ( failed.code, ExitCode::Failed );
    EXPECT_EQ( failed.errors, "the command ended with 3\nstopped at: ! exit 3\n" );
    const test::Outcome killed = board_.shell( "! kill -9 $$\n" );
    EXPECT_EQ( killed.code, ExitCode::Failed );
    EXPECT_EQ( killed.errors,
               "the command could not be run to its end\nstopped at: ! kill -9 $$\n" );
}

TEST_F( ShellTest, BothWordsForItEndIt ) {
    for ( const std::string word : { "quit", "exit" } ) {
        const test::Outcome outcome = board_.shell( word + "\nget line\n" );
        EXPECT_EQ( outcome.code, ExitCode::Ok );
        EXPECT_EQ( outcome.output, "" ) << word;
    }
}

TEST_F( ShellTest, TheLastFailureIsTheResult ) {
    EXPECT_EQ( board_.shell( "get lane\nexpect line 1\nget line\n", true ).code, ExitCode::Failed );
    EXPECT_EQ( board_.shell( "expect line 1\nget lane\nget line\n", true ).code,
               ExitCode::BadInput );
}

TEST_F( ShellTest, AFailedAddFailsTheLine ) {
    board_.add( "gpio", "gone", R"({"name":"null"})" );
    const test::Outcome outcome = board_.shell( "get gone\n" );
    EXPECT_EQ( outcome.code, ExitCode::Failed );
    EXPECT_EQ( outcome.errors,
               "error: gone could not be added: pl_gpio_add answered null (the library's last "
               "trace: there is no such device)\nstopped at: get gone\n" );
}

TEST_F( ShellTest, TheLastLineNeedsNoEnd ) {
    EXPECT_EQ( board_.shell( "get line" ).output, "0\n" );
    EXPECT_EQ( board_.shell( "" ).code, ExitCode::Ok );
}

TEST_F( ShellTest, EchoShowsEachCommandBeforeItsOutput ) {
    std::istringstream in( "# not this\nget line\n! true\nquit\n" );
    std::ostringstream out;
    CLI::App app;
    const std::unique_ptr<orvan::Command> command = orvan::shellCommand();
    command->define( app );
    app.parse( "shell --echo" );
    EXPECT_EQ( command->run( board_.session(), { in, out, out } ), ExitCode::Ok );
    EXPECT_EQ( out.str(), "orvan> get line\n0\norvan> ! true\n" );
}

} // namespace
