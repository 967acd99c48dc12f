#include "orvan/commands/Command.h"

namespace orvan {

Commands boardCommands() {
    Commands commands;
    commands.push_back( showCommand() );
    commands.push_back( getCommand() );
    commands.push_back( setCommand() );
    commands.push_back( expectCommand() );
    commands.push_back( waitCommand() );
    commands.push_back( smbusCommand() );
    commands.push_back( poweroffCommand() );
    commands.push_back( powercycleCommand() );
    return commands;
}

CommandLine::CommandLine( CLI::App &app, Commands &commands ) {
    for ( const auto &command : commands ) {
        defined_.emplace_back( command->define( app ), command.get() );
    }
}

Command *CommandLine::chosen() const {
    for ( const auto &[ app, command ] : defined_ ) {
        if ( app->parsed() ) {
            return command;
        }
    }
    return nullptr;
}

} // namespace orvan
