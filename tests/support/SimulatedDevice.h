#pragma once

#include "OrvanGeneric/Components/HardwareDevice.h"

/** A Ham cannot be destroyed; this keeps that of a destroyed instance from counting as leaked. */
inline Ham::Ham *hamOfDeletedInstance = nullptr;

/** Destroys the instance of that identity, which a host never does. */
inline void deleteSimulated( uint32_t did ) {
    auto *device =
        static_cast<Component::HardwareDevice *>( Component::DeviceBase::devices.at( did ) );
    hamOfDeletedInstance = device->ham();
    delete device;
    Component::DeviceBase::devices.erase( did );
}
