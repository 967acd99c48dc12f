#pragma once

#include "OrvanGeneric/Components/Fan.h"
#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/Components/Psu.h"

namespace Drivers {

class MirePsuPCA9555;

/**
 * One of the board's two Emerson supplies, over PMBus. Unlike a generic PMBus supply its output
 * voltage has a fixed scale, the expander with label "PsuPCA" tells whether its power is good, and
 * its input current follows from power and voltage.
 *
 * Takes "psuId" (1 or 2). A fan takes "fanId" (1 or 2), "maxFanRpm" (no request goes beyond it) and
 * "pec" (default false).
 */
class EmersonPmbus : public Component::HardwareDevice {
  public:
    /** The supply's measurements. */
    class Psu final : public Component::LogicalDevice::Psu {
      public:
        /** @param supply  outlives this object */
        explicit Psu( EmersonPmbus *supply ) : supply_( supply ) {}

        pl_status get_power_ok( int *ok ) override;
        /** Input power by input voltage; 0 where there is no voltage, or none could be read. */
        pl_status get_input_current( float *amperes ) override;
        pl_status get_output_current( float *amperes ) override;
        pl_status get_input_voltage( float *volts ) override;
        pl_status get_output_voltage( float *volts ) override;
        pl_status get_input_power( float *watts ) override;
        /** Output voltage times output current. */
        pl_status get_output_power( float *watts ) override;

      private:
        EmersonPmbus *supply_;
    };

    /** What a fan's speed is read from and commanded with. */
    struct FanRegisters {
        uint8_t speed;   ///< READ_FAN_SPEED_n
        uint8_t command; ///< FAN_COMMAND_n
    };

    /** A fan of the supply. */
    class Fan final : public Component::LogicalDevice::Fan {
      public:
        /** @param number  1 or 2; @param maxFanRpm  cap of setRpm(); @param pec  for writes */
        Fan( EmersonPmbus *supply, int number, int maxFanRpm, bool pec );

        pl_status getRpm( int *rpm ) override;
        pl_status setRpm( int rpm ) override;

      private:
        FanRegisters registers_;
        bool pec_;
        EmersonPmbus *supply_;
        int number_;
        int maxFanRpm_;
    };

    /** Makes the driver that a description asks for; the caller owns it. */
    static Component::HardwareDevice *create( const DriverArgs &args, Ham::Ham *ham );

    /** @param psuId  1 or 2 */
    explicit EmersonPmbus( uint8_t psuId ) : psuId_( psuId ) {}

    /** Finds the expander; aborts when there is none, or something else has its label. */
    int init() override;
    Component::LogicalDevice::Psu *newPsu( const DriverArgs &args ) override;
    Component::LogicalDevice::Fan *newFan( const DriverArgs &args ) override;
    const Utils::ExpectedValues *expectedValues() override;

    /** Reads a LINEAR11 command; @p value is set on success only. */
    pl_status pmbus_read_linear( uint8_t reg, float *value );
    /** A whole number as a LINEAR11 word with an exponent of 0 or more. */
    static uint16_t realToLinear( unsigned short value );

  private:
    uint8_t psuId_;
    MirePsuPCA9555 *expander_ = nullptr; ///< from init() on
};

} // namespace Drivers
