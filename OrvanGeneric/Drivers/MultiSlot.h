#pragma once

#include <vector>

#include "OrvanGeneric/Components/MultiDevice.h"
#include "OrvanGeneric/Components/Slot.h"

namespace Drivers {

/**
 * A bay that any of several slot drivers may be able to answer for: whichever identifies what is
 * plugged in. The parts' descriptions, one for each way, are the description's "multiDeviceArgs".
 *
 * A slot takes "id" (decimal, 1 to 5, required). Its arguments are handed on to the parts, where
 * they win over the parts' own. A part whose description is not UTF-8 cannot take them and stays out.
 * A part with this device's own "did" aborts.
 */
class MultiSlot : public Component::MultiDevice {
  public:
    /** The bay, which asks its parts for the unit. */
    class Slot : public Component::LogicalDevice::Slot {
      public:
        /** Adds every part of @p multiSlot. @param index  the slot's id less 1 */
        Slot( MultiSlot *multiSlot, uint8_t index, const DriverArgs &args );

        pl_status getPresence( char **fdl ) override;

      private:
        friend class MultiSlot;

        MultiSlot *multiSlot_;
        uint8_t index_;
        /** The parts' slots, in the order of their keys. */
        std::vector<pl_slot *> subSlots_;
        /** Who answered last; null at first. */
        pl_slot *lastSubSlot_ = nullptr;
    };

    /** Makes the driver that a description asks for; the caller owns it. */
    static Component::MultiDevice *create( const DriverArgs &args, Ham::Ham *ham );

    Component::LogicalDevice::Slot *newSlot( const DriverArgs &args ) override;

    /**
     * Asks the part that answered last, then every part in turn, until one succeeds.
     * @return PL_STATUS_OK with the part's text, or PL_STATUS_NOT_PRESENT
     */
    pl_status getPresence( Slot *slot, char **fdl );
    /** Asks one part. */
    static pl_status getDevPresence( pl_slot *subSlot, char **fdl );

  private:
    bool makingSlot_ = false; ///< a part that is this very device would ask for another slot
};

} // namespace Drivers
