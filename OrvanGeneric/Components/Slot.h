#pragma once

#include <pl/slot.h>

namespace Component::LogicalDevice {

/**
 * A bay for a pluggable unit. As in every logical device the host's record comes directly after the
 * virtual-table pointer; its back-pointer leads the callbacks to the object.
 */
class Slot {
  public:
    /** Fills the record: number 0, this class's callbacks, the way back to this object. */
    Slot() : record_{ 0, &ops_, this } {}
    virtual ~Slot() = default;
    Slot( const Slot & ) = delete;
    Slot &operator=( const Slot & ) = delete;

    /**
     * Tells what is plugged in.
     * @param fdl  receives the field data on success: a text from malloc that the caller frees
     * @return PL_STATUS_OK; PL_STATUS_NOT_PRESENT: empty, or the unit could not be identified;
     *         otherwise the failed access's status
     */
    virtual pl_status getPresence( char **fdl ) = 0;

    /** What the host gets; part of this object. */
    pl_slot *record() { return &record_; }

    /** The host's get_presence: traces, then getPresence(). */
    static pl_status getPresenceCallback( pl_slot *slot, char **fdl );
    /** The callbacks of every slot, for the host's records. */
    static const pl_slot_ops ops_;

  private:
    pl_slot record_;
};

} // namespace Component::LogicalDevice
