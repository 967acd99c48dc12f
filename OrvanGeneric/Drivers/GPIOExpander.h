#pragma once

#include <ctime>
#include <vector>

#include <pl/types.h>

#include "OrvanGeneric/Components/HardwareDevice.h"

namespace Drivers {

/**
 * Common base of the port-expander drivers: chips organised in 8-bit banks, each with an input, an
 * output and a configuration register; the registers of bank n follow those of bank 0.
 *
 * Inputs are cached for a time. Output changes are collected and go to the chip with save(); it
 * forgets them then, so that the next change starts from what the chip holds.
 */
class GPIOExpander : public Component::HardwareDevice {
  public:
    /**
     * @param numBanks        banks of the chip
     * @param cacheTimeout    seconds for which a read input bank is taken as fresh
     * @param inputBankBase   input register of bank 0
     * @param outputBankBase  output register of bank 0
     * @param configBankBase  configuration register of bank 0
     */
    GPIOExpander( int numBanks, unsigned int cacheTimeout, uint8_t inputBankBase,
                  uint8_t outputBankBase, uint8_t configBankBase );

    /** The input byte of bank @p n, through the cache. */
    pl_status getInBank( uint8_t n, uint8_t *value );
    /** The output byte of bank @p n: as pending, or else as the chip holds it. */
    pl_status getOutBank( uint8_t n, uint8_t *value );
    /** An input bit, through the cache; the single number is a pin: eight to a bank. */
    pl_status readBit( uint8_t bank, uint8_t bit, bool *value );
    /** Likewise, by pin: bank times eight plus bit. */
    pl_status readBit( uint8_t pin, bool *value );
    /** Changes an output bit; save() brings it to the chip. */
    pl_status writeBit( uint8_t bank, uint8_t bit, bool value );
    /** Likewise, by pin: bank times eight plus bit. */
    pl_status writeBit( uint8_t pin, bool value );
    /** Writes every bank that was read or changed since the last time, in one transaction. */
    pl_status save();
    /** Writes the configuration register of every bank: @p config holds a byte for each. */
    pl_status writeConfig( const uint8_t *config );

    /** The output register of bank @p n. */
    uint8_t outputBankAddr( uint8_t n ) const {
        return static_cast<uint8_t>( outputBankBase_ + n );
    }
    /** The configuration register of bank @p n. */
    uint8_t configBankAddr( uint8_t n ) const {
        return static_cast<uint8_t>( configBankBase_ + n );
    }

  private:
    std::vector<timespec> lastRead_;
    std::vector<uint8_t> inputCache_;
    /** The bank's output byte, or nothingPending. */
    std::vector<uint16_t> outputCache_;
    int32_t numBanks_;
    uint32_t cacheTimeout_;
    uint8_t inputBankBase_;
    uint8_t outputBankBase_;
    uint8_t configBankBase_;
};

} // namespace Drivers
