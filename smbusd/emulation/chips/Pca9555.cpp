#include "smbusd/emulation/chips/Pca9555.h"

#include <fmt/format.h>

namespace smbusd {

namespace {

constexpr uint8_t inputPorts = 0;
constexpr uint8_t outputPorts = 2;
constexpr uint8_t polarityInversions = 4;
constexpr uint8_t configurations = 6;

constexpr uint8_t commandMask = 7;
/** The low bit of a register's number is the bank. */
constexpr uint8_t bankMask = 1;

constexpr PinRegisters rows[] = {
    { "input", inputPorts, 0 },
    { "output", outputPorts, 0xFF },
    { "polarity", polarityInversions, 0 },
    { "config", configurations, 0xFF },
};

constexpr PinExpanderMap map = {
    .banks = 2,
    .registers = rows,
    .input = inputPorts,
    .output = outputPorts,
    .polarity = polarityInversions,
    .configuration = configurations,
};

} // namespace

std::unique_ptr<Chip> Pca9555::create( ChipContext context, const ChipOptions &options ) {
    auto chip = std::make_unique<Pca9555>( std::move( context ) );
    chip->configure( options );
    return chip;
}

Pca9555::Pca9555( ChipContext context ) : PinExpander( std::move( context ), map ) {}

std::optional<uint8_t> Pca9555::decode( uint8_t command ) {
    if ( ( command & ~commandMask ) != 0 ) {
        misuse( fmt::format( "command 0x{:02X} is not one of 0 to 7", command ) );
    }
    return command & commandMask;
}

uint8_t Pca9555::following( uint8_t reg ) const {
    return reg ^ bankMask;
}

} // namespace smbusd
