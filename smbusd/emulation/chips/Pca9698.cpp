#include "smbusd/emulation/chips/Pca9698.h"

#include <fmt/format.h>

namespace smbusd {

namespace {

constexpr unsigned bankCount = 5;

// Registers of bank 0.
constexpr uint8_t inputPorts = 0x00;
constexpr uint8_t outputPorts = 0x08;
constexpr uint8_t polarityInversions = 0x10;
constexpr uint8_t configurations = 0x18;
constexpr uint8_t masks = 0x20;
// Registers of the whole chip.
constexpr uint8_t outputStructure = 0x28;
constexpr uint8_t allBankControl = 0x29;
constexpr uint8_t modeSelection = 0x2A;

constexpr uint8_t autoIncrementFlag = 0x80;
constexpr uint8_t registerMask = 0x3F;
/** The low bits of a register's number are the bank. */
constexpr uint8_t bankMask = 0x07;

constexpr PinRegisters rows[] = {
    { "input", inputPorts, 0 },
    { "output", outputPorts, 0 },
    { "polarity", polarityInversions, 0 },
    { "config", configurations, 0xFF },
    { "mask", masks, 0xFF },
    { "outconf", outputStructure, 0xFF, false },
    { "allbnk", allBankControl, 0x80, false },
    { "mode", modeSelection, 0x02, false },
};

constexpr PinExpanderMap map = {
    .banks = bankCount,
    .registers = rows,
    .input = inputPorts,
    .output = outputPorts,
    .polarity = polarityInversions,
    .configuration = configurations,
};

} // namespace

std::unique_ptr<Chip> Pca9698::create( ChipContext context, const ChipOptions &options ) {
    auto chip = std::make_unique<Pca9698>( std::move( context ) );
    chip->configure( options );
    return chip;
}

Pca9698::Pca9698( ChipContext context ) : PinExpander( std::move( context ), map ) {}

void Pca9698::reset() {
    PinExpander::reset();
    autoIncrement_ = false;
}

std::optional<uint8_t> Pca9698::decode( uint8_t command ) {
    const uint8_t reg = command & registerMask;
    if ( !exists( reg ) ) {
        misuse( fmt::format( "register 0x{:02X} does not exist", reg ) );
        return std::nullopt;
    }
    autoIncrement_ = command & autoIncrementFlag;
    return reg;
}

uint8_t Pca9698::following( uint8_t reg ) const {
    if ( !autoIncrement_ || reg >= outputStructure ) {
        return reg;
    }
    return static_cast<uint8_t>( ( reg & ~bankMask ) | ( ( reg & bankMask ) + 1 ) % bankCount );
}

} // namespace smbusd
