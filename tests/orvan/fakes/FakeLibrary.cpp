#include "tests/orvan/fakes/FakeLibrary.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>

#pragma weak pl_trace
#pragma weak pl_timer_add
#pragma weak pl_timer_set

namespace fake {

class FakeNotImplemented : public std::exception {
  public:
    explicit FakeNotImplemented( const char *operation )
        : text_( std::string( "Not implemented " ) + operation ) {}
    const char *what() const noexcept override { return text_.c_str(); }

  private:
    std::string text_;
};

FakeState state;

/** Notes a call; throws if the test wants that. */
pl_status noted( const std::string &call ) {
    state.calls.push_back( call );
    if ( state.throwOnCall ) {
        throw FakeNotImplemented( call.c_str() );
    }
    return state.status;
}

template <typename T>
pl_status give( const char *call, T *output, T value ) {
    const pl_status status = noted( call );
    if ( status == PL_STATUS_OK ) {
        *output = value;
    }
    return status;
}

std::string hex( unsigned value ) {
    char text[ 16 ];
    std::snprintf( text, sizeof( text ), "%x", value );
    return text;
}

std::string bytes( const unsigned char *data, unsigned length ) {
    std::string text;
    for ( unsigned i = 0; i < length; ++i ) {
        text += " " + hex( data[ i ] );
    }
    return text;
}

pl_status init( const char *name, const char *topology ) {
    state.calls.push_back( std::string( name ) + " " + topology );
    if ( state.throwOnInit ) {
        throw FakeNotImplemented( name );
    }
    return state.initStatus;
}

void countTick( void *timer ) {
    ++state.ticks;
    pl_timer_set( *static_cast<uint32_t *>( timer ), 1000 );
}

void throwTick( void * ) {
    throw FakeNotImplemented( "tick" );
}

/** Everything that the add functions share. Null: answer null. */
bool added( const char *function, const std::string &device ) {
    state.calls.push_back( std::string( function ) + " " + device );
    if ( state.silentNull ) {
        return false;
    }
    if ( pl_trace ) {
        pl_trace( 0, "%s\n", function );
        pl_trace( 5, "device %s", device.c_str() );
    }
    const auto named = [ &device ]( const char *name ) {
        return device.find( std::string( "\"name\":\"" ) + name + "\"" ) != std::string::npos;
    };
    if ( named( "null" ) ) {
        pl_trace( 0, "there is no such device" );
        return false;
    }
    if ( named( "throw" ) ) {
        throw FakeNotImplemented( "newThing" );
    }
    if ( named( "throw int" ) ) {
        throw 7;
    }
    if ( named( "abort" ) ) {
        std::fputs( "FakeLibrary: Assertion `no' failed.\n", stderr );
        std::abort();
    }
    if ( named( "timer" ) || named( "throwing timer" ) ) {
        static uint32_t timer;
        timer = pl_timer_add( named( "timer" ) ? countTick : throwTick, &timer );
        pl_timer_set( timer, 1000 );
    }
    return true;
}

template <typename Ops>
Ops *shortened( Ops &table ) {
    table.size = state.shortTables ? sizeof( uint32_t ) : sizeof( Ops );
    return &table;
}

/** A new record with @p table, which is there as long as this library is. */
template <typename Record, typename Ops>
Record *record( Ops &table, uint32_t id ) {
    static std::vector<std::unique_ptr<Record>> kept;
    kept.push_back( std::make_unique<Record>() );
    Record *made = kept.back().get();
    made->id = id;
    made->ops = shortened( table );
    return made;
}

pl_gpio_ops gpioOps = { sizeof( pl_gpio_ops ), []( pl_gpio * ) { return noted( "bit_set" ); },
                        []( pl_gpio * ) { return noted( "bit_clear" ); },
                        []( pl_gpio *, unsigned *value ) {
                            return give( "bit_read", value, static_cast<unsigned>( state.number ) );
                        } };

pl_led_ops ledOps = { sizeof( pl_led_ops ), []( pl_led *, pl_led_status status ) {
                         return noted( "set_light_setting " + std::to_string( status ) );
                     } };

pl_fan_ops fanOps = {
    sizeof( pl_fan_ops ),
    []( pl_fan *, char **text ) {
        if ( state.text ) {
            *text = ::strdup( state.text );
        }
        return noted( "debug_info" );
    },
    []( pl_fan *, int *rpm ) { return give( "get_rpm", rpm, state.number ); },
    []( pl_fan *, int rpm ) { return noted( "set_rpm " + std::to_string( rpm ) ); } };

pl_temp_sensor_ops sensorOps = { sizeof( pl_temp_sensor_ops ), nullptr,
                                 []( pl_temp_sensor *, float *celsius ) {
                                     return give( "get_temperature", celsius, state.real );
                                 } };

int presence( pl_xcvr * ) {
    noted( "get_presence" );
    return state.presence;
}
pl_xcvr_ops sfpOps = { sizeof( pl_xcvr_ops ), PL_XCVR_TYPE_SFP, {} };
pl_xcvr_ops qsfpOps = { sizeof( pl_xcvr_ops ), PL_XCVR_TYPE_QSFP, {} };

#define FAKE_GET( name ) []( pl_xcvr *, int *value ) { return give( name, value, state.number ); }
#define FAKE_SET( name )                                                                           \
    []( pl_xcvr *, int value ) { return noted( name " " + std::to_string( value ) ); }

void fillXcvrTables() {
    sfpOps.u.sfp = { sizeof( pl_sfp_ops ),         presence,
                     FAKE_GET( "get_tx_fault" ),   FAKE_GET( "get_rx_los" ),
                     FAKE_GET( "get_tx_disable" ), FAKE_SET( "set_tx_disable" ) };
    qsfpOps.u.qsfp = { sizeof( pl_qsfp_ops ),      presence,
                       FAKE_GET( "get_mod_sel" ),  FAKE_SET( "set_mod_sel" ),
                       FAKE_GET( "get_lp_mode" ),  FAKE_SET( "set_lp_mode" ),
                       FAKE_GET( "get_reset" ),    FAKE_SET( "set_reset" ),
                       FAKE_GET( "get_interrupt" ) };
}

// Each measurement a value of its own: ten times its place in the table.
#define FAKE_MEASURE( name, place )                                                                \
    []( pl_psu *, float *value ) { return give( name, value, state.real + ( place )*10.0f ); }

pl_psu_ops psuOps = { sizeof( pl_psu_ops ),
                      nullptr,
                      []( pl_psu *, int *ok ) { return give( "get_power_ok", ok, state.number ); },
                      FAKE_MEASURE( "get_input_current", 1 ),
                      FAKE_MEASURE( "get_output_current", 2 ),
                      FAKE_MEASURE( "get_input_voltage", 3 ),
                      FAKE_MEASURE( "get_output_voltage", 4 ),
                      FAKE_MEASURE( "get_input_power", 5 ),
                      FAKE_MEASURE( "get_output_power", 6 ) };

pl_slot_ops slotOps = { sizeof( pl_slot_ops ), []( pl_slot *, char **fdl ) {
                           const pl_status status = noted( "get_presence" );
                           if ( status == PL_STATUS_OK && state.text ) {
                               *fdl = ::strdup( state.text );
                           }
                           return status;
                       } };

using Byte = unsigned char;

pl_smbus_ops smbusOps = {
    sizeof( pl_smbus_ops ),
    []( pl_smbus *, int ) { return noted( "quick_command" ); },
    []( pl_smbus *, Byte *value ) {
        return give( "receive_byte", value, static_cast<Byte>( state.number ) );
    },
    []( pl_smbus *, Byte value ) { return noted( "send_byte " + hex( value ) ); },
    []( pl_smbus *, Byte command, Byte *value ) {
        *value = static_cast<Byte>( state.number );
        const pl_status status = noted( "read_byte " + hex( command ) );
        return state.byteStatus ? state.byteStatus( command ) : status;
    },
    []( pl_smbus *, Byte command, Byte value ) {
        return noted( "write_byte " + hex( command ) + " " + hex( value ) );
    },
    []( pl_smbus *, Byte command, unsigned short *value ) {
        return give( ( "read_word " + hex( command ) ).c_str(), value,
                     static_cast<unsigned short>( state.number ) );
    },
    []( pl_smbus *, Byte command, unsigned short value ) {
        return noted( "write_word " + hex( command ) + " " + hex( value ) );
    },
    []( pl_smbus *, Byte command, Byte *data, unsigned *length ) {
        std::copy( state.block.begin(), state.block.end(), data );
        *length = state.blockLength.value_or( static_cast<unsigned>( state.block.size() ) );
        return noted( "block_read " + hex( command ) );
    },
    []( pl_smbus *, Byte command, const Byte *data, unsigned length ) {
        return noted( "block_write " + hex( command ) + bytes( data, length ) );
    },
    []( pl_smbus *, Byte command, Byte *data, unsigned length ) {
        std::memcpy( data, state.block.data(),
                     std::min<std::size_t>( length, state.block.size() ) );
        return noted( "i2c_block_read " + hex( command ) + " " + std::to_string( length ) );
    },
    []( pl_smbus *, Byte command, const Byte *data, unsigned length ) {
        return noted( "i2c_block_write " + hex( command ) + bytes( data, length ) );
    },
    []( pl_smbus *, Byte command, unsigned short value, unsigned short *reply ) {
        return give( ( "process_call " + hex( command ) + " " + hex( value ) ).c_str(), reply,
                     static_cast<unsigned short>( state.number ) );
    },
    nullptr };

pl_system_ops systemOps = { sizeof( pl_system_ops ),
                            []( pl_system * ) { return noted( "poweroff" ); },
                            []( pl_system * ) { return noted( "powercycle" ); },
                            []( pl_system *, char *cause, long *, char * ) {
                                const pl_status status = noted( "get_reload_cause" );
                                if ( status == PL_STATUS_OK ) {
                                    std::strcpy( cause, "watchdog" );
                                }
                                return status;
                            },
                            nullptr };

} // namespace fake

using namespace fake;

extern "C" {

FakeState *fake_state() {
    return &state;
}

#define FAKE_KIND( kind )                                                                          \
    pl_status pl_##kind##_init( const char *topology ) {                                           \
        return init( "pl_" #kind "_init", topology );                                              \
    }

FAKE_KIND( gpio )
FAKE_KIND( led )
FAKE_KIND( fan )
FAKE_KIND( temp_sensor )
FAKE_KIND( xcvr )
FAKE_KIND( psu )
FAKE_KIND( slot )
FAKE_KIND( smbus )
FAKE_KIND( system )

pl_gpio *pl_gpio_add( const char *text ) {
    return added( "pl_gpio_add", text ) ? record<pl_gpio>( gpioOps, 0 ) : nullptr;
}
pl_led *pl_led_add( const char *text ) {
    return added( "pl_led_add", text ) ? record<pl_led>( ledOps, 0 ) : nullptr;
}
pl_fan *pl_fan_add( const char *text ) {
    return added( "pl_fan_add", text ) ? record<pl_fan>( fanOps, 0 ) : nullptr;
}
pl_temp_sensor *pl_temp_sensor_add( const char *text, float alert, float critical ) {
    char thresholds[ 64 ];
    std::snprintf( thresholds, sizeof( thresholds ), " %.1f %.1f", static_cast<double>( alert ),
                   static_cast<double>( critical ) );
    return added( "pl_temp_sensor_add", text + std::string( thresholds ) )
               ? record<pl_temp_sensor>( sensorOps, 0 )
               : nullptr;
}
pl_xcvr *pl_xcvr_add( const char *text ) {
    if ( !added( "pl_xcvr_add", text ) ) {
        return nullptr;
    }
    fillXcvrTables();
    const bool qsfp = std::string( text ).find( "\"type\":\"qsfp" ) != std::string::npos;
    auto *xcvr = record<pl_xcvr>( qsfp ? qsfpOps : sfpOps, 1 );
    if ( state.shortTables ) {
        sfpOps.u.sfp.size = qsfpOps.u.qsfp.size = sizeof( uint32_t );
    }
    return xcvr;
}
pl_psu *pl_psu_add( const char *text ) {
    return added( "pl_psu_add", text ) ? record<pl_psu>( psuOps, 0 ) : nullptr;
}
pl_slot *pl_slot_add( const char *text ) {
    return added( "pl_slot_add", text ) ? record<pl_slot>( slotOps, 0 ) : nullptr;
}
pl_smbus *pl_smbus_add( const char *device, unsigned char address ) {
    return added( "pl_smbus_add", device + std::string( " " ) + hex( address ) )
               ? record<pl_smbus>( smbusOps, 0 )
               : nullptr;
}
pl_system *pl_system_add( const char *text ) {
    return added( "pl_system_add", text ) ? record<pl_system>( systemOps, 0 ) : nullptr;
}

} // extern "C"
