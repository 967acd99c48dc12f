#pragma once

#include <array>
#include <vector>

#include "smbusd/emulation/chips/FanMotor.h"

namespace smbusd {

/** What a power supply is built for. */
struct SupplyRatings {
    double vout = 12;         ///< volts, while it is on
    double power = 550;       ///< watts that it can deliver
    double efficiency = 0.92; ///< output by input power
};

/** What acts on a power supply from outside. */
struct SupplySurroundings {
    static constexpr size_t mostFans = 2;

    double vin = 230; ///< volts of the mains
    double iout = 0;  ///< amperes that the load draws
    double ambient = 25;
    bool switchedOn = true;   ///< by the line for that
    bool outputFault = false; ///< the output has collapsed though the supply is on
    std::array<bool, mostFans> fanBlocked{};
};

/** How a power supply behaves, whatever language it speaks. */
class SupplyModel {
  public:
    static constexpr size_t mostFans = SupplySurroundings::mostFans;

    SupplyModel( Scheduler &scheduler, const SupplyRatings &ratings )
        : scheduler_( scheduler ), ratings_( ratings ) {}

    void addFan( double maxRpm, Duration timeConstant );
    /** @param rise  how far above the ambient one it is at full load */
    void addTemperature( double rise ) { temperatureRises_.push_back( rise ); }

    const SupplySurroundings &surroundings() const { return surroundings_; }
    void setSurroundings( const SupplySurroundings &surroundings );
    /** Switches it on or off from inside, by its controller. */
    void setEnabled( bool enabled ) { enabled_ = enabled; }
    /** From now on that is what the controller asks of a fan. */
    void setFanRpm( size_t index, double rpm );
    /** The fans stand still now, and spin up from there. */
    void stopFans();
    /** The fans turn as they were told, as if that had been so for long. */
    void settleFans();

    const SupplyRatings &ratings() const { return ratings_; }
    size_t fans() const { return fans_.size(); }
    size_t temperatures() const { return temperatureRises_.size(); }

    /** Whether the mains suffice; without them there is no output, and no fan turns. */
    bool hasMains() const;
    bool isOn() const { return hasMains() && surroundings_.switchedOn && enabled_; }
    bool isDelivering() const { return isOn() && !surroundings_.outputFault; }
    bool isStalled( size_t fan ) const { return hasMains() && surroundings_.fanBlocked[ fan ]; }
    double inputVoltage() const { return surroundings_.vin; }
    double inputCurrent() const { return hasMains() ? inputPower() / inputVoltage() : 0; }
    double inputPower() const { return outputPower() / ratings_.efficiency; }
    double outputVoltage() const { return isDelivering() ? ratings_.vout : 0; }
    double outputCurrent() const { return isDelivering() ? surroundings_.iout : 0; }
    double outputPower() const { return outputVoltage() * outputCurrent(); }
    double temperature( size_t index ) const;
    double fanRpm( size_t index ) const { return fans_[ index ].motor.speed( scheduler_.now() ); }
    double maxRpm( size_t index ) const { return fans_[ index ].maxRpm; }

  private:
    struct Fan {
        double maxRpm;
        FanMotor motor;
        double rpm = 0; ///< asked for
    };

    /** What a fan is driven to. */
    double target( size_t index ) const;

    Scheduler &scheduler_;
    SupplyRatings ratings_;
    std::vector<Fan> fans_;
    std::vector<double> temperatureRises_;
    SupplySurroundings surroundings_;
    bool enabled_ = true;
};

} // namespace smbusd
