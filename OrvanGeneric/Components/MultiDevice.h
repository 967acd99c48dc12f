#pragma once

#include <vector>

#include <pl/pl.h>

#include "OrvanGeneric/Components/HardwareDevice.h"

namespace Component {

/**
 * A unit that is several devices behind one description, such as a slot with a supply, its fans and
 * LEDs. It has no Ham: it brings each part up by handing the part's own description to the library's
 * add function, as the host would.
 *
 * Each addX takes the role key of a part's description, keeps the record that the host would get
 * (null included) and returns it; an unknown key adds nothing and gives null.
 */
class MultiDevice : public DeviceBase {
  public:
    /** Records of the parts added so far, null where adding failed; the parts' devices own them. */
    std::vector<pl_slot *> slots;
    std::vector<pl_led *> leds;
    std::vector<pl_psu *> psus;
    std::vector<pl_fan *> fans;
    std::vector<pl_xcvr *> xcvrs;
    std::vector<pl_gpio *> gpios;
    /** The parts' descriptions by role key. */
    std::map<std::string, std::string> deviceDriverArgs;

    /** Finds or makes the instance for a description with "isMultiDevice"; null on failure. */
    static DeviceBase *create( const DriverArgs &args );

    /** Replaces the parts' descriptions. */
    void deviceDriverArgsIs( const std::map<std::string, std::string> &args );
    /** The description under @p key, valid while the entry is unchanged; null if there is none. */
    const char *getDeviceDriverArg( const std::string &key ) const;

    pl_slot *addSlot( const std::string &key );
    pl_led *addLed( const std::string &key );
    pl_psu *addPsu( const std::string &key );
    pl_fan *addFan( const std::string &key );
    pl_xcvr *addXcvr( const std::string &key );
    pl_gpio *addGpio( const std::string &key );
};

} // namespace Component
