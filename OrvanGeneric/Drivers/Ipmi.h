#pragma once

#include <map>
#include <memory>
#include <string>

#include "OrvanGeneric/Components/Fan.h"
#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/Components/Psu.h"
#include "OrvanGeneric/Components/Slot.h"
#include "OrvanGeneric/Components/TempSensor.h"
#include "OrvanGeneric/Drivers/FieldDataCache.h"
#include "OrvanGeneric/Drivers/Helpers.h"

namespace Ham {
class IpmiHam;
}

namespace Drivers {

/**
 * Supplies, fans, temperature sensors and fan slots that a BMC owns: views of its named sensors, which
 * can only be read.
 *
 * Arguments: "hamType" (required), the kind of IPMI Ham, which takes further arguments of its own
 * (see Ham::IpmitoolHam); "fruId", which names the sensor of the airflow direction (none by default).
 * The device is on no bus: its description says "provideHam": 0.
 *
 * Every peripheral takes "ipmiKey" (required), the name of its sensor or, for a supply, what its
 * sensors' names begin with.
 */
class Ipmi : public Component::HardwareDevice {
  public:
    /**
     * A supply; takes "psuId" (decimal, 1 or 2, required). Its sensors are the key with _CURRENT_IN,
     * _CURRENT_OUT, _VOLTAGE_IN, _VOLTAGE_OUT, _POWER_IN, _POWER_OUT and _OK after it.
     */
    class Psu final : public Component::LogicalDevice::Psu {
      public:
        /** @param ham  shared by all of the BMC's units */
        Psu( std::shared_ptr<Ham::IpmiHam> ham, uint8_t psuId, const std::string &ipmiKey );

        pl_status get_power_ok( int *ok ) override;
        pl_status get_input_current( float *amperes ) override;
        pl_status get_output_current( float *amperes ) override;
        pl_status get_input_voltage( float *volts ) override;
        pl_status get_output_voltage( float *volts ) override;
        pl_status get_input_power( float *watts ) override;
        pl_status get_output_power( float *watts ) override;

        /** 1 or 2. */
        uint8_t psuId() const { return psuId_; }

      private:
        std::shared_ptr<Ham::IpmiHam> ham_;
        uint8_t psuId_;
        std::string currentIn_;
        std::string currentOut_;
        std::string voltageIn_;
        std::string voltageOut_;
        std::string powerIn_;
        std::string powerOut_;
        std::string ok_;
    };

    /** A fan; takes "fanId" (decimal, 1 to 7) and "maxRpm" or, without it, "maxFanRpm". */
    class Fan : public Component::LogicalDevice::Fan {
      public:
        /** @param maxRpm  the speed that counts as 100 percent */
        Fan( std::shared_ptr<Ham::IpmiHam> ham, uint8_t fanId, int maxRpm,
             const std::string &ipmiKey );

        pl_status getRpm( int *rpm ) override;
        /** Aborts: the BMC alone sets the speed. */
        pl_status setRpm( int rpm ) override;

        /** 1 to 7. */
        uint8_t fanId() const { return fanId_; }
        /** The speed that counts as 100 percent, in revolutions per minute. */
        int maxRpm() const { return maxRpm_; }

      private:
        std::shared_ptr<Ham::IpmiHam> ham_;
        uint8_t fanId_;
        int maxRpm_;
        std::string ipmiKey_;
    };

    /** A temperature sensor of the BMC. */
    class TempSensor : public Component::LogicalDevice::TempSensor {
      public:
        /** @param ipmiKey  the sensor's name */
        TempSensor( std::shared_ptr<Ham::IpmiHam> ham, const std::string &ipmiKey );

        pl_status getTemperature( float *celsius ) override;

      private:
        std::shared_ptr<Ham::IpmiHam> ham_;
        std::string ipmiKey_;
    };

    /**
     * A fan's bay; takes "fanId" (decimal, 1 to 8), "fanFdl" (the template of its field data, with
     * placeholders airflowDirection, maxRpm and modelName), "rpmF2B" and "rpmB2F" (what maxRpm
     * becomes for a fan of either airflow direction), all required, and "modelName" (empty by
     * default). "ipmiSlotKey" is accepted and has no effect: a bay has no sensor of its own.
     */
    class FanSlot : public Component::LogicalDevice::Slot {
      public:
        /** @param index  the fan's, from 0 */
        FanSlot( Ipmi *ipmi, int index, const std::string &fruKey,
                 const std::map<std::string, std::string> &slotArgs );

        /** The text is filled once for each fan that is put in, and then copied. */
        pl_status getPresence( char **fdl ) override;

      private:
        Ipmi *ipmi_;
        int index_;
        std::string fruKey_;
        std::map<std::string, std::string> slotArgs_;
        std::string rpmF2B_;
        std::string rpmB2F_;
        std::string modelName_;
        FormatFdl formatFdl_;
        FieldDataCache cachedFdl_;
    };

    /** Null when "hamType" is missing or there is no such Ham. */
    static Component::HardwareDevice *create( const DriverArgs &args, Ham::Ham *ham );

    /** @param fruId  names the sensor of the airflow direction; empty: none */
    Ipmi( const std::string &fruId, std::shared_ptr<Ham::IpmiHam> ipmiHam );

    int init() override;
    /** Null when "psuId" or "ipmiKey" is missing. */
    Component::LogicalDevice::Psu *newPsu( const DriverArgs &args ) override;
    Component::LogicalDevice::Fan *newFan( const DriverArgs &args ) override;
    Component::LogicalDevice::TempSensor *newTempSensor( const DriverArgs &args ) override;
    Component::LogicalDevice::Slot *newSlot( const DriverArgs &args ) override;

    /** What the airflow sensor says, or "unknownAirflowDirection". */
    std::string airflowDirection();

  private:
    std::string fruId_;
    std::shared_ptr<Ham::IpmiHam> ipmiHam_;
};

} // namespace Drivers
