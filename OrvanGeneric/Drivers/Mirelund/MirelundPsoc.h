#pragma once

#include "OrvanGeneric/Components/Fan.h"
#include "OrvanGeneric/Components/PollingDevice.h"
#include "OrvanGeneric/Components/TempSensor.h"

namespace Drivers {

/**
 * The board's fan and temperature controller, a programmable system-on-chip on SMBus.
 *
 * One PWM output drives all fans; each fan has a tachometer register, and a common register tells
 * which fans are stalled. That one is polled once a second, so that a stalled fan is known without
 * a bus access. Temperatures are plain byte registers. Word registers travel high byte first.
 *
 * It takes no arguments of its own. A fan takes "fanId" (1 to 4), "maxRpm" (the speed at full duty),
 * "registerOffset" (selects its speed register) and "pwmMaster" ("true" on the fan through which the
 * host sets the speed of them all). A sensor takes "sensorId" and "register".
 */
class MirelundPsoc : public Component::PollingDevice<Component::HardwareDevice> {
  public:
    /** A fan: its tachometer, and the duty that all fans share. */
    class Fan : public Component::LogicalDevice::Fan {
      public:
        /**
         * @param index          0 to 3
         * @param speedRegister  holds the tachometer speed
         */
        Fan( MirelundPsoc *driver, uint8_t index, uint32_t maxRpm, uint8_t speedRegister,
             bool pwmMaster )
            : driver_( driver ), maxRpm_( maxRpm ), index_( index ),
              speedRegister_( speedRegister ), pwmMaster_( pwmMaster ) {}

        /** PL_STATUS_FAULT without a bus access when the last poll saw the fan stalled. */
        pl_status getRpm( int *rpm ) override;
        /**
         * Sets the duty that all fans share: whole percents, at most 99. A request of 256 % or more
         * wraps around at 256. Does nothing unless the fan is the PWM master.
         */
        pl_status setRpm( int rpm ) override;

      private:
        MirelundPsoc *driver_;
        uint32_t maxRpm_;
        uint8_t index_;
        uint8_t speedRegister_;
        bool pwmMaster_;
    };

    /** A temperature of the board. */
    class TempSensor : public Component::LogicalDevice::TempSensor {
      public:
        /** @param reg  the register with whole degrees Celsius */
        TempSensor( MirelundPsoc *driver, uint8_t id, uint8_t reg )
            : driver_( driver ), id_( id ), register_( reg ) {}

        /** Whole degrees, 0 to 255. */
        pl_status getTemperature( float *celsius ) override;
        int id() const override { return id_; }
        int reg() const override { return register_; }

      private:
        MirelundPsoc *driver_;
        uint8_t id_;
        uint8_t register_;
    };

    /** Makes the driver that a description asks for; the caller owns it. */
    static Component::HardwareDevice *create( const DriverArgs &args, Ham::Ham *ham );

    /** Writes the configuration and, the first time, starts polling; does not poll itself. */
    int init() override;
    Component::LogicalDevice::TempSensor *newTempSensor( const DriverArgs &args ) override;
    Component::LogicalDevice::Fan *newFan( const DriverArgs &args ) override;
    const Utils::ExpectedValues *expectedValues() override;
    /** Reads which fans are stalled. @return whether that succeeded */
    bool pollCallback() override;

  private:
    /** As last polled: bit n is set while fan index n is stalled. */
    uint8_t stallAlert_ = 0;
};

} // namespace Drivers
