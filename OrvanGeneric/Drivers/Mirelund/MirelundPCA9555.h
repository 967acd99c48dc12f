#pragma once

#include <map>
#include <string>

#include "OrvanGeneric/Components/BlinkingLed.h"
#include "OrvanGeneric/Components/Slot.h"
#include "OrvanGeneric/Drivers/FieldDataCache.h"
#include "OrvanGeneric/Drivers/GPIOExpander.h"
#include "OrvanGeneric/Drivers/Helpers.h"

namespace Drivers {

/**
 * The PCA9555 of the fan board: a presence input, an airflow strap and an LED of each fan module.
 *
 * Arguments (decimal, required): "bank-io-0", "bank-io-1", the direction of each bank's pins (a 1 bit
 * is an input). An LED takes "id", a slot "fanId": the fan's number, from 1. A slot also takes
 * "fanFdl" (the template of its field data, with placeholders airflowDirection, maxRpm and
 * modelName), "rpmF2B" and "rpmB2F" (what maxRpm becomes for a module of either airflow direction)
 * and "modelName". All of these are required.
 */
class MirelundPCA9555 : public GPIOExpander {
  public:
    /** Green (off, good), amber (warning, bad) or, as a beacon, both in turn. */
    class FanLed : public Component::LogicalDevice::BlinkingLed {
      public:
        /** @param index  the fan's, from 0 */
        FanLed( MirelundPCA9555 *expander, uint8_t index );

        bool handleBlinkTimer( bool on ) override;
        /** All but the beacon end the blinking; PL_STATUS_INVALID leaves the pin alone. */
        pl_status setLightSetting( pl_led_status status ) override;

        /** Amber; the expander's save() shows it. */
        void setLedOn();
        /** Green; the expander's save() shows it. */
        void setLedOff();

      private:
        MirelundPCA9555 *expander_;
        uint8_t index_;
        uint8_t pin_;
    };

    /** The bay of a fan tray: whether one is in, and which way it blows. */
    class FanSlot : public Component::LogicalDevice::Slot {
      public:
        /** @param index  the fan's, 0 to 3 */
        FanSlot( MirelundPCA9555 *expander, uint8_t index,
                 const std::map<std::string, std::string> &slotArgs );

        /** The text is filled once for each module that is put in, and then copied. */
        pl_status getPresence( char **fdl ) override;

      private:
        /** Fills the template for a module with that airflow. @return the text, until the next fill */
        const char *fill( bool backToFront );

        MirelundPCA9555 *expander_;
        uint8_t index_;
        uint8_t presencePin_;
        uint8_t airflowPin_;
        std::map<std::string, std::string> slotArgs_;
        std::string rpmF2B_;
        std::string rpmB2F_;
        std::string modelName_;
        FormatFdl formatFdl_;
        FieldDataCache cachedFdl_;
        bool cachedAirflow_ = false; ///< what cachedFdl_ was filled for
    };

    /** Makes the driver that a description asks for; the caller owns it. */
    static Component::HardwareDevice *create( const DriverArgs &args, Ham::Ham *ham );

    /** @param config0  direction of the pins of bank 0; @p config1 of bank 1 */
    MirelundPCA9555( uint8_t config0, uint8_t config1 );

    /** Writes the pins' directions. */
    int init() override;
    Component::LogicalDevice::Slot *newSlot( const DriverArgs &args ) override;
    /** Takes "id" up to 5; there is no LED of a fifth fan on this expander, using it aborts. */
    Component::LogicalDevice::Led *newLed( const DriverArgs &args ) override;
    const Utils::ExpectedValues *expectedValues() override;

  private:
    uint8_t config_[ 2 ];
};

} // namespace Drivers
