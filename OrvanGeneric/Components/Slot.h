#pragma once

#include <pl/slot.h>

namespace Component::LogicalDevice {

/**
 * A bay for a pluggable unit. As in every logical device the host's record stands right behind the
 * virtual-table pointer; its back-pointer leads the callbacks to the object.
 */
class Slot {
  public:
    Slot() : record_{ 0, &ops_, this } {}
    virtual ~Slot() = default;
    Slot( const Slot & ) = delete;
    Slot &operator=( const Slot & ) = delete;

    /**
     * Tells what is plugged in.
     * @param fdl  receives the field data on success: a text from malloc that the caller frees
     * @return PL_STATUS_OK, PL_STATUS_NOT_PRESENT, or the failure's status
     */
    virtual pl_status getPresence( char **fdl ) = 0;

    /** What the host gets. */
    pl_slot *record() { return &record_; }

    static pl_status getPresenceCallback( pl_slot *slot, char **fdl );
    static const pl_slot_ops ops_;

  private:
    pl_slot record_;
};

} // namespace Component::LogicalDevice
