#include "smbusd/control/Control.h"

#include <algorithm>
#include <array>
#include <optional>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "smbusd/base/JsonLine.h"
#include "smbusd/board/FaultConfig.h"

namespace smbusd {

namespace {

constexpr uint32_t anyNumber = 0xFFFFFFFF;
constexpr uint32_t mostRegisters = 65536;

/** One request on its way: what it says, what it is about, and the answer that grows. */
struct Call {
    Control &control;
    const JsonView &json;
    JsonLine &line;
    ControlAnswer &answer;

    Hardware &hardware() const { return control.hardware(); }

    Chip &chip() const {
        const JsonView name = json.at( "chip" );
        Chip *found = hardware().findChip( name.text() );
        if ( found == nullptr ) {
            name.fail( "the name of a chip" );
        }
        return *found;
    }
};

void listSegment( const Segment &segment, const std::string &path, JsonLine &line ) {
    for ( Chip *chip : segment.chips() ) {
        line.beginObject();
        line.member( "name", chip->name() ).member( "type", chip->type() );
        line.member( "address", uint32_t{ chip->address() } ).member( "path", path );
        line.member( "plugged", chip->plugged() );
        line.endObject();
        if ( Mux *mux = chip->mux() ) {
            for ( unsigned channel = 0; channel < mux->channelCount(); channel++ ) {
                listSegment( mux->channel( channel ),
                             fmt::format( "{}/{}:{}", path, chip->name(), channel ), line );
            }
        }
    }
}

void list( const Call &call ) {
    call.json.expectObject( { "command" } );
    JsonLine &line = call.line;
    line.member( "powered", call.hardware().powered() );
    line.key( "buses" ).beginArray();
    for ( const auto &bus : call.hardware().buses() ) {
        line.beginObject();
        line.member( "name", bus->name() ).member( "place", describe( bus->key() ) );
        line.member( "backend", bus->backend() );
        line.key( "chips" ).beginArray();
        if ( auto *emulated = dynamic_cast<VirtualBus *>( bus.get() ) ) {
            listSegment( emulated->root(), bus->name(), line );
        }
        line.endArray().endObject();
    }
    line.endArray();
    line.key( "units" ).beginArray();
    for ( const auto &unit : call.hardware().units() ) {
        line.beginObject().member( "name", unit->name ).member( "plugged", unit->plugged );
        line.key( "chips" ).beginArray();
        for ( const Chip *chip : unit->chips ) {
            line.value( chip->name() );
        }
        line.endArray().endObject();
    }
    line.endArray();
}

void writeContent( const RegisterContent &content, JsonLine &line ) {
    if ( const auto *number = std::get_if<uint32_t>( &content ) ) {
        line.member( "value", *number );
        return;
    }
    line.key( "block" ).beginArray();
    for ( const uint8_t byte : std::get<std::vector<uint8_t>>( content ) ) {
        line.value( uint32_t{ byte } );
    }
    line.endArray();
}

void read( const Call &call ) {
    call.json.expectObject( { "command", "chip", "register", "count" } );
    const Chip &chip = call.chip();
    const auto first = call.json.find( "register" );
    const auto count = call.json.find( "count" );
    const uint32_t from = first ? first->number( 0, anyNumber ) : 0;
    uint32_t left = count ? count->number( 1, mostRegisters ) : first ? 1 : mostRegisters;
    if ( first ) {
        chip.peek( from ); // throws for a register that is not there
    }
    call.line.key( "registers" ).beginArray();
    for ( const RegisterInfo &info : chip.registers() ) {
        if ( info.number < from || left == 0 ) {
            continue;
        }
        left--;
        call.line.beginObject().member( "register", info.number ).member( "width", info.width );
        call.line.member( "readOnly", info.readOnly );
        if ( !info.name.empty() ) {
            call.line.member( "name", info.name );
        }
        writeContent( chip.peek( info.number ), call.line );
        call.line.endObject();
    }
    call.line.endArray();
}

void write( const Call &call ) {
    call.json.expectObject( { "command", "chip", "register", "value", "block" } );
    Chip &chip = call.chip();
    const uint32_t reg = call.json.at( "register" ).number( 0, anyNumber );
    if ( const auto block = call.json.find( "block" ) ) {
        std::vector<uint8_t> bytes;
        block->forEachElement( [ & ]( const JsonView &byte ) {
            bytes.push_back( static_cast<uint8_t>( byte.number( 0, 0xFF ) ) );
        } );
        chip.poke( reg, bytes );
    } else {
        chip.poke( reg, call.json.at( "value" ).number( 0, anyNumber ) );
    }
}

void inputs( const Call &call ) {
    call.json.expectObject( { "command", "chip" } );
    call.line.key( "inputs" ).beginArray();
    for ( const InputInfo &input : call.chip().inputs() ) {
        call.line.beginObject().member( "name", input.name ).member( "value", input.value );
        call.line.endObject();
    }
    call.line.endArray();
}

void set( const Call &call ) {
    call.json.expectObject( { "command", "chip", "input", "value" } );
    call.chip().setInput( call.json.at( "input" ).text(), call.json.at( "value" ).real() );
}

void plug( const Call &call, bool plugged ) {
    call.json.expectObject( { "command", "name" } );
    const JsonView name = call.json.at( "name" );
    if ( Unit *unit = call.hardware().findUnit( name.text() ) ) {
        call.hardware().plug( *unit, plugged );
    } else if ( Chip *chip = call.hardware().findChip( name.text() ) ) {
        chip->plug( plugged );
    } else {
        name.fail( "the name of a unit or a chip" );
    }
}

void plugIn( const Call &call ) {
    plug( call, true );
}
void unplug( const Call &call ) {
    plug( call, false );
}

void power( const Call &call ) {
    call.json.expectObject( { "command", "state" } );
    const JsonView state = call.json.at( "state" );
    const std::string text = state.text();
    if ( text == "on" ) {
        call.hardware().powerOn();
    } else if ( text == "off" ) {
        call.hardware().powerOff();
    } else if ( text == "cycle" ) {
        call.hardware().powerCycle();
    } else {
        state.fail( "\"on\", \"off\" or \"cycle\"" );
    }
}

void inject( const Call &call ) {
    call.json.expectObject( { "command", "fault" } );
    call.line.member( "fault", call.hardware().faults.inject(
                                   readFault( call.json.at( "fault" ), call.hardware() ) ) );
}

void clear( const Call &call ) {
    call.json.expectObject( { "command", "fault", "target" } );
    FaultTable &faults = call.hardware().faults;
    if ( const auto id = call.json.find( "fault" ) ) {
        if ( !faults.clear( id->number( 1, anyNumber ) ) ) {
            id->fail( "the number of a fault in force" );
        }
        call.line.member( "cleared", 1u );
        return;
    }
    const auto target = call.json.find( "target" );
    if ( target && call.hardware().findBus( target->text() ) == nullptr &&
         call.hardware().findChip( target->text() ) == nullptr ) {
        target->fail( "the name of a chip or a bus" );
    }
    call.line.member( "cleared", faults.clearTarget( target ? target->text() : "" ) );
}

void faults( const Call &call ) {
    call.json.expectObject( { "command" } );
    call.line.key( "faults" ).beginArray();
    for ( const Fault &fault : call.hardware().faults.faults() ) {
        call.line.beginObject().member( "fault", fault.id ).member( "target", fault.target );
        call.line.member( "kind", faultName( fault.kind ) ).member( "hits", fault.hits );
        if ( fault.times > 0 ) {
            call.line.member( "times", fault.times );
        }
        call.line.endObject();
    }
    call.line.endArray();
}

template <typename Owner>
void writeCounters( const Owner &owner, JsonLine &line ) {
    const Counters &counters = owner.counters;
    line.beginObject().member( "name", owner.name() );
    line.member( "transactions", counters.transactions );
    line.member( "operations", counters.operations );
    line.member( "acknowledges", counters.acknowledges );
    line.member( "retries", counters.retries ).member( "errors", counters.errors );
    line.member( "faults", counters.faults ).endObject();
}

void counters( const Call &call ) {
    call.json.expectObject( { "command" } );
    call.line.member( "transactions", call.control.dispatcher().transactions() );
    call.line.member( "clients", uint64_t{ call.control.clients() } );
    call.line.key( "buses" ).beginArray();
    for ( const auto &bus : call.hardware().buses() ) {
        writeCounters( *bus, call.line );
    }
    call.line.endArray().key( "chips" ).beginArray();
    for ( const auto &chip : call.hardware().chips() ) {
        writeCounters( *chip, call.line );
    }
    call.line.endArray();
}

void follow( const Call &call ) {
    call.json.expectObject( { "command", "bus" } );
    if ( const auto bus = call.json.find( "bus" ) ) {
        if ( call.hardware().findBus( bus->text() ) == nullptr ) {
            bus->fail( "the name of a bus" );
        }
        call.answer.followedBus = bus->text();
    }
    call.answer.follows = true;
}

struct Command {
    std::string_view name;
    void ( *run )( const Call & );
};

constexpr std::array<Command, 13> commands = { {
    { "list", list },
    { "read", read },
    { "write", write },
    { "inputs", inputs },
    { "set", set },
    { "plug", plugIn },
    { "unplug", unplug },
    { "power", power },
    { "inject", inject },
    { "clear", clear },
    { "faults", faults },
    { "counters", counters },
    { "follow", follow },
} };

void run( const Call &call ) {
    if ( !call.json.isObject() ) {
        call.json.fail( "an object with a \"command\"" );
    }
    const JsonView name = call.json.at( "command" );
    const std::string text = name.text();
    std::vector<std::string_view> names;
    for ( const Command &command : commands ) {
        if ( command.name == text ) {
            command.run( call );
            return;
        }
        names.push_back( command.name );
    }
    name.fail( fmt::format( "one of {}", fmt::join( names, ", " ) ) );
}

} // namespace

ControlAnswer Control::answer( std::string_view line ) {
    ControlAnswer answer;
    std::string error;
    try {
        const rapidjson::Document document = parseJson( line, "request" );
        const JsonView json( document, "request" );
        JsonLine answered;
        answered.beginObject().member( "ok", true );
        hardware_.updateConnections();
        run( { *this, json, answered, answer } );
        answered.endObject();
        answer.line = answered.text();
        return answer;
    } catch ( const ConfigError &wrong ) {
        error = wrong.what();
    } catch ( const ChipError &wrong ) {
        error = wrong.what();
    }
    JsonLine refused;
    refused.beginObject().member( "ok", false ).member( "error", error ).endObject();
    return { refused.text(), false, {} };
}

} // namespace smbusd
