#pragma once

#include <pl/temp_sensor.h>

namespace Component::LogicalDevice {

/** A temperature sensor; degrees Celsius. */
class TempSensor {
  public:
    TempSensor() : record_{ 0, &ops_, this } {}
    virtual ~TempSensor() = default;
    TempSensor( const TempSensor & ) = delete;
    TempSensor &operator=( const TempSensor & ) = delete;

    /** Keeps the warning threshold. */
    virtual pl_status alertThresholdIs( float celsius );
    /** Keeps the critical threshold. */
    virtual pl_status criticalThresholdIs( float celsius );
    /** Reads the temperature. */
    virtual pl_status getTemperature( float *celsius ) = 0;
    /** The sensor's number on its device; 0 where the device does not number them. */
    virtual int id() const { return 0; }
    /** The register it is read from; 0 where there is none. */
    virtual int reg() const { return 0; }

    /** What the host gets. */
    pl_temp_sensor *record() { return &record_; }
    float alertThreshold() const { return alertThreshold_; }
    float criticalThreshold() const { return criticalThreshold_; }

    static pl_status getTemperatureCallback( pl_temp_sensor *sensor, float *celsius );
    static const pl_temp_sensor_ops ops_;

  private:
    pl_temp_sensor record_;
    float alertThreshold_ = 0;
    float criticalThreshold_ = 0;
};

} // namespace Component::LogicalDevice
