#include "smbusd/emulation/chips/PmbusStatus.h"

#include "smbusd/emulation/chips/PmbusCommands.h"

namespace smbusd {

using namespace pmbus;

namespace {

/** Bits of STATUS_WORD that do not just tell of something in a register. */
constexpr unsigned powerGoodNegated = 1u << 11;
constexpr unsigned off = 1u << 6;
constexpr unsigned ioutOverCurrentFault = 1u << 4;
constexpr unsigned vinUnderVoltageFault = 1u << 3;

/** The bit of STATUS_WORD that tells of anything in a register. */
constexpr struct {
    uint8_t command;
    unsigned bit;
} summaries[] = {
    { STATUS_VOUT, 1u << 15 },     { STATUS_IOUT, 1u << 14 },       { STATUS_INPUT, 1u << 13 },
    { STATUS_FANS_1_2, 1u << 10 }, { STATUS_TEMPERATURE, 1u << 2 }, { STATUS_CML, 1u << 1 },
};

} // namespace

uint8_t PmbusStatus::faults( uint8_t command ) const {
    const auto found = faults_.find( command );
    return found == faults_.end() ? uint8_t{ 0 } : found->second;
}

uint16_t PmbusStatus::word( bool isOff, bool powerGood ) const {
    unsigned word = 0;
    for ( const auto &[ command, bit ] : summaries ) {
        word |= faults( command ) != 0 ? bit : 0;
    }
    word |= ( faults( STATUS_IOUT ) & ioutOverCurrent ) != 0 ? ioutOverCurrentFault : 0;
    word |= ( faults( STATUS_INPUT ) & vinUnderVoltage ) != 0 ? vinUnderVoltageFault : 0;
    word |= isOff ? off : 0;
    word |= powerGood ? 0 : powerGoodNegated;
    return static_cast<uint16_t>( word );
}

} // namespace smbusd
