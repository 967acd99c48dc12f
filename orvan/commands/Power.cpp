#include <fmt/core.h>
#include <pl/system.h>

#include "orvan/commands/Command.h"
#include "orvan/text/Status.h"

namespace orvan {

namespace {

class Power : public Command {
  public:
    using Entry = pl_status ( *pl_system_ops::* )( pl_system * );

    Power( const char *name, const char *help, Entry entry )
        : name_( name ), help_( help ), entry_( entry ) {}

    CLI::App *define( CLI::App &app ) override {
        CLI::App *command = app.add_subcommand( name_, help_ );
        command->add_flag( "--yes", yes_, "Really do it" );
        return command;
    }

    ExitCode run( Session &session, const Streams &streams ) override {
        if ( !yes_ ) {
            throw BadInput(
                fmt::format( "{} takes the whole board down; say --yes to do it", name_ ) );
        }
        auto *system = static_cast<pl_system *>( session.onlyOne( systemKind ).record );
        const pl_status status =
            session.guarded( [ & ] { return call( system->ops, entry_, system ); } );
        if ( status != PL_STATUS_OK ) {
            streams.error << fmt::format( "{}: {}\n", name_, statusName( status ) );
            return ExitCode::Failed;
        }
        return ExitCode::Ok;
    }

  private:
    const char *name_;
    const char *help_;
    Entry entry_;
    bool yes_ = false;
};

} // namespace

std::unique_ptr<Command> poweroffCommand() {
    return std::make_unique<Power>( "poweroff", "Switch the board off", &pl_system_ops::poweroff );
}

std::unique_ptr<Command> powercycleCommand() {
    return std::make_unique<Power>( "powercycle", "Switch the board off and on again",
                                    &pl_system_ops::powercycle );
}

} // namespace orvan
