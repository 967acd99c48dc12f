#pragma once

#include <pl/temp_sensor.h>

namespace Component::LogicalDevice {

/** A temperature sensor; degrees Celsius. The order of the virtual operations is fixed. */
class TempSensor {
  public:
    /** Fills the record: number 0, this class's callbacks, the way back to this object. */
    TempSensor() : record_{ 0, &ops_, this } {}
    virtual ~TempSensor() = default;
    TempSensor( const TempSensor & ) = delete;
    TempSensor &operator=( const TempSensor & ) = delete;

    /** Keeps the warning threshold. @return PL_STATUS_OK unless a driver's own version fails */
    virtual pl_status alertThresholdIs( float celsius );
    /** Keeps the critical threshold. @return PL_STATUS_OK unless a driver's own version fails */
    virtual pl_status criticalThresholdIs( float celsius );
    /**
     * Reads the temperature.
     * @param celsius  receives the temperature on success
     * @return PL_STATUS_OK, otherwise the failed access's status
     */
    virtual pl_status getTemperature( float *celsius ) = 0;
    /** The sensor's number on its device; 0 where the device does not number them. */
    virtual int id() const { return 0; }
    /** The register that it is read from; 0 where there is none. */
    virtual int reg() const { return 0; }

    /** What the host gets; part of this object. */
    pl_temp_sensor *record() { return &record_; }
    /** The warning threshold as last set, at first 0. */
    float alertThreshold() const { return alertThreshold_; }
    /** The critical threshold as last set, at first 0. */
    float criticalThreshold() const { return criticalThreshold_; }

    /** The host's get_temperature: traces, then getTemperature(). */
    static pl_status getTemperatureCallback( pl_temp_sensor *sensor, float *celsius );
    /** The callbacks of every sensor, for the host's records. */
    static const pl_temp_sensor_ops ops_;

  private:
    pl_temp_sensor record_;
    float alertThreshold_ = 0;
    float criticalThreshold_ = 0;
};

} // namespace Component::LogicalDevice
