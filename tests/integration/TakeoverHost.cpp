/*
 * A host that exports every function of the library under the same name, each of which ends the
 * process. It loads the library and takes the ways on which the library calls its own entry points:
 * an initialiser, a bay of two parts, and the callbacks of the system record. It prints what came of
 * each, or "taken over by NAME".
 */
#include <cstdio>
#include <cstdlib>

#include <pl/pl.h>

#include "tests/integration/LoadedLibrary.h"

namespace {

[[noreturn]] void takenOver( const char *name ) {
    std::printf( "taken over by %s\n", name );
    std::exit( 99 );
}

} // namespace

#define TAKE_OVER( name )                                                                          \
    extern "C" void host_##name() __asm__( #name );                                                \
    extern "C" void host_##name() {                                                                \
        takenOver( #name );                                                                        \
    }

TAKE_OVER( pl_slot_init )
TAKE_OVER( pl_slot_add )
TAKE_OVER( pl_led_init )
TAKE_OVER( pl_led_add )
TAKE_OVER( pl_temp_sensor_init )
TAKE_OVER( pl_temp_sensor_add )
TAKE_OVER( pl_fan_init )
TAKE_OVER( pl_fan_add )
TAKE_OVER( pl_xcvr_init )
TAKE_OVER( pl_xcvr_add )
TAKE_OVER( pl_psu_init )
TAKE_OVER( pl_psu_add )
TAKE_OVER( pl_gpio_init )
TAKE_OVER( pl_gpio_add )
TAKE_OVER( pl_smbus_init )
TAKE_OVER( pl_smbus_add )
TAKE_OVER( pl_system_init )
TAKE_OVER( pl_system_add )
TAKE_OVER( _Z16orvanLibraryInitPKcS0_i )
TAKE_OVER( _Z10plSockInitPKci )
TAKE_OVER( _ZN7Drivers15insertDriverArgEPKcPPcS1_S1_ )
TAKE_OVER( _Z18pl_system_poweroffP9pl_system )
TAKE_OVER( _Z20pl_system_powercycleP9pl_system )
TAKE_OVER( _Z26pl_system_get_reload_causeP9pl_systemPcPlS1_ )

int main( int argc, char **argv ) {
    if ( argc != 3 ) {
        std::fprintf( stderr, "expected a topology and the description of a bay\n" );
        return 2;
    }
    std::setvbuf( stdout, nullptr, _IONBF, 0 );
    const LoadedLibrary library;
    std::printf( "init %d\n",
                 library.entry<pl_status( const char * )>( "pl_slot_init" )( argv[ 1 ] ) );
    std::printf( "bay %s\n", library.entry<pl_slot *( const char * )>( "pl_slot_add" )( argv[ 2 ] )
                                 ? "added"
                                 : "null" );
    pl_system *system = library.entry<pl_system *( const char * )>( "pl_system_add" )( "{}" );
    std::printf( "poweroff %d\n", system->ops->poweroff( system ) );
    std::printf( "powercycle %d\n", system->ops->powercycle( system ) );
    char cause[ 100 ], description[ 500 ];
    long time = 0;
    std::printf( "reload cause %d\n",
                 system->ops->get_reload_cause( system, cause, &time, description ) );
}
