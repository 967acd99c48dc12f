#include "OrvanGeneric/Shell.h"

#include <cstdio>
#include <ctime>
#include <sys/resource.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/AllocationFailure.h"

namespace {

// runCmd: with real commands, as nothing else shows how the shell and timeout(1) answer.

constexpr unsigned ample = 30; // seconds

TEST( RunCmd, CollectsStandardOutput ) {
    std::string output = "old";
    EXPECT_EQ( Drivers::runCmd( "echo hi", output, ample ), PL_STATUS_OK );
    EXPECT_EQ( output, "hi\n" );
}

TEST( RunCmd, StandardErrorIsNotCollected ) {
    std::string output;
    EXPECT_EQ( Drivers::runCmd( "sh -c 'echo hi >&2' 2>/dev/null", output, ample ), PL_STATUS_OK );
    EXPECT_EQ( output, "" );
}

TEST( RunCmd, TheShellInterpretsTheCommand ) {
    std::string output;
    EXPECT_EQ( Drivers::runCmd( "echo hi | tr h j; echo there", output, ample ), PL_STATUS_OK );
    EXPECT_EQ( output, "ji\nthere\n" );
}

TEST( RunCmd, LinesLongerThanItsBufferArriveWhole ) {
    for ( const unsigned length : { 126, 127, 128, 129, 254, 255, 1000 } ) {
        const std::string digits( length, '7' );
        std::string output;
        EXPECT_EQ( Drivers::runCmd( ( "echo " + digits + "; echo end" ).c_str(), output, ample ),
                   PL_STATUS_OK );
        EXPECT_EQ( output, digits + "\nend\n" ) << length;
    }
}

TEST( RunCmd, OutputWithoutANewlineAtItsEndIsWhole ) {
    std::string output;
    EXPECT_EQ( Drivers::runCmd( "printf 'one\\ntwo'", output, ample ), PL_STATUS_OK );
    EXPECT_EQ( output, "one\ntwo" );
}

TEST( RunCmd, ExitCodesTellTheStatus ) {
    const struct {
        const char *command;
        pl_status status;
    } cases[] = {
        { "true", PL_STATUS_OK },
        { "false", PL_STATUS_FAILED },
        { "sh -c 'exit 2'", PL_STATUS_FAILED },
        { "sh -c 'exit 123'", PL_STATUS_FAILED },
        { "sh -c 'exit 124'", PL_STATUS_TRANSPORT },
        { "sh -c 'exit 125'", PL_STATUS_FAILED },
        { "sh -c 'exit 255'", PL_STATUS_FAILED },
        { "/nonexistent/command 2>/dev/null", PL_STATUS_FAILED },
    };
    for ( const auto &[ command, status ] : cases ) {
        std::string output = "old";
        EXPECT_EQ( Drivers::runCmd( command, output, ample ), status ) << command;
        EXPECT_EQ( output, "" ) << command;
    }
}

TEST( RunCmd, FailingCommandsOutputIsKept ) {
    std::string output;
    EXPECT_EQ( Drivers::runCmd( "sh -c 'echo part; exit 3'", output, ample ), PL_STATUS_FAILED );
    EXPECT_EQ( output, "part\n" );
}

TEST( RunCmd, CommandEndedByASignalFails ) {
    std::string output;
    EXPECT_EQ( Drivers::runCmd( "sh -c 'echo part; kill -TERM $$'", output, ample ),
               PL_STATUS_FAILED );
    EXPECT_EQ( output, "part\n" );
}

TEST( RunCmd, ShellEndedByASignalFails ) {
    std::string output;
    EXPECT_EQ( Drivers::runCmd( "echo part; kill -KILL $$", output, ample ), PL_STATUS_FAILED );
    EXPECT_EQ( output, "part\n" );
}

TEST( RunCmd, TimeLimitStrikes ) {
    std::string output;
    timespec before, after;
    clock_gettime( CLOCK_MONOTONIC, &before );
    EXPECT_EQ( Drivers::runCmd( "sh -c 'echo part; sleep 50'", output, 1 ), PL_STATUS_TRANSPORT );
    clock_gettime( CLOCK_MONOTONIC, &after );
    EXPECT_EQ( output, "part\n" );
    // Less than the command itself would take; how much longer than the limit is up to the machine.
    EXPECT_GE( after.tv_sec - before.tv_sec, 1 );
    EXPECT_LT( after.tv_sec - before.tv_sec, 40 );
}

TEST( RunCmd, NullCommandFails ) {
    std::string output = "old";
    const int standardError = dup( STDERR_FILENO );
    std::freopen( "/dev/null", "w", stderr ); // where timeout(1) would tell its usage
    EXPECT_EQ( Drivers::runCmd( nullptr, output, ample ), PL_STATUS_FAILED );
    dup2( standardError, STDERR_FILENO );
    EXPECT_EQ( output, "" );
}

TEST( RunCmd, CommandThatCannotBeStartedFails ) {
    rlimit files;
    getrlimit( RLIMIT_NOFILE, &files );
    const rlimit none = { 0, files.rlim_max };
    setrlimit( RLIMIT_NOFILE, &none );
    std::string output = "old";
    EXPECT_EQ( Drivers::runCmd( "echo hi", output, ample ), PL_STATUS_FAILED );
    setrlimit( RLIMIT_NOFILE, &files );
    EXPECT_EQ( output, "" );
}

TEST( RunCmd, OutputBeyondTheMemoryEndsTheCommandAndFails ) {
    std::string output;
    const AllocationFailure failure( 1u << 20 );
    EXPECT_EQ( Drivers::runCmd( "yes", output, ample ), PL_STATUS_FAILED );
    EXPECT_TRUE( failure.happened() );
    EXPECT_EQ( output.substr( 0, 6 ), "y\ny\ny\n" );
}

// shellQuote

TEST( ShellQuote, QuotesTheWordAndItsQuotes ) {
    EXPECT_EQ( Drivers::shellQuote( "psu1" ), "'psu1'" );
    EXPECT_EQ( Drivers::shellQuote( "" ), "''" );
    EXPECT_EQ( Drivers::shellQuote( "it's" ), "'it'\\''s'" );
    EXPECT_EQ( Drivers::shellQuote( std::string( "a\0b", 3 ) ), "'ab'" );
}

TEST( ShellQuote, TheShellGivesBackTheVeryText ) {
    const std::string texts[] = {
        "",          "a b",      "'",         "''; echo pwned; '",
        "$(echo x)", "`echo x`", "$HOME \\",  "\"quoted\" *",
        "\t\n x\n",  "-n",       "# & | > <", "\xC3\xA9",
    };
    for ( const std::string &text : texts ) {
        std::string output;
        EXPECT_EQ( Drivers::runCmd( ( "printf %s: " + Drivers::shellQuote( text ) ).c_str(), output,
                                    ample ),
                   PL_STATUS_OK );
        EXPECT_EQ( output, text + ":" );
    }
}

} // namespace
