#include "smbusd/ctl/Print.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include <fmt/format.h>

namespace smbusd {

namespace {

std::string_view text( const rapidjson::Value &object, const char *key ) {
    const rapidjson::Value &value = object[ key ];
    return { value.GetString(), value.GetStringLength() };
}

void appendContent( std::string &out, const rapidjson::Value &reg ) {
    if ( reg.HasMember( "value" ) ) {
        fmt::format_to( std::back_inserter( out ), "0x{:0{}X}", reg[ "value" ].GetUint(),
                        2 * std::max( 1u, reg[ "width" ].GetUint() ) );
        return;
    }
    std::string readable;
    for ( const rapidjson::Value &byte : reg[ "block" ].GetArray() ) {
        const unsigned value = byte.GetUint();
        fmt::format_to( std::back_inserter( out ), "{:02X} ", value );
        readable += value >= 0x20 && value < 0x7F ? static_cast<char>( value ) : '.';
    }
    fmt::format_to( std::back_inserter( out ), " |{}|", readable );
}

/** Bytes in rows of 16, as memories are looked at. */
std::string dump( const rapidjson::Value &registers ) {
    constexpr uint32_t columns = 16;
    std::string out;
    std::string readable;
    uint32_t row = 0;
    for ( const rapidjson::Value &reg : registers.GetArray() ) {
        const uint32_t number = reg[ "register" ].GetUint();
        const uint32_t value = reg[ "value" ].GetUint();
        if ( out.empty() || number / columns != row ) {
            row = number / columns;
            out +=
                fmt::format( "{}{}{:04X}:{:{}}", readable.empty() ? "" : "  |" + readable + "|",
                             out.empty() ? "" : "\n", row * columns, "", 3 * ( number % columns ) );
            readable.clear();
        }
        out += fmt::format( " {:02X}", value );
        readable += value >= 0x20 && value < 0x7F ? static_cast<char>( value ) : '.';
    }
    return out + "  |" + readable + "|\n";
}

} // namespace

std::string printList( const rapidjson::Value &answer ) {
    std::string out = answer[ "powered" ].GetBool() ? "" : "The board has no power.\n";
    auto to = std::back_inserter( out );
    for ( const rapidjson::Value &bus : answer[ "buses" ].GetArray() ) {
        fmt::format_to( to, "bus {}: {}, {}\n", text( bus, "name" ), text( bus, "place" ),
                        text( bus, "backend" ) );
        for ( const rapidjson::Value &chip : bus[ "chips" ].GetArray() ) {
            fmt::format_to( to, "  0x{:02X}  {:<24} {:<12} {}{}\n", chip[ "address" ].GetUint(),
                            text( chip, "name" ), text( chip, "type" ), text( chip, "path" ),
                            chip[ "plugged" ].GetBool() ? "" : "  (unplugged)" );
        }
    }
    for ( const rapidjson::Value &unit : answer[ "units" ].GetArray() ) {
        fmt::format_to( to, "unit {}{}:", text( unit, "name" ),
                        unit[ "plugged" ].GetBool() ? "" : " (unplugged)" );
        for ( const rapidjson::Value &chip : unit[ "chips" ].GetArray() ) {
            fmt::format_to( to, " {}", chip.GetString() );
        }
        out += '\n';
    }
    return out;
}

std::string printRegisters( const rapidjson::Value &answer ) {
    const rapidjson::Value &registers = answer[ "registers" ];
    const bool memory =
        registers.Size() > 16 &&
        std::all_of( registers.Begin(), registers.End(), []( const rapidjson::Value &reg ) {
            return reg[ "width" ].GetUint() == 1 && !reg.HasMember( "name" );
        } );
    if ( memory ) {
        return dump( registers );
    }
    std::string out;
    for ( const rapidjson::Value &reg : registers.GetArray() ) {
        fmt::format_to( std::back_inserter( out ), "0x{:02X}  ", reg[ "register" ].GetUint() );
        appendContent( out, reg );
        if ( reg.HasMember( "name" ) ) {
            fmt::format_to( std::back_inserter( out ), "  {}", text( reg, "name" ) );
        }
        out += reg[ "readOnly" ].GetBool() ? "  (read-only)\n" : "\n";
    }
    return out;
}

std::string printInputs( const rapidjson::Value &answer ) {
    std::string out;
    for ( const rapidjson::Value &input : answer[ "inputs" ].GetArray() ) {
        fmt::format_to( std::back_inserter( out ), "{} {:g}\n", text( input, "name" ),
                        input[ "value" ].GetDouble() );
    }
    return out;
}

std::string printFaults( const rapidjson::Value &answer ) {
    std::string out;
    for ( const rapidjson::Value &fault : answer[ "faults" ].GetArray() ) {
        fmt::format_to( std::back_inserter( out ), "{}  {} {}, {}, took effect {} time(s)\n",
                        fault[ "fault" ].GetUint(), text( fault, "target" ), text( fault, "kind" ),
                        fault.HasMember( "times" )
                            ? fmt::format( "{} more time(s)", fault[ "times" ].GetUint() )
                            : "until cleared",
                        fault[ "hits" ].GetUint64() );
    }
    return out;
}

std::string printCounters( const rapidjson::Value &answer, const std::string &name ) {
    std::string out;
    auto to = std::back_inserter( out );
    if ( name.empty() ) {
        fmt::format_to( to, "{} transactions, {} clients\n", answer[ "transactions" ].GetUint64(),
                        answer[ "clients" ].GetUint64() );
    }
    fmt::format_to( to, "{:<24} {:>12} {:>12} {:>12} {:>8} {:>8} {:>8}\n", "", "transactions",
                    "operations", "acknowledges", "retries", "errors", "faults" );
    for ( const char *kind : { "buses", "chips" } ) {
        for ( const rapidjson::Value &row : answer[ kind ].GetArray() ) {
            if ( name.empty() || name == text( row, "name" ) ) {
                fmt::format_to( to, "{:<24} {:>12} {:>12} {:>12} {:>8} {:>8} {:>8}\n",
                                text( row, "name" ), row[ "transactions" ].GetUint64(),
                                row[ "operations" ].GetUint64(), row[ "acknowledges" ].GetUint64(),
                                row[ "retries" ].GetUint64(), row[ "errors" ].GetUint64(),
                                row[ "faults" ].GetUint64() );
            }
        }
    }
    return out;
}

std::string printEvent( const rapidjson::Value &event ) {
    if ( text( event, "event" ) == "dropped" ) {
        return fmt::format( "... {} operation(s) left out: they came faster than they were read\n",
                            event[ "operations" ].GetUint64() );
    }
    return fmt::format( "{:.6f} {} client {}: {}{}\n", event[ "time" ].GetDouble(),
                        text( event, "bus" ), event[ "client" ].GetUint(), text( event, "wire" ),
                        event[ "ok" ].GetBool()
                            ? std::string()
                            : fmt::format( "  [{}]", text( event, "result" ) ) );
}

} // namespace smbusd
