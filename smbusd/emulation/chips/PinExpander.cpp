#include "smbusd/emulation/chips/PinExpander.h"

#include <algorithm>

#include <fmt/format.h>

namespace smbusd {

PinExpander::PinExpander( ChipContext context, const PinExpanderMap &map )
    : Chip( std::move( context ) ), map_( map ) {
    for ( const PinRegisters &row : map_.registers ) {
        for ( unsigned bank = 0; bank < ( row.perBank ? map_.banks : 1 ); ++bank ) {
            resetValues_.at( row.first + bank ) = row.reset;
        }
    }
    lines_.fill( 0xFF );
    PinExpander::reset();
}

void PinExpander::configure( const ChipOptions &options ) {
    if ( const auto registers = options.json.find( "registers" ) ) {
        registers->forEachMember( [ & ]( std::string_view key, const JsonView &value ) {
            const PinRegisters &last = map_.registers.back();
            const uint32_t end = last.first + ( last.perBank ? map_.banks : 1 );
            const uint32_t reg = value.keyNumber( key, map_.output, end - 1 );
            if ( !exists( reg ) ) {
                value.fail( fmt::format( "no value: the chip has no register 0x{:02X}", reg ) );
            }
            resetValues_.at( reg ) = static_cast<uint8_t>( value.number( 0, 0xFF ) );
        } );
    }
    reset();
}

void PinExpander::reset() {
    registers_ = resetValues_;
    command_ = 0;
    register_ = 0;
    commandSeen_ = false;
}

const PinRegisters *PinExpander::find( uint32_t reg ) const {
    const auto row = std::find_if(
        map_.registers.begin(), map_.registers.end(), [ & ]( const PinRegisters &candidate ) {
            return reg - candidate.first < ( candidate.perBank ? map_.banks : 1 );
        } );
    return row == map_.registers.end() ? nullptr : &*row;
}

bool PinExpander::start( bool read ) {
    if ( read ) {
        register_ = command_;
    }
    commandSeen_ = read;
    return true;
}

bool PinExpander::write( uint8_t byte ) {
    if ( !commandSeen_ ) {
        const std::optional<uint8_t> reg = decode( byte );
        if ( !reg ) {
            return false;
        }
        command_ = register_ = *reg;
        commandSeen_ = true;
        return true;
    }
    const uint8_t reg = next();
    if ( isInput( reg ) ) {
        misuse( fmt::format( "write of 0x{:02X} to the read-only register 0x{:02X}", byte, reg ) );
    } else {
        registers_.at( reg ) = byte;
    }
    return true;
}

uint8_t PinExpander::read() {
    return registerValue( next() );
}

/** The register that is meant, before the move to the one that follows it. */
uint8_t PinExpander::next() {
    const uint8_t reg = register_;
    register_ = following( reg );
    return reg;
}

uint8_t PinExpander::registerValue( uint32_t reg ) const {
    if ( !isInput( reg ) ) {
        return registers_.at( reg );
    }
    const unsigned bank = reg - map_.input;
    const unsigned inputs = registers_.at( map_.configuration + bank );
    const unsigned levels =
        ( lines_.at( bank ) & inputs ) | ( registers_.at( map_.output + bank ) & ~inputs );
    return static_cast<uint8_t>( levels ^ registers_.at( map_.polarity + bank ) );
}

std::vector<RegisterInfo> PinExpander::registers() const {
    std::vector<RegisterInfo> list;
    for ( const PinRegisters &row : map_.registers ) {
        if ( !row.perBank ) {
            list.push_back( { row.first, 1, false, std::string( row.name ) } );
            continue;
        }
        for ( unsigned bank = 0; bank < map_.banks; ++bank ) {
            list.push_back( { row.first + bank, 1, row.first == map_.input,
                              fmt::format( "{}{}", row.name, bank ) } );
        }
    }
    return list;
}

RegisterContent PinExpander::peek( uint32_t reg ) const {
    if ( !exists( reg ) ) {
        noSuchRegister( reg );
    }
    return uint32_t{ registerValue( reg ) };
}

void PinExpander::poke( uint32_t reg, const RegisterContent &content ) {
    if ( !exists( reg ) ) {
        noSuchRegister( reg );
    }
    const auto value = static_cast<uint8_t>( numberFor( reg, content, 1 ) );
    if ( isInput( reg ) ) {
        const unsigned bank = reg - map_.input;
        lines_.at( bank ) = static_cast<uint8_t>( value ^ registers_.at( map_.polarity + bank ) );
    } else {
        registers_.at( reg ) = value;
    }
}

std::vector<InputInfo> PinExpander::inputs() const {
    std::vector<InputInfo> list;
    for ( unsigned bank = 0; bank < map_.banks; ++bank ) {
        for ( unsigned bit = 0; bit < bitsPerBank; ++bit ) {
            list.push_back( { fmt::format( "p{}{}", bank, bit ),
                              static_cast<double>( lines_.at( bank ) >> bit & 1 ) } );
        }
    }
    return list;
}

void PinExpander::setInput( std::string_view input, double value ) {
    const auto isDigitBelow = []( char c, unsigned end ) {
        return c >= '0' && c < static_cast<char>( '0' + end );
    };
    if ( input.size() != 3 || input[ 0 ] != 'p' || !isDigitBelow( input[ 1 ], map_.banks ) ||
         !isDigitBelow( input[ 2 ], bitsPerBank ) ) {
        Chip::setInput( input, value );
        return;
    }
    const bool level = lineLevel( input, value );
    uint8_t &bank = lines_.at( static_cast<size_t>( input[ 1 ] - '0' ) );
    const auto mask = static_cast<uint8_t>( 1u << ( input[ 2 ] - '0' ) );
    bank = static_cast<uint8_t>( level ? bank | mask : bank & ~mask );
}

} // namespace smbusd
