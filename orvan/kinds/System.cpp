#include <pl/system.h>

#include "orvan/kinds/Kind.h"

namespace orvan {

namespace {

Value reloadCause( Readout &readout ) {
    auto *system = readout.record<pl_system>();
    char cause[ PL_RELOAD_CAUSE_SIZE ] = {};
    char description[ PL_RELOAD_DESCRIPTION_SIZE ] = {};
    long time = 0;
    const pl_status status =
        call( system->ops, &pl_system_ops::get_reload_cause, system, cause, &time, description );
    return status == PL_STATUS_OK ? Value::of( std::string( cause ) ) : Value::failed( status );
}

constexpr Reading readings[] = { { "reloadcause", "", 0, reloadCause } };

} // namespace

const Kind systemKind = {
    "system",
    "pl_system_init",
    "pl_system_add",
    addDescribed<pl_system>,
    []( const Peripheral & ) -> std::span<const Reading> { return readings; },
    noSettings,
};

} // namespace orvan
