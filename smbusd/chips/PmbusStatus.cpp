#include "smbusd/chips/PmbusStatus.h"

#include "smbusd/chips/PmbusCommands.h"

namespace smbusd {

namespace {

/** Bits of STATUS_WORD that are not just a summary. */
constexpr uint32_t powerGoodNegated = 1u << 11;
constexpr uint32_t off = 1u << 6;

/** Those that are: which faults of which register set them. */
constexpr struct {
    uint8_t command;
    uint8_t faults;
    uint32_t wordBit;
} summaries[] = {
    { pmbus::STATUS_VOUT, 0xFF, 1u << 15 },
    { pmbus::STATUS_IOUT, 0xFF, 1u << 14 },
    { pmbus::STATUS_INPUT, 0xFF, 1u << 13 },
    { pmbus::STATUS_FANS_1_2, 0xFF, 1u << 10 },
    { pmbus::STATUS_IOUT, PmbusStatus::ioutOverCurrent, 1u << 4 },
    { pmbus::STATUS_INPUT, PmbusStatus::vinUnderVoltage, 1u << 3 },
    { pmbus::STATUS_TEMPERATURE, 0xFF, 1u << 2 },
    { pmbus::STATUS_CML, 0xFF, 1u << 1 },
};

} // namespace

uint8_t PmbusStatus::get( uint8_t command ) const {
    const auto found = faults_.find( command );
    return found == faults_.end() ? uint8_t{ 0 } : found->second;
}

uint16_t PmbusStatus::word( bool on, bool good ) const {
    uint32_t word = ( on ? 0 : off ) | ( good ? 0 : powerGoodNegated );
    for ( const auto &summary : summaries ) {
        if ( ( get( summary.command ) & summary.faults ) != 0 ) {
            word |= summary.wordBit;
        }
    }
    return static_cast<uint16_t>( word );
}

} // namespace smbusd
