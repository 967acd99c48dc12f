#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "smbusd/base/JsonLine.h"
#include "smbusd/base/JsonView.h"
#include "smbusd/ctl/ControlClient.h"
#include "smbusd/ctl/Print.h"

namespace {

using smbusd::ControlClient;
using smbusd::JsonLine;

constexpr int exitRefused = 1;
constexpr int exitUnreachable = 2;

std::string defaultControl() {
    const char *socket = std::getenv( "PL_SMBUS_SOCKET" );
    return std::string( socket != nullptr ? socket : "/run/smbusd.sock" ) + ".control";
}

/** The tool: its options, and one function for each command. */
class Tool {
  public:
    int run( int argc, char **argv ) {
        app_.require_subcommand( 1 );
        app_.fallthrough();
        app_.add_option( "--control", control_, "The service's control socket" )
            ->envname( "SMBUSD_CONTROL" )
            ->capture_default_str();
        app_.add_flag( "--json", json_, "Print answers as the service gives them" );
        addBoardCommands();
        addChipCommands();
        addFaultCommands();
        addTrafficCommands();
        CLI11_PARSE( app_, argc, argv );
        return EXIT_SUCCESS;
    }

  private:
    CLI::App *command( CLI::App &parent, const char *name, const char *help,
                       std::function<void()> action ) {
        CLI::App *added = parent.add_subcommand( name, help );
        added->callback( std::move( action ) );
        return added;
    }

    static void begin( JsonLine &line, const char *name ) {
        line.beginObject().member( "command", name );
    }

    /** Sends a request and prints its answer, as it came or in words. */
    void finish( JsonLine &line,
                 const std::function<std::string( const rapidjson::Value & )> &print = nullptr ) {
        line.endObject();
        ControlClient client( control_ );
        const rapidjson::Document answer = client.call( line.text() );
        if ( json_ ) {
            fmt::print( "{}\n", client.line() );
        } else if ( print ) {
            fmt::print( "{}", print( answer ) );
        }
    }

    void addBoardCommands() {
        command( app_, "list", "Buses, chips and units", [ this ] {
            JsonLine line;
            begin( line, "list" );
            finish( line, smbusd::printList );
        } );
        for ( const char *name : { "plug", "unplug" } ) {
            CLI::App *added = command( app_, name,
                                       name == std::string( "plug" ) ? "Plug a unit or a chip in"
                                                                     : "Pull a unit or a chip",
                                       [ this, name ] {
                                           JsonLine line;
                                           begin( line, name );
                                           line.member( "name", name_ );
                                           finish( line );
                                       } );
            added->add_option( "NAME", name_ )->required();
        }
        command( app_, "power", "Switch the board's power",
                 [ this ] {
                     JsonLine line;
                     begin( line, "power" );
                     line.member( "state", text_ );
                     finish( line );
                 } )
            ->add_option( "STATE", text_, "on, off or cycle" )
            ->required()
            ->check( CLI::IsMember( { "on", "off", "cycle" } ) );
    }

    void addChipCommands() {
        CLI::App *read = command( app_, "read", "Registers of a chip", [ this ] {
            JsonLine line;
            begin( line, "read" );
            line.member( "chip", name_ );
            if ( !register_.empty() ) {
                line.member( "register", register_ );
            }
            if ( !count_.empty() ) {
                line.member( "count", count_ );
            }
            finish( line, smbusd::printRegisters );
        } );
        read->add_option( "CHIP", name_ )->required();
        read->add_option( "REGISTER", register_, "First register; all unless given" )
            ->check( number_ );
        read->add_option( "COUNT", count_, "How many" )->check( number_ );

        CLI::App *write = command( app_, "write", "Set a register of a chip", [ this ] {
            JsonLine line;
            begin( line, "write" );
            line.member( "chip", name_ ).member( "register", register_ );
            if ( block_ || values_.size() > 1 ) {
                line.key( "block" ).beginArray();
                for ( const std::string &value : values_ ) {
                    line.value( value );
                }
                line.endArray();
            } else {
                line.member( "value", values_.front() );
            }
            finish( line );
        } );
        write->add_option( "CHIP", name_ )->required();
        write->add_option( "REGISTER", register_ )->required()->check( number_ );
        write->add_option( "VALUE", values_, "A number; several are the bytes of a block" )
            ->required()
            ->check( number_ );
        write->add_flag( "--block", block_, "One value is a block of one byte" );

        command( app_, "inputs", "Inputs of a chip",
                 [ this ] {
                     JsonLine line;
                     begin( line, "inputs" );
                     line.member( "chip", name_ );
                     finish( line, smbusd::printInputs );
                 } )
            ->add_option( "CHIP", name_ )
            ->required();

        CLI::App *set = command( app_, "set", "Set an input of a chip", [ this ] {
            JsonLine line;
            begin( line, "set" );
            line.member( "chip", name_ ).member( "input", text_ ).member( "value", value_ );
            finish( line );
        } );
        set->add_option( "CHIP", name_ )->required();
        set->add_option( "INPUT", text_ )->required();
        set->add_option( "VALUE", value_ )->required();
    }

    void addFaultCommands() {
        CLI::App *fault = app_.add_subcommand( "fault", "Make things go wrong" );
        fault->require_subcommand( 1 );
        fault->fallthrough();
        command( *fault, "list", "Faults in force", [ this ] {
            JsonLine line;
            begin( line, "faults" );
            finish( line, smbusd::printFaults );
        } );
        CLI::App *clear = command( *fault, "clear", "Clear one fault, a target's or all", [ this ] {
            JsonLine line;
            begin( line, "clear" );
            if ( smbusd::parseNumber( name_ ) ) {
                line.member( "fault", name_ );
            } else if ( !name_.empty() ) {
                line.member( "target", name_ );
            }
            finish( line, []( const rapidjson::Value &answer ) {
                return fmt::format( "{} cleared\n", answer[ "cleared" ].GetUint() );
            } );
        } );
        clear->add_option( "WHICH", name_, "A fault's number, or a chip's or bus's name" );

        CLI::App *inject = command( *fault, "inject", "Put a fault in force", [ this ] {
            JsonLine line;
            begin( line, "inject" );
            line.key( "fault" ).beginObject();
            line.member( "target", name_ ).member( "kind", text_ );
            for ( const auto &[ key, value ] : parameters_ ) {
                if ( !value.empty() ) {
                    line.member( key, value );
                }
            }
            line.endObject();
            finish( line, []( const rapidjson::Value &answer ) {
                return fmt::format( "fault {}\n", answer[ "fault" ].GetUint() );
            } );
        } );
        inject->add_option( "TARGET", name_, "A chip's or a bus's name" )->required();
        inject
            ->add_option( "KIND", text_,
                          "nack, bad-pec, short-block, clock-hold, stuck-bus, arbitration-lost, "
                          "flip-bit, delay, drop-connection or stop-answering" )
            ->required();
        const std::vector<std::pair<const char *, const char *>> parameters = {
            { "times", "Operations it spoils; without it, every one until cleared" },
            { "at", "nack: at the address (as without it) or at the data" },
            { "ms", "delay, clock-hold: milliseconds" },
            { "missing", "short-block: bytes left out at the end (1)" },
            { "byte", "flip-bit: index of the data byte (0)" },
            { "bit", "flip-bit: bit of the byte (0)" },
        };
        for ( const auto &[ key, help ] : parameters ) {
            inject->add_option( std::string( "--" ) + key, parameters_[ key ], help );
        }
    }

    void addTrafficCommands() {
        command( app_, "counters", "What happened so far", [ this ] {
            JsonLine line;
            begin( line, "counters" );
            finish( line, [ this ]( const rapidjson::Value &answer ) {
                return smbusd::printCounters( answer, name_ );
            } );
        } )->add_option( "NAME", name_, "Only this bus or chip" );

        CLI::App *follow = command( app_, "follow", "Print the traffic as it happens",
                                    [ this ] { followTraffic(); } );
        follow->add_option( "--bus", name_, "Only this bus" );
        follow->add_option( "--count", limit_, "End after that many lines" );
    }

    void followTraffic() {
        JsonLine line;
        begin( line, "follow" );
        if ( !name_.empty() ) {
            line.member( "bus", name_ );
        }
        line.endObject();
        ControlClient client( control_ );
        client.call( line.text() );
        rapidjson::Document event;
        for ( uint64_t lines = 0; ( limit_ == 0 || lines < limit_ ) && client.next( event );
              lines++ ) {
            fmt::print( "{}", json_ ? client.line() + "\n" : smbusd::printEvent( event ) );
            std::fflush( stdout );
        }
    }

    CLI::App app_{ "Looks into and changes an SMBus service's emulated chips, behind their buses' "
                   "back." };
    CLI::Validator number_{ []( const std::string &text ) -> std::string {
                               return smbusd::parseNumber( text )
                                          ? std::string()
                                          : "expected a number such as 32 or 0x20, not " + text;
                           },
                            "NUMBER" };
    std::string control_ = defaultControl();
    bool json_ = false;
    std::string name_;
    std::string text_;
    std::string register_;
    std::string count_;
    std::vector<std::string> values_;
    bool block_ = false;
    double value_ = 0;
    std::map<std::string, std::string> parameters_;
    uint64_t limit_ = 0;
};

} // namespace

int main( int argc, char **argv ) {
    try {
        return Tool().run( argc, argv );
    } catch ( const smbusd::ControlRefused &error ) {
        fmt::print( stderr, "smbusctl: {}\n", error.what() );
        return exitRefused;
    } catch ( const std::exception &error ) {
        fmt::print( stderr, "smbusctl: {}\n", error.what() );
        return exitUnreachable;
    }
}
