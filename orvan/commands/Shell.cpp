#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>

#include <fmt/core.h>

#include "orvan/commands/Command.h"

namespace orvan {

namespace {

constexpr const char *prompt = "orvan> ";

class Shell : public Command {
  public:
    CLI::App *define( CLI::App &app ) override {
        CLI::App *command = app.add_subcommand(
            "shell", "Run commands from standard input, one a line, on one and the same board" );
        command->add_flag( "--echo", echo_, "Print each command before its output" );
        command->add_flag( "--keep-going", keepGoing_, "Do not stop at a command that fails" );
        command->footer( "Commands: show, get, set, expect, wait, smbus, poweroff, powercycle, and "
                         "help, quit. Lines that start with # are comments; those that "
                         "start with ! are run by the system's shell, where smbusctl reaches the "
                         "service of --emulate without options." );
        return command;
    }

    ExitCode run( Session &session, const Streams &streams ) override {
        const bool interactive = &streams.in == &std::cin && ::isatty( STDIN_FILENO );
        ExitCode result = ExitCode::Ok;
        std::string line;
        for ( ;; ) {
            if ( interactive ) {
                streams.out << prompt << std::flush;
            }
            if ( !std::getline( streams.in, line ) ) {
                return result;
            }
            const auto start = line.find_first_not_of( " \t\r" );
            if ( start == std::string::npos || line[ start ] == '#' ) {
                continue;
            }
            line.erase( line.find_last_not_of( " \t\r" ) + 1 );
            line.erase( 0, start );
            if ( line == "quit" || line == "exit" ) {
                return result;
            }
            if ( echo_ ) {
                streams.out << prompt << line << '\n';
            }
            streams.out.flush();
            const ExitCode code = line.front() == '!' ? runForeign( line.substr( 1 ), streams )
                                                      : runLine( line, session, streams );
            streams.out.flush();
            if ( code != ExitCode::Ok ) {
                result = code;
                if ( !interactive && !keepGoing_ ) {
                    streams.error << fmt::format( "stopped at: {}\n", line );
                    return result;
                }
            }
        }
    }

  private:
    static ExitCode runLine( const std::string &line, Session &session, const Streams &streams ) {
        Commands commands = boardCommands();
        CLI::App app( "", "" );
        app.require_subcommand( 1 );
        app.set_help_flag( "--help", "Help for a command" );
        CLI::App *help = app.add_subcommand( "help", "This list" );
        const CommandLine commandLine( app, commands );
        try {
            app.parse( line, false );
            if ( help->parsed() ) {
                // app.help() would be that of "help".
                streams.out << app.get_formatter()->make_help( &app, "",
                                                               CLI::AppFormatMode::Normal );
                return ExitCode::Ok;
            }
            return commandLine.chosen()->run( session, streams );
        } catch ( const CLI::ParseError &error ) {
            return app.exit( error, streams.out, streams.error ) == 0 ? ExitCode::Ok
                                                                      : ExitCode::BadInput;
        } catch ( const BadInput &error ) {
            streams.error << "error: " << error.what() << '\n';
            return ExitCode::BadInput;
        } catch ( const Failure &error ) {
            streams.error << "error: " << error.what() << '\n';
            return ExitCode::Failed;
        }
    }

    /** A line for the system's shell: what the user of this one could type there as well. */
    static ExitCode runForeign( const std::string &line, const Streams &streams ) {
        const int status = std::system( line.c_str() );
        if ( status != -1 && WIFEXITED( status ) ) {
            if ( WEXITSTATUS( status ) == 0 ) {
                return ExitCode::Ok;
            }
            streams.error << fmt::format( "the command ended with {}\n", WEXITSTATUS( status ) );
        } else {
            streams.error << "the command could not be run to its end\n";
        }
        return ExitCode::Failed;
    }

    bool echo_ = false;
    bool keepGoing_ = false;
};

} // namespace

std::unique_ptr<Command> shellCommand() {
    return std::make_unique<Shell>();
}

} // namespace orvan
