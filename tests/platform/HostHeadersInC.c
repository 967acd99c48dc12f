/* The host's headers as a host or library written in C sees them. */
#include <stddef.h>

#include <pl/pl.h>

#define HAS_TYPE( name, type ) _Static_assert( _Generic( &name, type: 1, default: 0 ), #name )

typedef pl_status ( *init_function )( const char * );

HAS_TYPE( pl_slot_init, init_function );
HAS_TYPE( pl_led_init, init_function );
HAS_TYPE( pl_temp_sensor_init, init_function );
HAS_TYPE( pl_fan_init, init_function );
HAS_TYPE( pl_xcvr_init, init_function );
HAS_TYPE( pl_psu_init, init_function );
HAS_TYPE( pl_gpio_init, init_function );
HAS_TYPE( pl_smbus_init, init_function );
HAS_TYPE( pl_system_init, init_function );

HAS_TYPE( pl_slot_add, pl_slot *( * )( const char * ));
HAS_TYPE( pl_led_add, pl_led *( * )( const char * ));
HAS_TYPE( pl_temp_sensor_add, pl_temp_sensor *( * )( const char *, float, float ));
HAS_TYPE( pl_fan_add, pl_fan *( * )( const char * ));
HAS_TYPE( pl_xcvr_add, pl_xcvr *( * )( const char * ));
HAS_TYPE( pl_psu_add, pl_psu *( * )( const char * ));
HAS_TYPE( pl_gpio_add, pl_gpio *( * )( const char * ));
HAS_TYPE( pl_smbus_add, pl_smbus *( * )( const char *, unsigned char ));
HAS_TYPE( pl_system_add, pl_system *( * )( const char * ));

HAS_TYPE( pl_trace, void ( * )( int, const char *, ... ) );
HAS_TYPE( pl_timer_add, uint32_t ( * )( void ( * )( void * ), void * ) );
HAS_TYPE( pl_timer_set, int ( * )( uint32_t, uint32_t ) );
HAS_TYPE( pl_timer_delete, void ( * )( uint32_t ) );
HAS_TYPE( pl_fd_watcher_add, uint32_t ( * )( int, void ( * )( void *, int ), void * ) );
HAS_TYPE( pl_fd_watcher_delete, void ( * )( uint32_t ) );

const size_t sizes_in_c[] = {
    sizeof( pl_slot_ops ),  sizeof( pl_led_ops ),    sizeof( pl_temp_sensor_ops ),
    sizeof( pl_fan_ops ),   sizeof( pl_sfp_ops ),    sizeof( pl_qsfp_ops ),
    sizeof( pl_xcvr_ops ),  sizeof( pl_psu_ops ),    sizeof( pl_gpio_ops ),
    sizeof( pl_smbus_ops ), sizeof( pl_system_ops ),
};

const size_t size_count_in_c = sizeof( sizes_in_c ) / sizeof( sizes_in_c[ 0 ] );

static pl_status read_rpm( pl_fan *fan, int *rpm ) {
    *rpm = *( const int * )fan->priv;
    return PL_STATUS_OK;
}

/* Calls through a record as a host does. */
pl_status read_fan_in_c( int speed, int *rpm ) {
    const pl_fan_ops ops = { sizeof ops, NULL, read_rpm, NULL };
    pl_fan fan = { 7, &ops, &speed };
    return fan.ops->get_rpm( &fan, rpm );
}
