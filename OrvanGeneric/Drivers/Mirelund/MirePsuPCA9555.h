#pragma once

#include "OrvanGeneric/Components/BlinkingLed.h"
#include "OrvanGeneric/Drivers/GPIOExpander.h"

namespace Drivers {

/**
 * The PCA9555 near the power supplies: their power-good and AC-good signals, the reset lines of
 * their EEPROMs, and the two-colour LEDs of the supplies and of the fan area.
 *
 * Takes no arguments. An LED takes "id" (1 or 2) and "type": "psu", the LED of that supply, or
 * "multifan", the fan area's.
 */
class MirePsuPCA9555 : public GPIOExpander {
  public:
    /** Green (good), red (warning, bad), dark (off) or, as a beacon, green and dark in turn. */
    class Led : public Component::LogicalDevice::BlinkingLed {
      public:
        bool handleBlinkTimer( bool on ) override;
        /** All but the beacon end the blinking; PL_STATUS_INVALID leaves the pins alone. */
        pl_status setLightSetting( pl_led_status status ) override;

        /** Colours; the expander's save() shows them. */
        virtual void setLedGreen();
        virtual void setLedRed(); ///< see setLedGreen()
        virtual void setLedOff(); ///< see setLedGreen()

      protected:
        /** @param index  from 0 */
        Led( MirePsuPCA9555 *expander, uint8_t index, uint8_t greenPin, uint8_t redPin )
            : expander_( expander ), index_( index ), greenPin_( greenPin ), redPin_( redPin ) {}

      private:
        void setPins( bool green, bool red );

        MirePsuPCA9555 *expander_;
        uint8_t index_;
        uint8_t greenPin_;
        uint8_t redPin_;
    };

    /** The LED of one supply. */
    class PsuLed final : public Led {
      public:
        /** @param index  0 for supply 1, 1 for supply 2 */
        PsuLed( MirePsuPCA9555 *expander, uint8_t index );
    };

    /** The LED of the fan area. */
    class MultiFanLed final : public Led {
      public:
        /** @param index  from 0 */
        MultiFanLed( MirePsuPCA9555 *expander, uint8_t index );
    };

    /** Makes the driver that a description asks for; the caller owns it. */
    static Component::HardwareDevice *create( const DriverArgs &args, Ham::Ham *ham );

    MirePsuPCA9555();

    /** Sets the pins' directions and lets go of the EEPROMs' resets; failures are only traced. */
    int init() override;
    Component::LogicalDevice::Led *newLed( const DriverArgs &args ) override;
    const Utils::ExpectedValues *expectedValues() override;

    /** Whether the supply's output is good; @p psuId is 1 or 2. */
    pl_status getPowerOk( uint8_t psuId, bool *ok );
    /** Whether the supply's mains are; @p psuId is 1 or 2. */
    pl_status getAcOk( uint8_t psuId, bool *ok );
};

} // namespace Drivers
