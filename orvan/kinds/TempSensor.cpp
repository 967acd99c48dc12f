#include <pl/temp_sensor.h>

#include "orvan/kinds/Kind.h"

namespace orvan {

namespace {

Value temperature( Readout &readout ) {
    auto *sensor = readout.record<pl_temp_sensor>();
    float celsius = 0;
    const pl_status status =
        call( sensor->ops, &pl_temp_sensor_ops::get_temperature, sensor, &celsius );
    return Value::answer( status, celsius );
}

Value alert( Readout &readout ) {
    return Value::of( static_cast<double>( readout.peripheral().description->alert ) );
}

Value critical( Readout &readout ) {
    return Value::of( static_cast<double>( readout.peripheral().description->critical ) );
}

void *add( void *symbol, const PeripheralDescription &description ) {
    return reinterpret_cast<pl_temp_sensor *( * )( const char *, float, float )>( symbol )(
        description.device.c_str(), description.alert, description.critical );
}

constexpr Reading readings[] = { { "temperature", "C", 1, temperature },
                                 { "alert", "C", 1, alert },
                                 { "critical", "C", 1, critical } };

} // namespace

const Kind tempSensorKind = {
    "temp_sensor",
    "pl_temp_sensor_init",
    "pl_temp_sensor_add",
    add,
    []( const Peripheral & ) -> std::span<const Reading> { return readings; },
    noSettings,
};

} // namespace orvan
