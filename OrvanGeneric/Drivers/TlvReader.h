#pragma once

#include <string>

#include <pl/types.h>

namespace Ham {
class Ham;
}

namespace Drivers {

/**
 * Reads the serial number and the model from a TlvInfo EEPROM (the format of the Open Network
 * Install Environment). An EEPROM that holds something else, or one that does not give a field's
 * type and length, aborts.
 * @return PL_STATUS_NOT_PRESENT when there are not both, or the header or a value cannot be read
 */
pl_status readTlvInfo( Ham::Ham *ham, std::string &serial, std::string &model );

} // namespace Drivers
