#include "smbusd/chips/Pca9698.h"

#include <fmt/format.h>

namespace smbusd {

namespace {

// Registers of bank 0.
constexpr unsigned inputRegisters = 0x00;
constexpr unsigned outputRegisters = 0x08;
constexpr unsigned polarityRegisters = 0x10;
constexpr unsigned configurationRegisters = 0x18;
constexpr unsigned maskRegisters = 0x20;
// Registers of the whole chip.
constexpr unsigned outputStructure = 0x28;
constexpr unsigned allBankControl = 0x29;
constexpr unsigned modeSelection = 0x2A;

constexpr uint8_t autoIncrementFlag = 0x80;
constexpr uint8_t registerMask = 0x3F;
constexpr unsigned bankMask = 0x07;

/** The registers of a kind, one for each bank. */
struct Kind {
    std::string_view name;
    unsigned first;
    uint8_t reset;
};
constexpr Kind kinds[] = {
    { "input", inputRegisters, 0 },       { "output", outputRegisters, 0 },
    { "polarity", polarityRegisters, 0 }, { "config", configurationRegisters, 0xFF },
    { "mask", maskRegisters, 0xFF },
};
constexpr Kind chipRegisters[] = {
    { "outconf", outputStructure, 0xFF },
    { "allbnk", allBankControl, 0x80 },
    { "mode", modeSelection, 0x02 },
};

} // namespace

std::unique_ptr<Chip> Pca9698::create( ChipContext context, const ChipOptions &options ) {
    auto chip = std::make_unique<Pca9698>( std::move( context ) );
    if ( const auto registers = options.json.find( "registers" ) ) {
        registers->forEachMember( [ & ]( std::string_view key, const JsonView &value ) {
            const uint32_t reg = value.keyNumber( key, outputRegisters, modeSelection );
            if ( !exists( reg ) ) {
                value.fail( fmt::format( "no value: the chip has no register 0x{:02X}", reg ) );
            }
            chip->setResetValue( reg, static_cast<uint8_t>( value.number( 0, 0xFF ) ) );
        } );
    }
    chip->reset();
    return chip;
}

Pca9698::Pca9698( ChipContext context ) : Chip( std::move( context ) ) {
    for ( const Kind &kind : kinds ) {
        for ( unsigned bank = 0; bank < bankCount; bank++ ) {
            resetValues_.at( kind.first + bank ) = kind.reset;
        }
    }
    for ( const Kind &reg : chipRegisters ) {
        resetValues_.at( reg.first ) = reg.reset;
    }
    lines_.fill( 0xFF );
    reset();
}

void Pca9698::setResetValue( uint32_t reg, uint8_t value ) {
    resetValues_.at( reg ) = value;
}

void Pca9698::reset() {
    registers_ = resetValues_;
    command_ = 0;
    register_ = 0;
    autoIncrement_ = false;
    commandSeen_ = false;
}

bool Pca9698::exists( unsigned reg ) {
    return reg < outputStructure ? ( reg & bankMask ) < bankCount : reg <= modeSelection;
}

bool Pca9698::start( bool read ) {
    if ( read ) {
        register_ = command_;
    }
    commandSeen_ = read;
    return true;
}

bool Pca9698::write( uint8_t byte ) {
    if ( !commandSeen_ ) {
        const uint8_t reg = byte & registerMask;
        if ( !exists( reg ) ) {
            misuse( fmt::format( "register 0x{:02X} does not exist", reg ) );
            return false;
        }
        command_ = reg;
        register_ = reg;
        autoIncrement_ = byte & autoIncrementFlag;
        commandSeen_ = true;
        return true;
    }
    const uint8_t reg = next();
    if ( reg < outputRegisters ) {
        misuse( fmt::format( "write of 0x{:02X} to the read-only register 0x{:02X}", byte, reg ) );
    } else {
        registers_.at( reg ) = byte;
    }
    return true;
}

uint8_t Pca9698::read() {
    return registerValue( next() );
}

/** The register that is meant, before the move to the one that follows it. */
uint8_t Pca9698::next() {
    const uint8_t reg = register_;
    if ( autoIncrement_ && reg < outputStructure ) {
        const unsigned bank = ( reg & bankMask ) + 1;
        register_ = static_cast<uint8_t>( ( reg & ~bankMask ) | bank % bankCount );
    }
    return reg;
}

uint8_t Pca9698::registerValue( unsigned reg ) const {
    if ( reg >= outputRegisters ) {
        return registers_.at( reg );
    }
    // An input register shows the lines themselves, so an output line shows what it drives.
    const unsigned bank = reg & bankMask;
    const unsigned isInput = registers_.at( configurationRegisters + bank );
    const unsigned levels =
        ( lines_.at( bank ) & isInput ) | ( registers_.at( outputRegisters + bank ) & ~isInput );
    return static_cast<uint8_t>( levels ^ registers_.at( polarityRegisters + bank ) );
}

std::vector<RegisterInfo> Pca9698::registers() const {
    std::vector<RegisterInfo> list;
    for ( const Kind &kind : kinds ) {
        for ( unsigned bank = 0; bank < bankCount; bank++ ) {
            list.push_back( { kind.first + bank, 1, kind.first == inputRegisters,
                              fmt::format( "{}{}", kind.name, bank ) } );
        }
    }
    for ( const Kind &reg : chipRegisters ) {
        list.push_back( { reg.first, 1, false, std::string( reg.name ) } );
    }
    return list;
}

RegisterContent Pca9698::peek( uint32_t reg ) const {
    if ( !exists( reg ) ) {
        noSuchRegister( reg );
    }
    return uint32_t{ registerValue( reg ) };
}

void Pca9698::poke( uint32_t reg, const RegisterContent &content ) {
    if ( !exists( reg ) ) {
        noSuchRegister( reg );
    }
    const auto value = static_cast<uint8_t>( numberFor( reg, content, 1 ) );
    if ( reg < outputRegisters ) {
        // Setting an input register means driving the bank's lines so that it reads like this.
        lines_.at( reg ) = static_cast<uint8_t>( value ^ registers_.at( polarityRegisters + reg ) );
    } else {
        registers_.at( reg ) = value;
    }
}

std::vector<InputInfo> Pca9698::inputs() const {
    std::vector<InputInfo> list;
    for ( unsigned bank = 0; bank < bankCount; bank++ ) {
        for ( unsigned bit = 0; bit < 8; bit++ ) {
            list.push_back( { fmt::format( "p{}{}", bank, bit ),
                              static_cast<double>( lines_.at( bank ) >> bit & 1 ) } );
        }
    }
    return list;
}

void Pca9698::setInput( std::string_view input, double value ) {
    const bool known = input.size() == 3 && input[ 0 ] == 'p' && input[ 1 ] >= '0' &&
                       input[ 1 ] < static_cast<char>( '0' + bankCount ) && input[ 2 ] >= '0' &&
                       input[ 2 ] <= '7';
    if ( !known ) {
        Chip::setInput( input, value );
        return;
    }
    if ( value != 0 && value != 1 ) {
        throw ChipError( fmt::format( "input \"{}\" of {} \"{}\" is a line: 0 or 1, not {}", input,
                                      type(), name(), value ) );
    }
    uint8_t &bank = lines_.at( static_cast<size_t>( input[ 1 ] - '0' ) );
    const auto mask = static_cast<uint8_t>( 1u << ( input[ 2 ] - '0' ) );
    bank = static_cast<uint8_t>( value != 0 ? bank | mask : bank & ~mask );
}

} // namespace smbusd
