#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace Ham {

/** Whose states a row of the table lists, by IPMI 2.0. */
enum class IpmiStateClass : uint8_t {
    Generic, ///< a generic event/reading type (table 42-2): the code is that type
    Sensor,  ///< a sensor type with states of its own (table 42-3): the code is the sensor's type
};

/** One state that a discrete sensor of a BMC can assert. */
struct IpmiState {
    IpmiStateClass stateClass; ///< what the code is
    uint8_t code;              ///< event/reading type code, or sensor type
    uint8_t offset;            ///< number of the state's bit
    std::string_view text;     ///< as ipmitool words it; the same text judges alike in every row
    /**
     * Whether a unit in this state is one that works: present, running, idle, told of something
     * that harms nothing. False for a fault, the foretelling of one, a loss of power or redundancy,
     * a unit that is off, absent, or not in service.
     */
    bool good;
};

/** Every state of the generic types and of the standard's and PICMG's sensor types. */
std::span<const IpmiState> ipmiStates();

/**
 * Judges what ipmitool prints of a discrete sensor: the asserted states, with ", " between them.
 * Some of its texts hold commas themselves.
 * @return true when at least one state is asserted and each is a good one; a text that is none of
 *         the table's counts as bad
 */
bool allStatesGood( std::string_view rest );

} // namespace Ham
