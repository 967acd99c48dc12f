#include "OrvanGeneric/Components/Gpio.h"

#include <cassert>
#include <string>

#include "OrvanGeneric/Components/AddDevice.h"
#include "OrvanGeneric/Ham/Ham.h"
#include "OrvanGeneric/HostServices.h"
#include "OrvanGeneric/NotImplementedException.h"
#include "OrvanGeneric/Status.h"

namespace Component::LogicalDevice {

// What the host expects on 32-bit x86.
static_assert( sizeof( void * ) != 4 ||
               ( sizeof( pl_gpio ) == 12 && sizeof( pl_gpio_ops ) == 16 ) );

const pl_gpio_ops Gpio::ops_ = { sizeof( pl_gpio_ops ), bitSetCallback, bitClearCallback,
                                 bitReadCallback };

pl_status Gpio::bitSetCallback( pl_gpio *gpio ) {
    TRACE( 4, "%s", "bitSetCallback" );
    return objectOf<Gpio>( gpio )->bitSet();
}

pl_status Gpio::bitClearCallback( pl_gpio *gpio ) {
    TRACE( 4, "%s", "bitClearCallback" );
    return objectOf<Gpio>( gpio )->bitClear();
}

pl_status Gpio::bitReadCallback( pl_gpio *gpio, unsigned int *value ) {
    TRACE( 4, "%s", "bitReadCallback" );
    return objectOf<Gpio>( gpio )->bitRead( value );
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
            return Utils::hostStatus( status );
        }
    }
    const auto mask = static_cast<uint8_t>( 1u << bitpos_ );
    byte = static_cast<uint8_t>( value ? byte | mask : byte & ~mask );
    return Utils::hostStatus( ham->write8( register_, byte, false ) );
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
    return Utils::hostStatus( status );
}

} // namespace Component::LogicalDevice

namespace {

/** A GPIO of a driver instance. A device composed of others has registers only in its parts. */
Component::LogicalDevice::Gpio *newGpio( Component::DeviceBase &device,
                                         const Drivers::DriverArgs &args ) {
    auto *hardware = dynamic_cast<Component::HardwareDevice *>( &device );
    if ( !hardware ) {
        throw Component::NotImplementedException( "newGpio" );
    }
    return hardware->newGpio( args );
}

} // namespace

extern "C" pl_gpio *pl_gpio_add( const char *description ) {
    using namespace Component;
    return recordOf( addDevice( description, untraced, newGpio ) );
}
