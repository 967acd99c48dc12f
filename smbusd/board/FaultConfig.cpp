#include "smbusd/board/FaultConfig.h"

#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace smbusd {

namespace {

constexpr uint32_t longestMilliseconds = 24 * 60 * 60 * 1000;
constexpr uint32_t largestNumber = 0xFFFFFFFF;
constexpr uint32_t lastBit = 7;

std::string readTarget( const JsonView &json, const Hardware &hardware ) {
    std::string target = json.text();
    const Bus *bus = hardware.findBus( target );
    if ( bus == nullptr && hardware.findChip( target ) == nullptr ) {
        json.fail( "the name of a chip or a bus" );
    }
    if ( bus != nullptr && dynamic_cast<const VirtualBus *>( bus ) == nullptr ) {
        json.fail( "an emulated bus: real hardware has faults of its own" );
    }
    return target;
}

Fault::Kind readKind( const JsonView &json ) {
    const auto known = faultFromName( json.text() );
    if ( !known ) {
        json.fail( fmt::format( "one of {}", fmt::join( faultNames(), ", " ) ) );
    }
    return *known;
}

/** Whether the data lacks its acknowledge, rather than the address. */
bool readAtData( const JsonView &json ) {
    const std::string text = json.text();
    if ( text != "address" && text != "data" ) {
        json.fail( "\"address\" or \"data\"" );
    }
    return text == "data";
}

/** Reads what only some kinds have. */
void readParameters( const JsonView &json, Fault &fault ) {
    const auto parameter = [ & ]( std::string_view key, Fault::Kind kind ) {
        auto found = json.find( key ); // not const: the caller gets it moved
        if ( found && fault.kind != kind ) {
            found->fail( fmt::format( "no \"{}\" for the kind {}", key, faultName( fault.kind ) ) );
        }
        return found;
    };
    if ( const auto at = parameter( "at", Fault::Kind::Nack ) ) {
        fault.atData = readAtData( *at );
    }
    if ( fault.kind == Fault::Kind::Delay ) {
        fault.milliseconds = json.at( "ms" ).number( 1, longestMilliseconds );
    } else if ( const auto ms = parameter( "ms", Fault::Kind::ClockHold ) ) {
        fault.milliseconds = ms->number( 1, longestMilliseconds );
    }
    if ( const auto missing = parameter( "missing", Fault::Kind::ShortBlock ) ) {
        fault.missing = missing->number( 1, maxI2cBlock );
    }
    if ( const auto byte = parameter( "byte", Fault::Kind::FlipBit ) ) {
        fault.byte = byte->number( 0, maxI2cBlock - 1 );
    }
    if ( const auto bit = parameter( "bit", Fault::Kind::FlipBit ) ) {
        fault.bit = bit->number( 0, lastBit );
    }
}

} // namespace

Fault readFault( const JsonView &json, const Hardware &hardware ) {
    json.expectObject( { "target", "kind", "times", "at", "ms", "missing", "byte", "bit" } );
    Fault fault;
    fault.target = readTarget( json.at( "target" ), hardware );
    fault.kind = readKind( json.at( "kind" ) );
    if ( fault.kind == Fault::Kind::ClockHold ) {
        fault.milliseconds = clockHoldMilliseconds;
    }
    if ( const auto times = json.find( "times" ) ) {
        fault.times = times->number( 1, largestNumber );
    }
    readParameters( json, fault );
    return fault;
}

} // namespace smbusd
