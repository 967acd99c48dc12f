#pragma once

#include <pl/psu.h>

namespace Component::LogicalDevice {

/**
 * A power supply: amperes, volts, watts. Its virtual operations begin with get_power_ok: there is no
 * virtual destructor, since a supply lives as long as the process.
 */
class Psu {
  public:
    Psu() : record_{ 0, &ops_, this } {}
    Psu( const Psu & ) = delete;
    Psu &operator=( const Psu & ) = delete;

    /** 1: the output is good; 0: off. PL_STATUS_FAULT: the output is bad though input is there. */
    virtual pl_status get_power_ok( int *ok ) = 0;
    virtual pl_status get_input_current( float *amperes ) = 0;
    virtual pl_status get_output_current( float *amperes ) = 0;
    virtual pl_status get_input_voltage( float *volts ) = 0;
    virtual pl_status get_output_voltage( float *volts ) = 0;
    virtual pl_status get_input_power( float *watts ) = 0;
    virtual pl_status get_output_power( float *watts ) = 0;

    /** What the host gets. */
    pl_psu *record() { return &record_; }

    static pl_status get_power_ok_callback( pl_psu *psu, int *ok );
    static pl_status get_input_current_callback( pl_psu *psu, float *amperes );
    static pl_status get_output_current_callback( pl_psu *psu, float *amperes );
    static pl_status get_input_voltage_callback( pl_psu *psu, float *volts );
    static pl_status get_output_voltage_callback( pl_psu *psu, float *volts );
    static pl_status get_input_power_callback( pl_psu *psu, float *watts );
    static pl_status get_output_power_callback( pl_psu *psu, float *watts );
    static const pl_psu_ops ops_;

  protected:
    ~Psu() = default;

  private:
    pl_psu record_;
};

} // namespace Component::LogicalDevice
