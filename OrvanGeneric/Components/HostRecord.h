#pragma once

namespace Component::LogicalDevice {

/**
 * The logical device that a host record belongs to: where the record's back-pointer leads. Nothing
 * is looked up.
 * @tparam Object  the class whose constructor set the back-pointer, not one derived from it
 */
template <class Object, class Record>
Object *objectOf( const Record *record ) {
    return static_cast<Object *>( record->priv );
}

/** What the host gets for @p object, which keeps owning it: its record, or null for null. */
template <class Object>
auto recordOf( Object *object ) {
    return object ? object->record() : nullptr;
}

} // namespace Component::LogicalDevice
