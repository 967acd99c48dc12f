#include "orvan/commands/Command.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;

TEST( Command, TheCommandsComeInTheOrderOfTheHelp ) {
    CLI::App app;
    std::vector<std::string> names;
    const orvan::Commands commands = orvan::boardCommands();
    for ( const auto &command : commands ) {
        names.push_back( command->define( app )->get_name() );
    }
    EXPECT_THAT( names, ElementsAre( "show", "get", "set", "expect", "wait", "smbus", "poweroff",
                                     "powercycle" ) );
}

TEST( Command, TheShellIsNoBoardCommand ) {
    CLI::App app;
    EXPECT_EQ( orvan::shellCommand()->define( app )->get_name(), "shell" );
}

TEST( CommandLine, TheCommandThatWasGivenIsChosen ) {
    CLI::App app;
    orvan::Commands commands = orvan::boardCommands();
    const orvan::CommandLine line( app, commands );
    app.parse( "wait 1" );
    EXPECT_EQ( line.chosen(), commands[ 4 ].get() );
}

TEST( CommandLine, WithoutACommandNoneIsChosen ) {
    CLI::App app;
    orvan::Commands commands = orvan::boardCommands();
    const orvan::CommandLine line( app, commands );
    EXPECT_EQ( line.chosen(), nullptr ) << "nothing has been parsed";
    app.parse( "" );
    EXPECT_EQ( line.chosen(), nullptr );
}

} // namespace
