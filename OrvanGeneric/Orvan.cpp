#include "OrvanGeneric/Orvan.h"

#include <PLSocket.h>

#include "OrvanGeneric/HostServices.h"
#include "OrvanGeneric/Status.h"
#include "OrvanGeneric/Topology.h"
#include "OrvanGeneric/Utils.h"

PlatformLibrary::PLSocket *_plSock = nullptr;

namespace {

/** Attempts of each initialiser to reach the SMBus service, which may start after the host. */
constexpr int socketAttempts = 30;

pl_status initKind( const char *name, const char *topology ) {
    return Utils::hostStatus( orvanLibraryInit( name, topology, socketAttempts ) );
}

} // namespace

int plSockInit( const char *name, int retries ) {
    if ( _plSock ) {
        return PL_STATUS_OK;
    }
    _plSock = new PlatformLibrary::PLSocket();
    for ( int attempt = 0; attempt < retries; ++attempt ) {
        if ( _plSock->setup() == 0 ) {
            return PL_STATUS_OK;
        }
        Utils::os.sleep( 1 );
    }
    TRACE( 0, "%s: socket Setup failed!", name );
    delete _plSock;
    _plSock = nullptr;
    return PL_STATUS_TRANSPORT;
}

int orvanLibraryInit( const char *name, const char *json, int retries ) {
    TRACE( 0, "%s", name );
    TRACE( 5, "%s: json = %s", name, json );
    const int status = plSockInit( name, retries );
    if ( status ) {
        return status;
    }
    return Topology::loadTopology( json );
}

extern "C" {

pl_status pl_slot_init( const char *topology ) {
    return initKind( "pl_slot_init", topology );
}

pl_status pl_led_init( const char *topology ) {
    return initKind( "pl_led_init", topology );
}

pl_status pl_temp_sensor_init( const char *topology ) {
    return initKind( "pl_temp_sensor_init", topology );
}

pl_status pl_fan_init( const char *topology ) {
    return initKind( "pl_fan_init", topology );
}

pl_status pl_xcvr_init( const char *topology ) {
    return initKind( "pl_xcvr_init", topology );
}

pl_status pl_psu_init( const char *topology ) {
    return initKind( "pl_psu_init", topology );
}

pl_status pl_gpio_init( const char *topology ) {
    return initKind( "pl_gpio_init", topology );
}

pl_status pl_smbus_init( const char *topology ) {
    TRACE( 7, "%s\n", "pl_smbus_init" );
    return initKind( "pl_smbus_init", topology );
}

pl_status pl_system_init( const char *topology ) {
    return initKind( "pl_system_init", topology );
}
}
