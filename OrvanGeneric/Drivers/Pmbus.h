#pragma once

#include "OrvanGeneric/Components/Fan.h"
#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/Components/Psu.h"
#include "OrvanGeneric/Components/TempSensor.h"

namespace Drivers {

/**
 * A power supply that speaks PMBus: the supply itself, up to two fans and three temperatures.
 *
 * Arguments: "voutExponent" (decimal; the exponent of READ_VOUT as 5-bit two's complement, 255, the
 * default: what VOUT_MODE says); "gpioDevice" (label of the device that carries the power-good
 * line; without it STATUS_WORD tells), and with it "powerOkReg", "powerOkBit" (decimal, required)
 * and "powerOkActiveLow" (default true).
 */
class Pmbus : public Component::HardwareDevice {
  public:
    /** The supply's measurements, read from it at each call. */
    class Psu final : public Component::LogicalDevice::Psu {
      public:
        /** @param pmbus  the supply; outlives this object */
        explicit Psu( Pmbus *pmbus ) : pmbus_( pmbus ) {}

        pl_status get_power_ok( int *ok ) override;
        pl_status get_input_current( float *amperes ) override;
        pl_status get_output_current( float *amperes ) override;
        pl_status get_input_voltage( float *volts ) override;
        pl_status get_output_voltage( float *volts ) override;
        pl_status get_input_power( float *watts ) override;
        pl_status get_output_power( float *watts ) override;

      private:
        Pmbus *pmbus_;
    };

    /** Where a fan of the supply is read and driven, and its bit in STATUS_FANS_1_2. */
    struct FanRegisters {
        uint8_t speed;     ///< READ_FAN_SPEED_n
        uint8_t command;   ///< FAN_COMMAND_n
        uint8_t faultMask; ///< its fault bit
    };

    /** A fan of the supply. */
    class Fan : public Component::LogicalDevice::Fan {
      public:
        /** @param index  0 or 1; @param maxFanRpm  the speed at full duty; @param pec  for writes */
        Fan( Pmbus *pmbus, uint8_t index, int maxFanRpm, bool pec );

        pl_status getRpm( int *rpm ) override;
        pl_status setRpm( int rpm ) override;

      private:
        friend class Pmbus;

        Pmbus *pmbus_;
        uint8_t index_;
        int maxFanRpm_;
        FanRegisters registers_;
        bool pec_;
    };

    /** One of the supply's temperatures. */
    class TempSensor : public Component::LogicalDevice::TempSensor {
      public:
        /** @param id  1 to 3; @param reg  the command that reads it */
        TempSensor( Pmbus *pmbus, uint8_t id, uint8_t reg )
            : pmbus_( pmbus ), id_( id ), reg_( reg ) {}

        pl_status getTemperature( float *celsius ) override;
        int id() const override { return id_; }
        int reg() const override { return reg_; }

      private:
        Pmbus *pmbus_;
        uint8_t id_;
        uint8_t reg_;
    };

    /** Makes the driver that a description asks for; the caller owns it. */
    static Component::HardwareDevice *create( const DriverArgs &args, Ham::Ham *ham );

    /** @param powerOkGpio  the power-good line, owned; null: STATUS_WORD */
    Pmbus( uint8_t voutExponent, Component::LogicalDevice::Gpio *powerOkGpio,
           bool powerOkActiveLow );

    Component::LogicalDevice::Psu *newPsu( const DriverArgs &args ) override;
    /** Takes "fanId" (1 or 2), "maxFanRpm" and "pec" (default false). */
    Component::LogicalDevice::Fan *newFan( const DriverArgs &args ) override;
    /** Takes "sensorId" and "tempSensor" (1 to 3, default the sensor's id). */
    Component::LogicalDevice::TempSensor *newTempSensor( const DriverArgs &args ) override;
    const Utils::ExpectedValues *expectedValues() override;

    /** Reads a LINEAR11 command; @p value is set on success only. */
    pl_status pmbus_read_linear( uint8_t reg, float *value );
    /** LINEAR16 or, from a supply without VOUT_MODE, LINEAR11; other formats leave @p volts alone. */
    pl_status get_output_voltage( float *volts );
    /** 1: good; 0: off; PL_STATUS_FAULT: bad though the supply is on. Clears old faults first. */
    pl_status get_power_ok( int *ok );
    /** A temperature in degrees Celsius; below zero reads as 0. */
    pl_status getTemperature( uint8_t reg, float *celsius );
    /** Lifts the write protection and clears the latched faults. */
    pl_status clearFaults();
    /** PL_STATUS_FAULT: the supply reports a fault of the fan. */
    pl_status getFanRpm( Fan *fan, int *rpm );
    /**
     * Commands the duty for a speed in revolutions per minute; below zero counts as full duty.
     * PL_STATUS_TRANSPORT for a fan without a greatest speed.
     */
    pl_status setFanRpm( Fan *fan, int rpm );

  private:
    uint8_t voutExponent;
    Component::LogicalDevice::Gpio *powerOkGpio_;
    bool powerOkActiveLow;
};

} // namespace Drivers
