#include "tests/model/PsuSteps.h"

#include <iterator>

#include <fmt/format.h>

namespace model {

const PsuReading &randomReading( Random &random ) {
    static const PsuReading readings[] = {
        { "get_input_voltage", &pl_psu_ops::get_input_voltage, PsuReading::Linear, 0x88 },
        { "get_input_current", &pl_psu_ops::get_input_current, PsuReading::InputCurrent, 0x89 },
        { "get_output_voltage", &pl_psu_ops::get_output_voltage, PsuReading::OutputVoltage, 0x8B },
        { "get_output_current", &pl_psu_ops::get_output_current, PsuReading::Linear, 0x8C },
        { "get_output_power", &pl_psu_ops::get_output_power, PsuReading::OutputPower, 0x96 },
        { "get_input_power", &pl_psu_ops::get_input_power, PsuReading::Linear, 0x97 },
    };
    return readings[ random.below( std::size( readings ) ) ];
}

void getPowerOk( Bench &bench, pl_psu *psu, const std::function<int( int * )> &modelled ) {
    bench.get(
        "get_power_ok", -77, [ & ]( int *ok ) { return psu->ops->get_power_ok( psu, ok ); },
        [ & ]( int *ok ) {
            bench.world.trace( 4, "get_power_ok_callback" );
            return modelled( ok );
        } );
}

void getRpm( Bench &bench, pl_fan *fan, const std::function<int( int * )> &modelled ) {
    bench.get(
        "getRpm", -77, [ & ]( int *rpm ) { return fan->ops->get_rpm( fan, rpm ); },
        [ & ]( int *rpm ) {
            bench.world.trace( 4, "getRpmCallback(%p)", static_cast<void *>( fan ) );
            return modelled( rpm );
        } );
}

void setRpm( Bench &bench, pl_fan *fan, int maxRpm, const std::function<int( int )> &modelled ) {
    const int rpm = bench.random.oneIn( 4 ) ? bench.random.between( -20000000, 20000000 )
                                            : bench.random.between( -10, 2 * maxRpm );
    bench.act(
        fmt::format( "setRpm to {}", rpm ), [ & ] { return fan->ops->set_rpm( fan, rpm ); },
        [ & ] {
            bench.world.trace( 4, "setRpmCallback(%p, %d)", static_cast<void *>( fan ), rpm );
            return modelled( rpm );
        } );
}

} // namespace model
