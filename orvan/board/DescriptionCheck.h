/**
 * @file
 * Device descriptions, checked against the topology and the drivers' needs before the library sees them.
 */
#pragma once

#include <map>
#include <string>

#include "orvan/board/DriverRules.h"
#include "orvan/board/TopologyIndex.h"

namespace orvan {

/**
 * Converts the "driverArgs" of @p description: numbers, true and false become their texts, anything else
 * the empty text. Without "driverArgs" the map is empty.
 */
ArgTexts argTexts( const rapidjson::Value &description );

/**
 * Checks the descriptions of one board, in the order in which they will be added: all that share a
 * device id share the driver instance that the first of them makes.
 */
class DescriptionCheck {
  public:
    /** @p topology is that of @p topologyFile; all three must outlive this object. */
    DescriptionCheck( const JsonFile &topologyFile, const TopologyIndex &topology,
                      Problems &problems )
        : topologyFile_( topologyFile ), topology_( topology ), problems_( problems ) {}

    /**
     * Checks the device description @p value at @p pointer of @p file, from which @p service is wanted.
     * Mistakes go into the problems.
     */
    void description( const JsonFile &file, const rapidjson::Value &value,
                      const std::string &pointer, Service service );
    /**
     * Checks @p value, which asks for raw access to a device by "label" and "address": the topology must
     * have it under the label that labelKey() makes of them.
     */
    void labelled( const JsonFile &file, const rapidjson::Value &value,
                   const std::string &pointer );
    /** Checks what system power control, at @p pointer, works on: the device labelled "PSoC". */
    void system( const JsonFile &file, const std::string &pointer );

    /**
     * Sets @p service to what a peripheral of @p kind asks for; transceivers name theirs in "type".
     * @return false for an unknown kind or type
     */
    static bool serviceOf( const std::string &kind, const ArgTexts &args, Service &service );
    /** The label that the library looks for: @p label, then the 7-bit @p address as "<0x58>". */
    static std::string labelKey( const std::string &label, uint32_t address );

  private:
    struct Maker {
        const DriverRow *driver;
        std::string where;
        bool gpioOnly; ///< made with "type" "gpio" by a driver that then offers nothing else
    };
    /** What is being checked: where to point when an argument is wrong. */
    struct Subject {
        const JsonFile &file;
        const rapidjson::Value &value;
        std::string pointer;
        ArgTexts args;
    };

    void check( const Subject &subject, Service service );
    void arguments( const Subject &subject, std::span<const Argument> rules );
    void numbered( const Subject &subject, std::span<const Argument> rules );
    void place( const Subject &subject, const DriverRow &driver );
    void nested( const Subject &subject );
    bool sharesDriver( const Subject &subject, uint32_t did, const DriverRow &driver, bool gpioOnly,
                       Service service );
    void referenced( const JsonFile &file, const rapidjson::Value *value,
                     const std::string &pointer, const std::string &label,
                     const char *wantedDriver );
    const DriverRow *referencedDriver( const DevicePlace &device, const std::string &pointer,
                                       const char *wantedDriver );
    const DriverRow *wantedDriver( const Subject &subject, Service service );
    void argumentError( const Subject &subject, const char *name, const std::string &expected );

    const JsonFile &topologyFile_;
    const TopologyIndex &topology_;
    Problems &problems_;
    std::map<uint32_t, Maker> makers_;
};

} // namespace orvan
