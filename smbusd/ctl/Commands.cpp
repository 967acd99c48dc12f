#include "smbusd/ctl/Commands.h"

#include <cstdio>
#include <functional>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "smbusd/base/JsonLine.h"
#include "smbusd/base/JsonView.h"
#include "smbusd/ctl/ControlClient.h"
#include "smbusd/ctl/Print.h"

namespace smbusd {

namespace {

/** A row of the table of commands. */
struct Command {
    const char *name;
    const char *help;
    /** Adds the options, and what is done once they are there. */
    void ( *add )( CLI::App &command, const ToolOptions &tool );
};

void addAll( std::span<const Command> commands, CLI::App &parent, const ToolOptions &tool ) {
    for ( const Command &command : commands ) {
        command.add( *parent.add_subcommand( command.name, command.help ), tool );
    }
}

using Print = std::function<std::string( const rapidjson::Value & )>;

void begin( JsonLine &line, std::string_view command ) {
    line.beginObject().member( "command", command );
}

/** Sends a request and prints its answer, as it came or in words. */
void finish( JsonLine &line, const ToolOptions &tool, const Print &print = nullptr ) {
    line.endObject();
    ControlClient client( tool.control );
    const rapidjson::Document answer = client.call( line.text() );
    if ( tool.json ) {
        fmt::print( "{}\n", client.line() );
    } else if ( print ) {
        fmt::print( "{}", print( answer ) );
    }
}

std::string checkNumber( const std::string &text ) {
    return parseNumber( text ) ? std::string()
                               : "expected a number such as 32 or 0x20, not " + text;
}

CLI::Validator isNumber() {
    return { checkNumber, "NUMBER" };
}

// The board

void addList( CLI::App &command, const ToolOptions &tool ) {
    command.callback( [ &tool ] {
        JsonLine line;
        begin( line, "list" );
        finish( line, tool, printList );
    } );
}

/** Plug and unplug, which are called as their requests are. */
void addPlug( CLI::App &command, const ToolOptions &tool ) {
    const auto target = std::make_shared<std::string>();
    command.add_option( "NAME", *target )->required();
    command.callback( [ &tool, target, request = command.get_name() ] {
        JsonLine line;
        begin( line, request );
        line.member( "name", *target );
        finish( line, tool );
    } );
}

void addPower( CLI::App &command, const ToolOptions &tool ) {
    const auto state = std::make_shared<std::string>();
    command.add_option( "STATE", *state, "on, off or cycle" )
        ->required()
        ->check( CLI::IsMember( { "on", "off", "cycle" } ) );
    command.callback( [ &tool, state ] {
        JsonLine line;
        begin( line, "power" );
        line.member( "state", *state );
        finish( line, tool );
    } );
}

// Chips

void addRead( CLI::App &command, const ToolOptions &tool ) {
    struct Options {
        std::string chip;
        std::string first;
        std::string count;
    };
    const auto options = std::make_shared<Options>();
    command.add_option( "CHIP", options->chip )->required();
    command.add_option( "REGISTER", options->first, "First register; all unless given" )
        ->check( isNumber() );
    command.add_option( "COUNT", options->count, "How many" )->check( isNumber() );
    command.callback( [ &tool, options ] {
        JsonLine line;
        begin( line, "read" );
        line.member( "chip", options->chip );
        if ( !options->first.empty() ) {
            line.member( "register", options->first );
        }
        if ( !options->count.empty() ) {
            line.member( "count", options->count );
        }
        finish( line, tool, printRegisters );
    } );
}

void addWrite( CLI::App &command, const ToolOptions &tool ) {
    struct Options {
        std::string chip;
        std::string reg;
        std::vector<std::string> values;
        bool block = false;
    };
    const auto options = std::make_shared<Options>();
    command.add_option( "CHIP", options->chip )->required();
    command.add_option( "REGISTER", options->reg )->required()->check( isNumber() );
    command.add_option( "VALUE", options->values, "A number; several are the bytes of a block" )
        ->required()
        ->check( isNumber() );
    command.add_flag( "--block", options->block, "One value is a block of one byte" );
    command.callback( [ &tool, options ] {
        JsonLine line;
        begin( line, "write" );
        line.member( "chip", options->chip ).member( "register", options->reg );
        if ( options->block || options->values.size() > 1 ) {
            line.key( "block" ).beginArray();
            for ( const std::string &value : options->values ) {
                line.value( value );
            }
            line.endArray();
        } else {
            line.member( "value", options->values.front() );
        }
        finish( line, tool );
    } );
}

void addInputs( CLI::App &command, const ToolOptions &tool ) {
    const auto chip = std::make_shared<std::string>();
    command.add_option( "CHIP", *chip )->required();
    command.callback( [ &tool, chip ] {
        JsonLine line;
        begin( line, "inputs" );
        line.member( "chip", *chip );
        finish( line, tool, printInputs );
    } );
}

void addSet( CLI::App &command, const ToolOptions &tool ) {
    struct Options {
        std::string chip;
        std::string input;
        double value = 0;
    };
    const auto options = std::make_shared<Options>();
    command.add_option( "CHIP", options->chip )->required();
    command.add_option( "INPUT", options->input )->required();
    command.add_option( "VALUE", options->value )->required();
    command.callback( [ &tool, options ] {
        JsonLine line;
        begin( line, "set" );
        line.member( "chip", options->chip ).member( "input", options->input );
        line.member( "value", options->value );
        finish( line, tool );
    } );
}

// Faults

void addFaultList( CLI::App &command, const ToolOptions &tool ) {
    command.callback( [ &tool ] {
        JsonLine line;
        begin( line, "faults" );
        finish( line, tool, printFaults );
    } );
}

void addFaultClear( CLI::App &command, const ToolOptions &tool ) {
    const auto which = std::make_shared<std::string>();
    command.add_option( "WHICH", *which, "A fault's number, or a chip's or bus's name" );
    command.callback( [ &tool, which ] {
        JsonLine line;
        begin( line, "clear" );
        if ( parseNumber( *which ) ) {
            line.member( "fault", *which );
        } else if ( !which->empty() ) {
            line.member( "target", *which );
        }
        finish( line, tool, []( const rapidjson::Value &answer ) {
            return fmt::format( "{} cleared\n", answer[ "cleared" ].GetUint() );
        } );
    } );
}

/** What a fault may have besides its target and its kind. */
constexpr struct {
    const char *key;
    const char *help;
} faultParameters[] = {
    { "times", "Operations it spoils; without it, every one until cleared" },
    { "at", "nack: at the address (as without it) or at the data" },
    { "ms", "delay, clock-hold: milliseconds" },
    { "missing", "short-block: bytes left out at the end (1)" },
    { "byte", "flip-bit: index of the data byte (0)" },
    { "bit", "flip-bit: bit of the byte (0)" },
};

void addFaultInject( CLI::App &command, const ToolOptions &tool ) {
    struct Options {
        std::string target;
        std::string kind;
        std::string parameters[ std::size( faultParameters ) ];
    };
    const auto options = std::make_shared<Options>();
    command.add_option( "TARGET", options->target, "A chip's or a bus's name" )->required();
    command
        .add_option( "KIND", options->kind,
                     "nack, bad-pec, short-block, clock-hold, stuck-bus, arbitration-lost, "
                     "flip-bit, delay, drop-connection or stop-answering" )
        ->required();
    for ( size_t i = 0; i < std::size( faultParameters ); i++ ) {
        command.add_option( std::string( "--" ) + faultParameters[ i ].key,
                            options->parameters[ i ], faultParameters[ i ].help );
    }
    command.callback( [ &tool, options ] {
        JsonLine line;
        begin( line, "inject" );
        line.key( "fault" ).beginObject();
        line.member( "target", options->target ).member( "kind", options->kind );
        for ( size_t i = 0; i < std::size( faultParameters ); i++ ) {
            if ( !options->parameters[ i ].empty() ) {
                line.member( faultParameters[ i ].key, options->parameters[ i ] );
            }
        }
        line.endObject();
        finish( line, tool, []( const rapidjson::Value &answer ) {
            return fmt::format( "fault {}\n", answer[ "fault" ].GetUint() );
        } );
    } );
}

constexpr Command faultCommands[] = {
    { "list", "Faults in force", addFaultList },
    { "clear", "Clear one fault, a target's or all", addFaultClear },
    { "inject", "Put a fault in force", addFaultInject },
};

void addFault( CLI::App &command, const ToolOptions &tool ) {
    command.require_subcommand( 1 );
    addAll( faultCommands, command, tool );
}

// Traffic

void addCounters( CLI::App &command, const ToolOptions &tool ) {
    const auto target = std::make_shared<std::string>();
    command.add_option( "NAME", *target, "Only this bus or chip" );
    command.callback( [ &tool, target ] {
        JsonLine line;
        begin( line, "counters" );
        finish( line, tool, [ target ]( const rapidjson::Value &answer ) {
            return printCounters( answer, *target );
        } );
    } );
}

void follow( const std::string &bus, uint64_t limit, const ToolOptions &tool ) {
    JsonLine line;
    begin( line, "follow" );
    if ( !bus.empty() ) {
        line.member( "bus", bus );
    }
    line.endObject();
    ControlClient client( tool.control );
    client.call( line.text() );
    rapidjson::Document event;
    for ( uint64_t lines = 0; ( limit == 0 || lines < limit ) && client.next( event ); lines++ ) {
        fmt::print( "{}", tool.json ? client.line() + "\n" : printEvent( event ) );
        std::fflush( stdout );
    }
}

void addFollow( CLI::App &command, const ToolOptions &tool ) {
    struct Options {
        std::string bus;
        uint64_t limit = 0; ///< 0: none
    };
    const auto options = std::make_shared<Options>();
    command.add_option( "--bus", options->bus, "Only this bus" );
    command.add_option( "--count", options->limit, "End after that many lines" );
    command.callback( [ &tool, options ] { follow( options->bus, options->limit, tool ); } );
}

constexpr Command commands[] = {
    { "list", "Buses, chips and units", addList },
    { "plug", "Plug a unit or a chip in", addPlug },
    { "unplug", "Pull a unit or a chip", addPlug },
    { "power", "Switch the board's power", addPower },
    { "read", "Registers of a chip", addRead },
    { "write", "Set a register of a chip", addWrite },
    { "inputs", "Inputs of a chip", addInputs },
    { "set", "Set an input of a chip", addSet },
    { "fault", "Make things go wrong", addFault },
    { "counters", "What happened so far", addCounters },
    { "follow", "Print the traffic as it happens", addFollow },
};

} // namespace

void addCommands( CLI::App &app, const ToolOptions &options ) {
    app.require_subcommand( 1 );
    app.fallthrough(); // what comes after a command may be an option of the tool
    addAll( commands, app, options );
}

} // namespace smbusd
