/** A supply on the work bench: its registers, inputs and outputs without bus traffic. */
#include <fmt/format.h>

#include "smbusd/bus/Operation.h"
#include "smbusd/emulation/chips/PmbusCommands.h"
#include "smbusd/emulation/chips/PmbusSupply.h"

namespace smbusd {

using namespace pmbus;

namespace {

/** The inputs that are quantities, with their ranges. */
constexpr struct {
    const char *name;
    double SupplySurroundings::*quantity;
    double least;
    double most;
} quantities[] = {
    { "vin", &SupplySurroundings::vin, 0, 400 },
    { "iout", &SupplySurroundings::iout, 0, 1000 },
    { "ambient", &SupplySurroundings::ambient, -40, 200 },
};

/** Those that are lines, besides the fans'. */
constexpr struct {
    const char *name;
    bool SupplySurroundings::*line;
} lines[] = {
    { "on", &SupplySurroundings::switchedOn },
    { "output.fault", &SupplySurroundings::outputFault },
};

/** The input that blocks a fan's rotor. */
std::string blockedInput( size_t fan ) {
    return fmt::format( "fan{}.blocked", fan + 1 );
}

} // namespace

const PmbusSupply::Row &PmbusSupply::rowOf( uint32_t command ) const {
    const Row *row = findRow( command );
    if ( row == nullptr || !offers( *row ) ) {
        noSuchRegister( command );
    }
    return *row;
}

RegisterContent PmbusSupply::peek( uint32_t reg ) const {
    const Row &row = rowOf( reg );
    if ( row.width == 0 ) {
        const std::string &text = texts_.at( row.command );
        return std::vector<uint8_t>( text.begin(), text.end() );
    }
    return numberOf( row );
}

void PmbusSupply::poke( uint32_t reg, const RegisterContent &content ) {
    const Row &row = rowOf( reg );
    if ( row.width == 0 ) {
        const auto *block = std::get_if<std::vector<uint8_t>>( &content );
        if ( block == nullptr || block->empty() || block->size() > maxSmbusBlock ) {
            throw ChipError( fmt::format( "register 0x{:02X} of {} \"{}\" is a block of 1 to {} "
                                          "bytes",
                                          reg, type(), name(), maxSmbusBlock ) );
        }
        texts_[ row.command ].assign( block->begin(), block->end() );
        return;
    }
    const uint32_t number = numberFor( reg, content, row.width );
    if ( row.read == nullptr ) {
        status_.set( row.command, static_cast<uint8_t>( number ) );
    } else if ( row.writable && row.command != STATUS_BYTE && row.command != STATUS_WORD ) {
        if ( row.command == WRITE_PROTECT && !isProtection( number ) ) {
            throw ChipError( fmt::format( "WRITE_PROTECT of {} \"{}\" is 128, 64, 32 or 0, not {}",
                                          type(), name(), number ) );
        }
        store( row.command, static_cast<uint16_t>( number ) );
    } else {
        forced_[ row.command ] = number;
    }
}

std::vector<InputInfo> PmbusSupply::inputs() const {
    const SupplySurroundings &now = model_.surroundings();
    std::vector<InputInfo> list;
    for ( const auto &input : quantities ) {
        list.push_back( { input.name, now.*input.quantity } );
    }
    for ( const auto &input : lines ) {
        list.push_back( { input.name, now.*input.line ? 1.0 : 0.0 } );
    }
    for ( size_t i = 0; i < model_.fans(); i++ ) {
        list.push_back( { blockedInput( i ), now.fanBlocked[ i ] ? 1.0 : 0.0 } );
    }
    return list;
}

void PmbusSupply::setInput( std::string_view input, double value ) {
    SupplySurroundings next = model_.surroundings();
    if ( !changeInput( next, input, value ) ) {
        Chip::setInput( input, value );
    }
    model_.setSurroundings( next );
    followSwitches();
}

bool PmbusSupply::changeInput( SupplySurroundings &next, std::string_view input,
                               double value ) const {
    for ( const auto &[ known, quantity, least, most ] : quantities ) {
        if ( input == known ) {
            if ( !( value >= least && value <= most ) ) {
                throw ChipError( fmt::format( "input \"{}\" of {} \"{}\" is from {} to {}, not {}",
                                              input, type(), name(), least, most, value ) );
            }
            next.*quantity = value;
            return true;
        }
    }
    for ( const auto &[ known, line ] : lines ) {
        if ( input == known ) {
            next.*line = lineLevel( input, value );
            return true;
        }
    }
    for ( size_t i = 0; i < model_.fans(); i++ ) {
        if ( input == blockedInput( i ) ) {
            next.fanBlocked[ i ] = lineLevel( input, value );
            return true;
        }
    }
    return false;
}

std::vector<InputInfo> PmbusSupply::outputs() const {
    const bool good = model_.isDelivering();
    return { { "powergood", good ? 1.0 : 0.0 },
             { "powerbad", good ? 0.0 : 1.0 },
             { "acgood", model_.hasMains() ? 1.0 : 0.0 } };
}

} // namespace smbusd
