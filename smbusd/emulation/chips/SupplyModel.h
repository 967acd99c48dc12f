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
    /** Fans that a supply can have. */
    static constexpr size_t mostFans = 2;

    double vin = 230;                        ///< volts of the mains
    double iout = 0;                         ///< amperes that the load draws
    double ambient = 25;                     ///< degrees Celsius
    bool switchedOn = true;                  ///< by the line for that
    bool outputFault = false;                ///< the output has collapsed though the supply is on
    std::array<bool, mostFans> fanBlocked{}; ///< by fan: the rotor cannot turn
};

/** How a power supply behaves, whatever language it speaks. */
class SupplyModel {
  public:
    /** Fans that a supply can have. */
    static constexpr size_t mostFans = SupplySurroundings::mostFans;

    /** Without fans and temperatures. @param scheduler  moves the fans; outlives the model */
    SupplyModel( Scheduler &scheduler, const SupplyRatings &ratings )
        : scheduler_( scheduler ), ratings_( ratings ) {}

    /** Adds a fan that stands still. @param maxRpm  the most it can be driven to */
    void addFan( double maxRpm, Duration timeConstant );
    /** Adds a temperature. @param rise  how far above the ambient one it is at full load */
    void addTemperature( double rise ) { temperatureRises_.push_back( rise ); }

    /** What acts on the supply now. */
    const SupplySurroundings &surroundings() const { return surroundings_; }
    /** From now on that acts on it; the fans follow. */
    void setSurroundings( const SupplySurroundings &surroundings );
    /** Switches it on or off from inside, by its controller. */
    void setEnabled( bool enabled ) { enabled_ = enabled; }
    /** From now on that is what the controller asks of a fan. */
    void setFanRpm( size_t index, double rpm );
    /** The fans stand still now, and spin up from there. */
    void stopFans();
    /** The fans turn as they were told, as if that had been so for long. */
    void settleFans();

    /** What the supply is built for. */
    const SupplyRatings &ratings() const { return ratings_; }
    /** Fans that were added. */
    size_t fans() const { return fans_.size(); }
    /** Temperatures that were added. */
    size_t temperatures() const { return temperatureRises_.size(); }

    /** Whether the mains suffice; without them there is no output, and no fan turns. */
    bool hasMains() const;
    /** Whether line and controller both want it on. */
    bool isSwitchedOn() const { return surroundings_.switchedOn && enabled_; }
    /** Whether it is switched on and has mains. */
    bool isOn() const { return hasMains() && isSwitchedOn(); }
    /** Whether it is on and its output has not collapsed. */
    bool isDelivering() const { return isOn() && !surroundings_.outputFault; }
    /** Whether a fan is driven but cannot turn. @param fan  from 0 */
    bool isStalled( size_t fan ) const { return hasMains() && surroundings_.fanBlocked[ fan ]; }
    /** Volts of the mains. */
    double inputVoltage() const { return surroundings_.vin; }
    /** Amperes drawn from the mains. */
    double inputCurrent() const { return hasMains() ? inputPower() / inputVoltage() : 0; }
    /** Watts drawn from the mains. */
    double inputPower() const { return outputPower() / ratings_.efficiency; }
    /** Volts at the output. */
    double outputVoltage() const { return isDelivering() ? ratings_.vout : 0; }
    /** Amperes that the load gets. */
    double outputCurrent() const { return isDelivering() ? surroundings_.iout : 0; }
    /** Watts that the load gets. */
    double outputPower() const { return outputVoltage() * outputCurrent(); }
    /** Degrees Celsius. @param index  from 0, in the order of addTemperature() */
    double temperature( size_t index ) const;
    /** A fan's present speed. @param index  from 0, in the order of addFan() */
    double fanRpm( size_t index ) const { return fans_[ index ].motor.speed( scheduler_.now() ); }
    /** The most a fan can be driven to. @param index  from 0 */
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
