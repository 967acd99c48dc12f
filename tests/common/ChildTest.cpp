#include "common/Child.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include <gmock/gmock.h>

#include "common/Descriptor.h"
#include "common/TemporaryFolder.h"

namespace {

using common::Child;
using common::ChildEnd;
using common::ChildOptions;
using common::makePipe;
using common::Pipe;
using std::chrono::milliseconds;
using testing::ThrowsMessage;

bool lives( pid_t pid ) {
    return ::kill( pid, 0 ) == 0;
}

/** A shell's script as a child. */
std::vector<std::string> shell( const std::string &script ) {
    return { "sh", "-c", script };
}

/** What a script prints when it is started with @p options. */
std::string outputOf( const std::string &script, ChildOptions options = {} ) {
    Pipe output = makePipe();
    options.descriptors.emplace_back( STDOUT_FILENO, output.writeEnd.get() );
    Child child( shell( script ), options );
    output.writeEnd.close();
    const std::string text = common::readAll( output.readEnd );
    EXPECT_TRUE( child.wait().good() );
    return text;
}

TEST( ChildEnd, IsToldInWords ) {
    EXPECT_EQ( ( ChildEnd{ 3, 0 } ).text(), "ended with 3" );
    EXPECT_EQ( ( ChildEnd{ -1, SIGKILL } ).text(), "was ended by signal 9" );
    EXPECT_TRUE( ( ChildEnd{ 0, 0 } ).good() );
    EXPECT_FALSE( ( ChildEnd{ 3, 0 } ).good() );
    EXPECT_FALSE( ( ChildEnd{ -1, SIGKILL } ).good() );
}

TEST( Child, ItsEndIsCollected ) {
    Child child( shell( "exit 3" ) );
    EXPECT_GT( child.pid(), 0 );
    const ChildEnd end = child.wait();
    EXPECT_EQ( end.exitCode, 3 );
    EXPECT_EQ( end.signal, 0 );
    EXPECT_EQ( child.pid(), -1 );
    Child killed( shell( "kill -9 $$" ) );
    EXPECT_EQ( killed.wait().signal, SIGKILL );
}

TEST( Child, GetsItsArgumentsAsTheyAre ) {
    Pipe output = makePipe();
    ChildOptions options;
    options.descriptors = { { STDOUT_FILENO, output.writeEnd.get() } };
    Child child( { "printf", "<%s>", "a b", "", "$HOME" }, options );
    output.writeEnd.close();
    EXPECT_EQ( common::readAll( output.readEnd ), "<a b><><$HOME>" );
}

TEST( Child, WhatCannotBeStartedIsNamed ) {
    EXPECT_THAT(
        [] {
            Child child( { "/nonexistent/program", "x" } );
        },
        ThrowsMessage<std::system_error>(
            "cannot start /nonexistent/program: No such file or directory" ) );
    EXPECT_THAT( [] { Child child( { "/dev/null" } ); },
                 ThrowsMessage<std::system_error>( "cannot start /dev/null: Permission denied" ) );
    ChildOptions nowhere;
    nowhere.folder = "/nonexistent";
    EXPECT_THAT(
        [ & ] { Child child( { "true" }, nowhere ); },
        ThrowsMessage<std::system_error>( "cannot start true: No such file or directory" ) );
    EXPECT_EQ( ::waitpid( -1, nullptr, WNOHANG ), -1 ); // none is left to be collected
}

TEST( Child, StartsInItsFolder ) {
    const common::TemporaryFolder folder;
    ChildOptions options;
    options.folder = folder.path();
    EXPECT_EQ( outputOf( "pwd", options ), folder.path() + "\n" );
}

TEST( Child, ItsEnvironmentIsThisOneWithChanges ) {
    ::setenv( "COMMON_KEPT", "kept", 1 );
    ::setenv( "COMMON_CHANGED", "before", 1 );
    ChildOptions options;
    options.environment = { "COMMON_CHANGED=after=1", "COMMON_NEW=" };
    EXPECT_EQ( outputOf( "echo $COMMON_KEPT $COMMON_CHANGED ${COMMON_NEW-unset}.", options ),
               "kept after=1 .\n" );
    EXPECT_STREQ( ::getenv( "COMMON_CHANGED" ), "before" );
}

TEST( Child, GetsItsDescriptorsUnderTheirNumbers ) {
    // Each other's numbers: a careless dup2 would overwrite one before it is moved.
    std::array<Pipe, 2> pipes = { makePipe(), makePipe() };
    const int first = pipes[ 0 ].writeEnd.get();
    const int second = pipes[ 1 ].writeEnd.get();
    ChildOptions options;
    options.descriptors = { { first, second }, { second, first } };
    const auto echo = []( const std::string &word, int to ) {
        return "echo " + word + " > /proc/self/fd/" + std::to_string( to ) + ";";
    };
    Child child( shell( echo( "one", first ) + echo( "two", second ) ), options );
    for ( Pipe &pipe : pipes ) {
        pipe.writeEnd.close();
    }
    EXPECT_EQ( common::readAll( pipes[ 0 ].readEnd ), "two\n" );
    EXPECT_EQ( common::readAll( pipes[ 1 ].readEnd ), "one\n" );
    EXPECT_TRUE( child.wait().good() );
}

TEST( Child, ADescriptorMayKeepItsNumber ) {
    Pipe pipe = makePipe();
    const int number = pipe.writeEnd.get();
    ChildOptions options;
    options.descriptors = { { number, number } };
    Child child( shell( "echo here > /proc/self/fd/" + std::to_string( number ) ), options );
    pipe.writeEnd.close();
    EXPECT_EQ( common::readAll( pipe.readEnd ), "here\n" );
}

TEST( Child, ADescriptorThatIsNotOpenIsAnError ) {
    ChildOptions options;
    options.descriptors = { { 5, 1000000 } };
    EXPECT_THAT( [ & ] { Child child( { "true" }, options ); },
                 ThrowsMessage<std::system_error>( "cannot start true: Bad file descriptor" ) );
}

TEST( Child, StartsWithNoSignalBlockedAndIgnoresWhatThisOneIgnores ) {
    sigset_t blocked;
    sigset_t before;
    sigemptyset( &blocked );
    sigaddset( &blocked, SIGUSR1 );
    ::sigprocmask( SIG_BLOCK, &blocked, &before );
    ::signal( SIGUSR2, SIG_IGN );
    ::signal( SIGHUP, []( int ) {} );
    // proc(5): masks of signals, in hexadecimal, signal 1 lowest.
    const std::string masks = outputOf( "grep -E 'SigBlk|SigCgt' /proc/self/status; "
                                        "trap '' USR2; kill -USR2 $$; echo ignored" );
    ::sigprocmask( SIG_SETMASK, &before, nullptr );
    EXPECT_THAT( masks, testing::HasSubstr( "SigBlk:\t0000000000000000\n" ) );
    EXPECT_THAT( masks, testing::HasSubstr( "ignored\n" ) );
    sigset_t here;
    ::sigprocmask( SIG_SETMASK, nullptr, &here );
    EXPECT_EQ( sigismember( &here, SIGUSR1 ), sigismember( &before, SIGUSR1 ) );
}

TEST( Child, EndsWithTheObject ) {
    pid_t pid = -1;
    {
        const Child child( shell( "exec sleep 1000" ) );
        pid = child.pid();
        EXPECT_TRUE( lives( pid ) );
    }
    EXPECT_FALSE( lives( pid ) );
}

TEST( Child, EndAsksPolitelyFirst ) {
    Pipe output = makePipe();
    ChildOptions options;
    options.descriptors = { { STDOUT_FILENO, output.writeEnd.get() } };
    options.endLimit = std::chrono::seconds( 30 );
    Child child( shell( "trap 'exit 5' TERM; echo ready; while :; do sleep 0.01; done" ), options );
    output.writeEnd.close();
    char line[ 6 ];
    ASSERT_EQ( ::read( output.readEnd.get(), line, sizeof( line ) ), 6 );
    EXPECT_EQ( child.end().exitCode, 5 );
    EXPECT_EQ( child.pid(), -1 );
    EXPECT_EQ( child.end().exitCode, -1 ); // nothing more to end
}

TEST( Child, WhoDoesNotEndIsKilled ) {
    ChildOptions options;
    options.endLimit = milliseconds( 0 );
    Pipe output = makePipe();
    options.descriptors = { { STDOUT_FILENO, output.writeEnd.get() } };
    Child child( shell( "trap '' TERM; echo ready; while :; do sleep 0.01; done" ), options );
    char line[ 6 ];
    ASSERT_EQ( ::read( output.readEnd.get(), line, sizeof( line ) ), 6 );
    EXPECT_EQ( child.end().signal, SIGKILL );
}

TEST( Child, TellsWhetherItRuns ) {
    Child child( shell( "exec sleep 1000" ) );
    EXPECT_TRUE( child.runs() );
    child.signal( SIGKILL );
    siginfo_t news{};
    ::waitid( P_PID, static_cast<id_t>( child.pid() ), &news, WEXITED | WNOWAIT );
    EXPECT_FALSE( child.runs() );
    EXPECT_EQ( child.pid(), -1 );
    EXPECT_FALSE( child.runs() );
    EXPECT_FALSE( Child().runs() );
}

TEST( Child, SignalsReachIt ) {
    Child child( shell( "kill -STOP $$; exit 0" ) );
    child.signal( SIGKILL );
    EXPECT_EQ( child.wait().signal, SIGKILL );
    child.signal( SIGKILL ); // there is none any more
}

TEST( Child, MovesWithItsOwner ) {
    Child first( shell( "exec sleep 1000" ) );
    const pid_t pid = first.pid();
    Child second( std::move( first ) );
    EXPECT_EQ( second.pid(), pid );
    Child third( shell( "exec sleep 1000" ) );
    const pid_t replaced = third.pid();
    third = std::move( second );
    EXPECT_EQ( third.pid(), pid );
    EXPECT_FALSE( lives( replaced ) );
    EXPECT_TRUE( lives( pid ) );
}

TEST( Child, LeadsAGroupOfItsOwnIfTold ) {
    ChildOptions options;
    options.ownGroup = true;
    const Child leader( shell( "exec sleep 1000" ), options );
    EXPECT_EQ( ::getpgid( leader.pid() ), leader.pid() );
    const Child member( shell( "exec sleep 1000" ) );
    EXPECT_EQ( ::getpgid( member.pid() ), ::getpgrp() );
}

TEST( Child, EndsWithItsParentHoweverThatEnds ) {
    Pipe pids = makePipe();
    const pid_t parent = ::fork();
    if ( parent == 0 ) {
        ChildOptions options;
        options.signalAtParentsEnd = SIGKILL;
        // It holds the pipe's end: whoever reads to the end has waited for its death.
        options.descriptors = { { pids.writeEnd.get(), pids.writeEnd.get() } };
        const Child child( shell( "exec sleep 1000" ), options );
        const pid_t pid = child.pid();
        static_cast<void>( !::write( pids.writeEnd.get(), &pid, sizeof( pid ) ) );
        ::raise( SIGKILL );
    }
    pids.writeEnd.close();
    EXPECT_EQ( common::readAll( pids.readEnd ).size(), sizeof( pid_t ) );
    EXPECT_EQ( ::waitpid( parent, nullptr, 0 ), parent );
}

} // namespace
