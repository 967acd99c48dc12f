#include "OrvanGeneric/Components/Gpio.h"

#include <cassert>
#include <string>

#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Ham/Ham.h"
#include "OrvanGeneric/HostServices.h"
#include "OrvanGeneric/NotImplementedException.h"

namespace Component::LogicalDevice {

// What the host expects on 32-bit x86.
static_assert( sizeof( void * ) != 4 ||
               ( sizeof( pl_gpio ) == 12 && sizeof( pl_gpio_ops ) == 16 ) );

const pl_gpio_ops Gpio::ops_ = { sizeof( pl_gpio_ops ), bitSetCallback, bitClearCallback,
                                 bitReadCallback };

pl_status Gpio::bitSetCallback( pl_gpio *gpio ) {
    TRACE( 4, "%s", "bitSetCallback" );
    return static_cast<Gpio *>( gpio->priv )->bitSet();
}

pl_status Gpio::bitClearCallback( pl_gpio *gpio ) {
    TRACE( 4, "%s", "bitClearCallback" );
    return static_cast<Gpio *>( gpio->priv )->bitClear();
}

pl_status Gpio::bitReadCallback( pl_gpio *gpio, unsigned int *value ) {
    TRACE( 4, "%s", "bitReadCallback" );
    return static_cast<Gpio *>( gpio->priv )->bitRead( value );
}

RegGpio::RegGpio( const Drivers::DriverArgs &args, HardwareDevice *device )
    : device_( device ), register_( Drivers::requiredIntArg( args, "register" ) ),
      bitpos_( Drivers::requiredIntArg( args, "bitpos" ) ) {
    assert( bitpos_ >= 0 && bitpos_ <= 7 );
}

pl_status RegGpio::write( bool value ) {
    Ham::Ham *ham = device_->ham();
    uint8_t byte = 0;
    if ( !writeOnly ) {
        const int status = ham->read8( register_, &byte );
        if ( status ) {
            return static_cast<pl_status>( status );
        }
    }
    const auto mask = static_cast<uint8_t>( 1u << bitpos_ );
    byte = static_cast<uint8_t>( value ? byte | mask : byte & ~mask );
    return static_cast<pl_status>( ham->write8( register_, byte, false ) );
}

pl_status RegGpio::bitSet() {
    return write( true );
}

pl_status RegGpio::bitClear() {
    return write( false );
}

pl_status RegGpio::bitRead( unsigned int *value ) {
    uint8_t byte;
    const int status = device_->ham()->read8( register_, &byte );
    if ( status == 0 ) {
        *value = ( byte >> bitpos_ ) & 1u;
    }
    return static_cast<pl_status>( status );
}

} // namespace Component::LogicalDevice

extern "C" pl_gpio *pl_gpio_add( const char *description ) {
    Drivers::DriverArgs args;
    Component::DeviceBase *device = Component::DeviceBase::create( description, args );
    if ( !device ) {
        return nullptr;
    }
    auto *hardware = dynamic_cast<Component::HardwareDevice *>( device );
    // A device composed of others has registers only in its parts.
    if ( !hardware ) {
        throw Component::NotImplementedException( "newGpio" );
    }
    Component::LogicalDevice::Gpio *gpio = hardware->newGpio( args );
    return gpio ? gpio->record() : nullptr;
}
