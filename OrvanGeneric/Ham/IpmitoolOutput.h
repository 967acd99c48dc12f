#pragma once

#include <map>
#include <set>
#include <string>

#include "OrvanGeneric/Ham/IpmiHam.h"

/*
 * Reading what the tool ipmitool prints. All of it is input from outside: lines that do not have the
 * form expected are passed over, and at most as many are kept as a BMC can have records.
 */
namespace Ham {

/** At how many characters the tool's lists cut names. */
constexpr size_t listedNameLength = 16;

/** What "ipmitool -c sdr elist all" tells. Names as printed, cut to listedNameLength. */
struct SensorList {
    /**
     * The readings that there are: of an analog sensor the number without its unit; of a discrete one
     * 1 where a state is asserted and all that are asserted are good (see IpmiStates.h), else 0. Of
     * sensors with equal names the first.
     */
    std::map<std::string, std::string> readings;
    std::set<std::string> analog;   ///< analog sensors, also those without a reading
    std::set<std::string> discrete; ///< discrete sensors, also those without a reading
    std::set<std::string> frus;     ///< units with FRU data (which print as sensors without text)

    /** Whether any line was one of a list. */
    bool recognised() const { return !analog.empty() || !discrete.empty() || !frus.empty(); }
};

/**
 * Reads a list. Its lines are "NAME,VALUE,UNIT,STATUS" for analog sensors, VALUE being empty without
 * a reading, "NAME,NUMBERh,STATUS,ENTITY,STATES" for discrete ones and "NAME,NUMBERh,STATUS,ENTITY"
 * for the others' locators. NAME and STATES may hold commas.
 */
SensorList parseSensorList( const std::string &output );

/** Reads "ipmitool -c sensor reading NAME...": lines "NAME,VALUE"; names are whole. */
std::map<std::string, std::string> parseSensorReadings( const std::string &output );

/** What "ipmitool fru print" tells. */
struct FruList {
    std::map<std::string, FruData> frus; ///< by name as printed; those with a model or a serial
    bool recognised = false;             ///< whether any unit was named, even one that is not there
};

/**
 * Reads "FRU Device Description : NAME (ID n)" and the " FIELD : VALUE" lines after it. The model is
 * the product's name, the serial the product's; where there is none, the board's.
 */
FruList parseFruList( const std::string &output );

} // namespace Ham
