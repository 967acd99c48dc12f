#pragma once

#include <map>
#include <string>

namespace Drivers {
struct DriverArgs;
}

namespace Ham {

/** What a FRU record tells of a unit; an empty text where the record has none. */
struct FruData {
    std::string model;  ///< product name
    std::string serial; ///< serial number
};

/** Sensor that tells which way a unit's air flows: its name is this, followed by the unit's FRU id. */
constexpr const char *airflowSensorPrefix = "AIRFLOWDIRECTION_";

/**
 * Sensor readings and FRU fields of a BMC, looked up by name; the case of a name does not matter.
 *
 * The look-ups answer from caches that a platform's subclass fills in refresh(). They return 4 for a
 * name that the caches lack, otherwise `status`, the state of the last fill. Instances belong to
 * shared pointers that know the subclass: there is no virtual destructor.
 */
class IpmiHam {
  public:
    /** Empty caches in good state. */
    IpmiHam() = default;
    IpmiHam( const IpmiHam & ) = delete;
    IpmiHam &operator=( const IpmiHam & ) = delete;

    std::map<std::string, std::string> sensors; ///< reading by upper-case sensor name
    std::map<std::string, FruData> frus;        ///< FRU fields by upper-case FRU name
    int status = 0;                             ///< of the last fill; 0: good

    /** The identifier of the named fan. @throws NotImplementedException unless a subclass has it */
    virtual std::string fanId( const std::string &name );
    /** The identifier of the named supply. @throws NotImplementedException unless a subclass has it */
    virtual std::string psuId( const std::string &name );
    /**
     * Which way the air flows through a unit, as its sensor tells it.
     * @param name  the unit's FRU id
     * @throws NotImplementedException unless a subclass has it
     */
    virtual std::string airflowId( const std::string &name );
    /** Takes settings from the driver's arguments, before anything is looked up. */
    virtual void configure( const Drivers::DriverArgs &args );
    /**
     * Brings the caches up to date where they are too old; each look-up calls it first. When that
     * fails the caches stay as they are and `status` becomes 4.
     * @param name  what is about to be looked up, as the caller gave it
     */
    virtual void refresh( const std::string &name );

    /**
     * Looks a sensor up.
     * @param name   the sensor's name
     * @param value  receives the reading when the sensor is there, whatever the status
     * @return `status`, or 4 when there is no such sensor
     */
    int getSensorVal( const std::string &name, std::string *value );
    /**
     * Looks a sensor up as a decimal number; text after the number is ignored.
     * @param name   the sensor's name
     * @param value  receives the number on status 0
     * @return `status`, or 4 when there is no such sensor
     * @throws std::invalid_argument for a reading that is no number, std::out_of_range for one that
     *         does not fit
     */
    int getSensorVal( const std::string &name, int *value );
    /** The same as a floating-point number. */
    int getSensorVal( const std::string &name, float *value );
    /**
     * Looks a FRU up.
     * @param name  the FRU's name
     * @param data  receives the fields when the FRU is there
     * @return `status`, or 4 when there is no such FRU
     */
    int getFruVal( const std::string &name, FruData &data );

    /**
     * Whether a fan is there, which it is when its sensor has a reading.
     * @param name     the fan's sensor
     * @param present  always set
     * @return `status`, or 4 when there is no such sensor
     */
    int fanPresence( const std::string &name, bool *present );
    /**
     * Whether a supply's FRU is there.
     * @param name   the FRU's name
     * @param model  receives its model on status 0
     * @return `status`, or 4 when there is no such FRU
     */
    int psuPresence( const std::string &name, std::string *model );

  protected:
    ~IpmiHam() = default;

    /** ASCII letters in upper case, all else as it is; the host's locale has no say in a name. */
    static char upperCase( char c );
    /** A name as the caches keep it. */
    static std::string upperCase( std::string name );

  private:
    /** The same of a name that is looked up, in memory that is kept; valid until the next one. */
    const std::string &keyOf( const std::string &name );

    std::string key_;
};

} // namespace Ham
