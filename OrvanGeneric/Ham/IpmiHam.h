#pragma once

#include <map>
#include <string>

namespace Drivers {
struct DriverArgs;
}

namespace Ham {

/** What a FRU record tells of a unit; an empty text where the record has none. */
struct FruData {
    std::string model;
    std::string serial;
};

/** Sensor that tells which way a unit's air flows: this, and the unit's FRU id behind it. */
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
    IpmiHam() = default;
    IpmiHam( const IpmiHam & ) = delete;
    IpmiHam &operator=( const IpmiHam & ) = delete;

    std::map<std::string, std::string> sensors; ///< reading by upper-case sensor name
    std::map<std::string, FruData> frus;        ///< FRU fields by upper-case FRU name
    int status = 0;                             ///< of the last fill; 0: good

    /** Identifier of the named fan. */
    virtual std::string fanId( const std::string &name );
    /** Identifier of the named supply. */
    virtual std::string psuId( const std::string &name );
    /** Which way the air flows through the unit with the given FRU id. */
    virtual std::string airflowId( const std::string &name );
    /** Tells the driver's arguments, before anything is looked up. */
    virtual void configure( const Drivers::DriverArgs &args );
    /**
     * Brings the caches up to date where they are too old; each look-up calls it first. When that
     * fails the caches stay as they are and `status` becomes 4.
     * @param name  what is about to be looked up, as the caller gave it
     */
    virtual void refresh( const std::string &name );

    /**
     * Looks a sensor up.
     * @param value  receives the reading when the sensor is there, whatever the status
     */
    int getSensorVal( const std::string &name, std::string *value );
    /**
     * Looks a sensor up as a decimal number; text behind the number is ignored.
     * @param value  receives the number on status 0
     * @throws std::invalid_argument for a reading that is no number, std::out_of_range for one that
     *         does not fit
     */
    int getSensorVal( const std::string &name, int *value );
    int getSensorVal( const std::string &name, float *value );
    /** Looks a FRU up. @param data  receives the fields when the FRU is there */
    int getFruVal( const std::string &name, FruData &data );

    /**
     * Whether a fan is there, which it is when its sensor has a reading.
     * @param present  always set
     */
    int fanPresence( const std::string &name, bool *present );
    /** Whether a supply's FRU is there. @param model  receives its model on status 0 */
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
