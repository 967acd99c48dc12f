#pragma once

#include <vector>

#include <pl/pl.h>

#include "OrvanGeneric/Components/HardwareDevice.h"

namespace Component {

/**
 * A unit that is several devices in one description, such as a slot with a supply, its fans and
 * LEDs. It has no Ham: it brings each part up by handing the part's own description to the library's
 * add function, as the host would.
 *
 * Each addX takes the role key of a part's description, keeps the record that the host would get
 * (null included) and returns it; an unknown key adds nothing and gives null.
 */
class MultiDevice : public DeviceBase {
  public:
    /** Slots added so far, null where adding failed, here and below; not owned. */
    std::vector<pl_slot *> slots;
    std::vector<pl_led *> leds;   ///< LEDs added so far
    std::vector<pl_psu *> psus;   ///< supplies added so far
    std::vector<pl_fan *> fans;   ///< fans added so far
    std::vector<pl_xcvr *> xcvrs; ///< cages added so far
    std::vector<pl_gpio *> gpios; ///< GPIO lines added so far
    /** The parts' descriptions (JSON) by role key. */
    std::map<std::string, std::string> deviceDriverArgs;

    /** Finds or makes the instance for a description with "isMultiDevice"; null on failure. */
    static DeviceBase *create( const DriverArgs &args );

    /** Replaces the parts' descriptions. */
    void deviceDriverArgsIs( const std::map<std::string, std::string> &args );
    /** The description under @p key, valid while the entry is unchanged; null if there is none. */
    const char *getDeviceDriverArg( const std::string &key ) const;

    /** Adds the slot described under @p key. @return its record, or null */
    pl_slot *addSlot( const std::string &key );
    /** Adds the LED described under @p key. @return its record, or null */
    pl_led *addLed( const std::string &key );
    /** Adds the supply described under @p key. @return its record, or null */
    pl_psu *addPsu( const std::string &key );
    /** Adds the fan described under @p key. @return its record, or null */
    pl_fan *addFan( const std::string &key );
    /** Adds the cage described under @p key. @return its record, or null */
    pl_xcvr *addXcvr( const std::string &key );
    /** Adds the GPIO line described under @p key. @return its record, or null */
    pl_gpio *addGpio( const std::string &key );
};

} // namespace Component
