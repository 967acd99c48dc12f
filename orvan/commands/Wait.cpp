#include "orvan/commands/Command.h"

#include <fmt/core.h>

#include <cmath>

namespace orvan {

namespace {

class Wait : public Command {
  public:
    CLI::App *define( CLI::App &app ) override {
        CLI::App *command = app.add_subcommand( "wait", "Let the library's timers run" );
        command->add_option( "seconds", seconds_, "For so long, fractions allowed" )
            ->check( CLI::Range( 0.0, 86400.0 ) );
        command->add_option( "--ticks", ticks_, "Until so many timers have fired" )
            ->check( CLI::Range( 1ul, 1000000ul ) );
        return command;
    }

    ExitCode run( Session &session, const Streams &streams ) override {
        HostServices &host = session.host();
        if ( ticks_ == 0 ) {
            host.run( std::chrono::milliseconds( std::llround( seconds_ * 1000 ) ) );
            return ExitCode::Ok;
        }
        // Without "seconds": two for each tick, twice the period that drivers poll with.
        const double limit = seconds_ > 0 ? seconds_ : 2.0 * static_cast<double>( ticks_ );
        const unsigned long target = host.ticks() + ticks_;
        if ( host.runUntil( [ &host, target ] { return host.ticks() >= target; },
                            std::chrono::milliseconds( std::llround( limit * 1000 ) ) ) ) {
            return ExitCode::Ok;
        }
        streams.error << fmt::format( "only {} of {} timers fired in {} s\n",
                                      ticks_ - ( target - host.ticks() ), ticks_, limit );
        return ExitCode::Failed;
    }

  private:
    double seconds_ = 0;
    unsigned long ticks_ = 0;
};

} // namespace

std::unique_ptr<Command> waitCommand() {
    return std::make_unique<Wait>();
}

} // namespace orvan
