#pragma once

#include <pl/psu.h>

namespace Component::LogicalDevice {

/**
 * A power supply: amperes, volts, watts. Its virtual operations begin with get_power_ok: there is no
 * virtual destructor, since a supply lives as long as the process. Their order is fixed.
 *
 * Every reading returns PL_STATUS_OK and sets its output, or returns the failed access's status. The
 * output after a failure is not defined.
 */
class Psu {
  public:
    /** Fills the record: number 0, this class's callbacks, the way back to this object. */
    Psu() : record_{ 0, &ops_, this } {}
    Psu( const Psu & ) = delete;
    Psu &operator=( const Psu & ) = delete;

    /**
     * Tells whether the output is good.
     * @param ok  receives 1: good, or 0: off
     * @return PL_STATUS_OK; PL_STATUS_FAULT: the output is bad though input is there; otherwise the
     *         failed access's status
     */
    virtual pl_status get_power_ok( int *ok ) = 0;
    /** Reads the input current. */
    virtual pl_status get_input_current( float *amperes ) = 0;
    /** Reads the output current. */
    virtual pl_status get_output_current( float *amperes ) = 0;
    /** Reads the input voltage. */
    virtual pl_status get_input_voltage( float *volts ) = 0;
    /** Reads the output voltage. */
    virtual pl_status get_output_voltage( float *volts ) = 0;
    /** Reads the input power. */
    virtual pl_status get_input_power( float *watts ) = 0;
    /** Reads the output power. */
    virtual pl_status get_output_power( float *watts ) = 0;

    /** What the host gets; part of this object. */
    pl_psu *record() { return &record_; }

    /** The host's get_power_ok: traces, then get_power_ok() of the object. */
    static pl_status get_power_ok_callback( pl_psu *psu, int *ok );
    /** The host's get_input_current: traces, then get_input_current() of the object. */
    static pl_status get_input_current_callback( pl_psu *psu, float *amperes );
    /** The host's get_output_current: traces, then get_output_current() of the object. */
    static pl_status get_output_current_callback( pl_psu *psu, float *amperes );
    /** The host's get_input_voltage: traces, then get_input_voltage() of the object. */
    static pl_status get_input_voltage_callback( pl_psu *psu, float *volts );
    /** The host's get_output_voltage: traces, then get_output_voltage() of the object. */
    static pl_status get_output_voltage_callback( pl_psu *psu, float *volts );
    /** The host's get_input_power: traces, then get_input_power() of the object. */
    static pl_status get_input_power_callback( pl_psu *psu, float *watts );
    /** The host's get_output_power: traces, then get_output_power() of the object. */
    static pl_status get_output_power_callback( pl_psu *psu, float *watts );
    /** The callbacks of every supply, for the host's records. */
    static const pl_psu_ops ops_;

  protected:
    ~Psu() = default;

  private:
    pl_psu record_;
};

} // namespace Component::LogicalDevice
