#pragma once

#include <cstdint>
#include <cstring>

namespace Topology {

/**
 * Packed address of one device as a Ham uses it: two 32-bit words.
 *
 * Bit fields are laid out from the least significant bit up, which is what the platform's compilers
 * do on x86 and what the SMBus service reads.
 */
struct HamAddress {
    uint32_t reg;             ///< first word: register or command, filled per request
    uint32_t address : 7;     ///< bits 0-6: 7-bit SMBus device address
    uint32_t bus : 7;         ///< bits 7-13: bus number, filled by the Ham
    uint32_t accelerator : 7; ///< bits 14-20: accelerator number
    uint32_t flag : 1;        ///< bit 21: per-request flag
    uint32_t busTimeout : 3;  ///< bits 22-24: the service's choice of time-out
    uint32_t addrSize : 2;    ///< bits 25-26: register address bytes
    uint32_t extraDelay : 1;  ///< bit 27: whether the service pauses longer
    uint32_t writeDelay : 2;  ///< bits 28-29: the service's choice of pause after a write
    uint32_t readDelay : 2;   ///< bits 30-31: the service's choice of pause after a read

    /** Both words as one number, the first word low. */
    uint64_t packed() const {
        uint64_t words;
        static_assert( sizeof( words ) == sizeof( *this ) );
        std::memcpy( &words, this, sizeof( words ) );
        return words;
    }
};

} // namespace Topology
