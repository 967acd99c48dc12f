#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "smbusd/emulation/chips/FanMotor.h"
#include "smbusd/emulation/chips/RegisterFile.h"

namespace smbusd {

/**
 * The fan and temperature controller of the Mirelund boards: one PWM output for all fans, a
 * tachometer for each, temperatures, and the board's power. Words take two registers, the high
 * byte first:
 *
 *     8       bit 0 written as 1 power-cycles the board
 *     10      bit 1 written as 1 switches the board off
 *     48, 49, 51  configuration; kept, without effect here
 *     50      stall alerts: bit n is set while fan n, counted from 0, is driven but hardly turns
 *     60      duty of the PWM output, hundredths of a percent
 *     64 + 2n speed of fan n, revolutions per minute
 *
 * and a byte of whole degrees Celsius for each temperature, where the configuration puts it. All
 * else reads 0. A fan nears the speed that the duty asks of it; the faster the fans, the less a
 * temperature rises above the ambient one. After a reset the fans spin up.
 *
 * Inputs: "ambient" in degrees; "fanN.present" and "fanN.blocked" (N from 1), lines: a module that
 * is out has no speed, a blocked rotor neither; "NAME.rise", how far a temperature is above the
 * ambient one while the fans stand still.
 */
class Psoc : public RegisterFile {
  public:
    /** Makes one as hardware.json describes it. Throws ConfigError for what is wrong there. */
    static std::unique_ptr<Chip> create( ChipContext context, const ChipOptions &options );

    /** Without fans and temperatures: reset() once all are added. */
    explicit Psoc( ChipContext context );

    /** Adds a fan. @param maxRpm  at full duty @param timeConstant  of a change of speed */
    void addFan( double maxRpm, Duration timeConstant );
    /**
     * Adds a temperature.
     * @param reg   where it reads, below 48 and not taken
     * @param rise  degrees above the ambient one while the fans stand still
     */
    void addTemperature( uint8_t reg, const std::string &name, double rise );
    /** Below that speed a driven fan counts as stalled. */
    void setStallRpm( double rpm ) { stallRpm_ = rpm; }
    /** The duty after a reset, hundredths of a percent. */
    void setResetDuty( uint16_t hundredths );

    bool start( bool read ) override;
    void stop() override;
    /** The fans spin up from standstill. */
    void reset() override;
    /** The fans turn as they are driven. */
    void settle() override;

    std::vector<RegisterInfo> registers() const override;
    RegisterContent peek( uint32_t reg ) const override;
    /** What is measured takes that value: a speed for the moment, an alert by blocking the rotor. */
    void poke( uint32_t reg, const RegisterContent &content ) override;
    std::vector<InputInfo> inputs() const override;
    void setInput( std::string_view input, double value ) override;

  protected:
    uint32_t valueOf( uint32_t reg ) const override;
    void written( uint32_t reg ) override;

  private:
    struct Fan {
        double maxRpm;
        FanMotor motor;
        bool present = true;
        bool blocked = false;

        bool turns() const { return present && !blocked; }
    };
    struct Temperature {
        std::string name;
        double rise;
    };
    enum class PowerRequest { None, Off, Cycle };

    static constexpr double usualAmbient = 25;
    static constexpr double usualStallRpm = 500;

    Duration moment() const { return inMessage_ ? messageTime_ : scheduler().now(); }
    double duty() const;
    void driveFans();
    uint16_t speed( const Fan &fan ) const;
    uint8_t stallAlerts() const;
    double riseShare() const;
    uint8_t degrees( const Temperature &temperature ) const;
    /** The register's description; throws for one that is not there. */
    RegisterInfo infoOf( uint32_t reg ) const;
    void setRotor( Fan &fan, bool &state, bool value );

    std::vector<Fan> fans_;
    std::map<uint32_t, Temperature> temperatures_;
    double ambient_ = usualAmbient;
    double stallRpm_ = usualStallRpm;
    Duration messageTime_{}; ///< a word's two bytes are of one moment
    bool inMessage_ = false;
    bool dutyWritten_ = false;
    PowerRequest powerRequest_ = PowerRequest::None;
};

} // namespace smbusd
