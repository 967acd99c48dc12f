#include <pl/psu.h>

#include "orvan/kinds/Kind.h"

namespace orvan {

namespace {

Value powerGood( Readout &readout ) {
    auto *psu = readout.record<pl_psu>();
    int ok = 0;
    const pl_status status = call( psu->ops, &pl_psu_ops::get_power_ok, psu, &ok );
    return Value::answer( status, ok );
}

const Value &measured( Readout &readout, const char *what,
                       pl_status ( *pl_psu_ops::*entry )( pl_psu *, float * ) ) {
    return readout.once( what, [ & ] {
        auto *psu = readout.record<pl_psu>();
        float value = 0;
        const pl_status status = call( psu->ops, entry, psu, &value );
        return Value::answer( status, value );
    } );
}

Value inputVoltage( Readout &readout ) {
    return measured( readout, "vin", &pl_psu_ops::get_input_voltage );
}
Value inputCurrent( Readout &readout ) {
    return measured( readout, "iin", &pl_psu_ops::get_input_current );
}
Value inputPower( Readout &readout ) {
    return measured( readout, "pin", &pl_psu_ops::get_input_power );
}
Value outputVoltage( Readout &readout ) {
    return measured( readout, "vout", &pl_psu_ops::get_output_voltage );
}
Value outputCurrent( Readout &readout ) {
    return measured( readout, "iout", &pl_psu_ops::get_output_current );
}
Value outputPower( Readout &readout ) {
    return measured( readout, "pout", &pl_psu_ops::get_output_power );
}

/** Output over input power; nothing to show unless both are known and there is input. */
Value efficiency( Readout &readout ) {
    const Value in = inputPower( readout );
    const Value out = outputPower( readout );
    if ( in.status != PL_STATUS_OK || out.status != PL_STATUS_OK ||
         !( std::get<double>( in.data ) > 0 ) ) {
        return Value();
    }
    return Value::of( 100 * std::get<double>( out.data ) / std::get<double>( in.data ) );
}

constexpr Reading readings[] = {
    { "powergood", "", 0, powerGood }, { "vin", "V", 2, inputVoltage },
    { "iin", "A", 3, inputCurrent },   { "pin", "W", 1, inputPower },
    { "vout", "V", 3, outputVoltage }, { "iout", "A", 2, outputCurrent },
    { "pout", "W", 1, outputPower },   { "efficiency", "%", 1, efficiency },
};

} // namespace

const Kind psuKind = {
    "psu",
    "pl_psu_init",
    "pl_psu_add",
    addDescribed<pl_psu>,
    []( const Peripheral & ) -> std::span<const Reading> { return readings; },
    noSettings,
};

} // namespace orvan
