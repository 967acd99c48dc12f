#pragma once

#include "OrvanGeneric/Components/Gpio.h"
#include "OrvanGeneric/Drivers/GPIOExpander.h"

namespace Drivers {

/**
 * A PCA9555 16-bit port expander whose pins are described one by one as GPIO lines.
 *
 * Arguments (decimal): "bank-io-0", "bank-io-1" (required: direction of each bank's pins, a 1 bit is
 * an input), "cacheTimeout" (seconds, low 8 bits kept, default 2), "inputBankBase", "outputBankBase",
 * "configBankBase" (default the PCA9555's 0, 2, 6). Each GPIO takes "bank" and "bit".
 */
class GenericPCA9555 : public GPIOExpander {
  public:
    /** A pin as a GPIO line. Each change is a transaction of its own. */
    class ExpGpio : public Component::LogicalDevice::Gpio {
      public:
        /** @param args  name the pin; @param expander  outlives the line */
        ExpGpio( const DriverArgs &args, GenericPCA9555 *expander );

        pl_status bitClear() override;
        pl_status bitSet() override;
        /** Reads the pin through the input cache; a failure gives 0. */
        pl_status bitRead( unsigned int *value ) override;

      private:
        GenericPCA9555 *expander_;
        int bank;
        int bit;
    };

    /** Makes the driver that a description asks for; the caller owns it. */
    static Component::HardwareDevice *create( const DriverArgs &args, Ham::Ham *ham );

    /** @param config  a direction byte for each bank; at most two banks */
    GenericPCA9555( const uint8_t *config, uint8_t numBanks, uint8_t cacheTimeout,
                    uint8_t inputBankBase, uint8_t outputBankBase, uint8_t configBankBase );

    /** Writes the pins' directions. */
    int init() override;
    Component::LogicalDevice::Gpio *newGpio( const DriverArgs &args ) override;

  private:
    uint8_t config[ 2 ];
};

} // namespace Drivers
