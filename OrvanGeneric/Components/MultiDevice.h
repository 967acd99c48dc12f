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
    /** Finds or makes the instance for a description with "isMultiDevice"; null on failure. */
    static DeviceBase *create( const DriverArgs &args );

    /** Replaces the parts' descriptions. */
    void deviceDriverArgsIs( const std::map<std::string, std::string> &args );
    const std::map<std::string, std::string> &deviceDriverArgs() const { return deviceDriverArgs_; }
    /** The description under @p key, valid while the entry is unchanged; null if there is none. */
    const char *getDeviceDriverArg( const std::string &key ) const;

    pl_slot *addSlot( const std::string &key );
    pl_led *addLed( const std::string &key );
    pl_psu *addPsu( const std::string &key );
    pl_fan *addFan( const std::string &key );
    pl_xcvr *addXcvr( const std::string &key );
    pl_gpio *addGpio( const std::string &key );

    const std::vector<pl_slot *> &slots() const { return slots_; }
    const std::vector<pl_led *> &leds() const { return leds_; }
    const std::vector<pl_psu *> &psus() const { return psus_; }
    const std::vector<pl_fan *> &fans() const { return fans_; }
    const std::vector<pl_xcvr *> &xcvrs() const { return xcvrs_; }
    const std::vector<pl_gpio *> &gpios() const { return gpios_; }

  private:
    std::vector<pl_slot *> slots_;
    std::vector<pl_led *> leds_;
    std::vector<pl_psu *> psus_;
    std::vector<pl_fan *> fans_;
    std::vector<pl_xcvr *> xcvrs_;
    std::vector<pl_gpio *> gpios_;
    std::map<std::string, std::string> deviceDriverArgs_;
};

} // namespace Component
