#include "smbusd/emulation/chips/PmbusStatus.h"

#include "smbusd/emulation/chips/PmbusCommands.h"

namespace smbusd {

using namespace pmbus;

namespace {

/** Bits of STATUS_WORD that do not just tell of something in a register. */
constexpr unsigned powerGoodNegated = 1u << 11;
constexpr unsigned off = 1u << 6;
/** Of STATUS_BYTE: there is a fault that its other bits have no name for. */
constexpr unsigned noneOfTheAbove = 1u << 0;

/** What a register's faults are in STATUS_WORD. */
constexpr struct {
    uint8_t command;
    unsigned any;      ///< set for any fault of the register; 0 if the word has no such bit
    uint8_t named;     ///< faults that STATUS_BYTE has a bit for
    unsigned namedBit; ///< that bit
} summaries[] = {
    { STATUS_VOUT, 1u << 15, PmbusStatus::voutOverVoltage, 1u << 5 },
    { STATUS_IOUT, 1u << 14, PmbusStatus::ioutOverCurrent, 1u << 4 },
    { STATUS_INPUT, 1u << 13, PmbusStatus::vinUnderVoltage, 1u << 3 },
    { STATUS_FANS_1_2, 1u << 10, 0, 0 },
    { STATUS_TEMPERATURE, 0, 0xFF, 1u << 2 },
    { STATUS_CML, 0, 0xFF, 1u << 1 },
};

} // namespace

uint8_t PmbusStatus::faults( uint8_t command ) const {
    const auto found = faults_.find( command );
    return found == faults_.end() ? uint8_t{ 0 } : found->second;
}

void PmbusStatus::clear( uint8_t command, uint8_t faults ) {
    const auto found = faults_.find( command );
    if ( found != faults_.end() ) {
        found->second = static_cast<uint8_t>( found->second & ~faults );
    }
}

uint16_t PmbusStatus::word( bool isOff, bool powerGood ) const {
    unsigned word = 0;
    for ( const auto &[ command, any, named, namedBit ] : summaries ) {
        const uint8_t all = faults( command );
        word |= all != 0 ? any : 0;
        word |= ( all & named ) != 0 ? namedBit : 0;
        word |= ( all & ~named ) != 0 ? noneOfTheAbove : 0;
    }
    word |= isOff ? off : 0;
    word |= powerGood ? 0 : powerGoodNegated;
    return static_cast<uint16_t>( word );
}

} // namespace smbusd
