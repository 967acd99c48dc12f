#include "smbusd/chips/Pca9555.h"

#include <fmt/format.h>

namespace smbusd {

namespace {

// First registers of the pairs; the low bit of a register number selects the port.
constexpr unsigned inputRegisters = 0;
constexpr unsigned outputRegisters = 2;
constexpr unsigned polarityRegisters = 4;
constexpr unsigned configurationRegisters = 6;
constexpr unsigned portMask = 1;
constexpr uint8_t commandMask = 7;

constexpr std::array<std::string_view, 8> registerNames = {
    "input0", "input1", "output0", "output1", "polarity0", "polarity1", "config0", "config1" };

} // namespace

std::unique_ptr<Chip> Pca9555::create( ChipContext context, const ChipOptions &options ) {
    auto chip = std::make_unique<Pca9555>( std::move( context ) );
    if ( const auto registers = options.json.find( "registers" ) ) {
        registers->forEachMember( [ & ]( std::string_view key, const JsonView &value ) {
            const uint32_t reg = value.keyNumber( key, outputRegisters, registerCount - 1 );
            chip->setResetValue( reg, static_cast<uint8_t>( value.number( 0, 0xFF ) ) );
        } );
    }
    chip->reset();
    return chip;
}

void Pca9555::setResetValue( uint32_t reg, uint8_t value ) {
    resetValues_.at( reg ) = value;
}

void Pca9555::reset() {
    registers_ = resetValues_;
    command_ = 0;
    pointer_ = 0;
    commandSeen_ = false;
}

bool Pca9555::start( bool read ) {
    if ( read ) {
        pointer_ = command_;
    } else {
        commandSeen_ = false;
    }
    return true;
}

bool Pca9555::write( uint8_t byte ) {
    if ( !commandSeen_ ) {
        if ( ( byte & ~commandMask ) != 0 ) {
            misuse( fmt::format( "command 0x{:02X} is not one of 0 to 7", byte ) );
        }
        command_ = byte & commandMask;
        pointer_ = command_;
        commandSeen_ = true;
        return true;
    }
    if ( pointer_ < outputRegisters ) {
        misuse( fmt::format( "write of 0x{:02X} to the read-only register {}", byte, pointer_ ) );
    } else {
        registers_[ pointer_ ] = byte;
    }
    advance();
    return true;
}

uint8_t Pca9555::read() {
    const uint8_t value = registerValue( pointer_ );
    advance();
    return value;
}

uint8_t Pca9555::registerValue( unsigned reg ) const {
    if ( reg >= outputRegisters ) {
        return registers_[ reg ];
    }
    // An input register shows the lines themselves, so an output line shows what it drives.
    const unsigned port = reg & portMask;
    const unsigned isInput = registers_[ configurationRegisters + port ];
    const unsigned levels =
        ( lines_[ port ] & isInput ) | ( registers_[ outputRegisters + port ] & ~isInput );
    return static_cast<uint8_t>( levels ^ registers_[ polarityRegisters + port ] );
}

std::vector<RegisterInfo> Pca9555::registers() const {
    std::vector<RegisterInfo> list;
    for ( unsigned reg = 0; reg < registerCount; reg++ ) {
        list.push_back( { reg, 1, reg < outputRegisters, std::string( registerNames[ reg ] ) } );
    }
    return list;
}

RegisterContent Pca9555::peek( uint32_t reg ) const {
    if ( reg >= registerCount ) {
        noSuchRegister( reg );
    }
    return uint32_t{ registerValue( reg ) };
}

void Pca9555::poke( uint32_t reg, const RegisterContent &content ) {
    if ( reg >= registerCount ) {
        noSuchRegister( reg );
    }
    const auto value = static_cast<uint8_t>( numberFor( reg, content, 1 ) );
    if ( reg < outputRegisters ) {
        // Setting an input register means driving the port's lines so that it reads like this.
        const unsigned port = reg & portMask;
        lines_[ port ] = static_cast<uint8_t>( value ^ registers_[ polarityRegisters + port ] );
    } else {
        registers_[ reg ] = value;
    }
}

std::vector<InputInfo> Pca9555::inputs() const {
    std::vector<InputInfo> list;
    for ( unsigned port = 0; port < lines_.size(); port++ ) {
        for ( unsigned bit = 0; bit < 8; bit++ ) {
            list.push_back( { fmt::format( "p{}{}", port, bit ),
                              static_cast<double>( lines_[ port ] >> bit & 1 ) } );
        }
    }
    return list;
}

void Pca9555::setInput( std::string_view input, double value ) {
    const bool known = input.size() == 3 && input[ 0 ] == 'p' &&
                       ( input[ 1 ] == '0' || input[ 1 ] == '1' ) && input[ 2 ] >= '0' &&
                       input[ 2 ] <= '7';
    if ( !known ) {
        Chip::setInput( input, value );
    }
    const bool level = lineLevel( input, value );
    uint8_t &port = lines_[ static_cast<size_t>( input[ 1 ] - '0' ) ];
    const auto mask = static_cast<uint8_t>( 1u << ( input[ 2 ] - '0' ) );
    port = static_cast<uint8_t>( level ? port | mask : port & ~mask );
}

} // namespace smbusd
