#include <algorithm>
#include <cmath>

#include <fmt/core.h>

#include "orvan/commands/Command.h"

namespace orvan {

namespace {

class Wait : public Command {
  public:
    CLI::App *define( CLI::App &app ) override {
        CLI::App *command = app.add_subcommand( "wait", "Let the library's timers run" );
        command->add_option( "seconds", seconds_, "For so long, fractions allowed" )
            ->check( CLI::Range( 0.0, 86400.0 ) );
        command->add_option( "--ticks", ticks_, "Until each running timer has fired so often" )
            ->check( CLI::Range( 1ul, 1000000ul ) );
        return command;
    }

    ExitCode run( Session &session, const Streams &streams ) override {
        HostServices &host = session.host();
        if ( ticks_ == 0 ) {
            host.run( std::chrono::milliseconds( std::llround( seconds_ * 1000 ) ) );
            return ExitCode::Ok;
        }
        const auto before = host.armedTimers();
        if ( before.empty() ) {
            streams.error << "no timer is running: nothing used so far is polled or blinks\n";
            return ExitCode::Failed;
        }
        const auto allFired = [ &host, &before, this ] {
            const auto now = host.armedTimers();
            // One that has stopped meanwhile is not waited for.
            return std::all_of( before.begin(), before.end(), [ &now, this ]( const auto &timer ) {
                const auto it = now.find( timer.first );
                return it == now.end() || it->second - timer.second >= ticks_;
            } );
        };
        // Without "seconds": two for each tick, twice the period that drivers poll with.
        const double limit = seconds_ > 0 ? seconds_ : 2.0 * static_cast<double>( ticks_ );
        if ( host.runUntil( allFired,
                            std::chrono::milliseconds( std::llround( limit * 1000 ) ) ) ) {
            return ExitCode::Ok;
        }
        streams.error << fmt::format( "not every timer fired {} times in {} s\n", ticks_, limit );
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
