#pragma once

#include <functional>

#include <pl/fan.h>
#include <pl/psu.h>

#include "tests/model/Bench.h"

namespace model {

/** A reading of a supply that is a floating-point number. */
struct PsuReading {
    const char *name;
    pl_status ( *pl_psu_ops::*callback )( pl_psu *, float * );
    enum Kind { Linear, OutputVoltage, InputCurrent, OutputPower } kind;
    uint8_t command;
};
/** One of the six. */
const PsuReading &randomReading( Random &random );

/** Reads through the host's callback; @p modelled is what the model does. */
template <class Model>
void readPsu( Bench &bench, pl_psu *psu, const PsuReading &reading, Model &model,
              const std::function<int( float * )> &modelled ) {
    float got = -77;
    float expected = -77;
    bench.bothUnlessAborting(
        reading.name, model,
        [ & ] {
            const int status = ( psu->ops->*reading.callback )( psu, &got );
            return Bench::told( status, got );
        },
        [ & ] {
            bench.world.trace( 4, "%s_callback", reading.name );
            const int status = modelled( &expected );
            return Bench::told( status, expected );
        } );
}

void getPowerOk( Bench &bench, pl_psu *psu, const std::function<int( int * )> &modelled );
void getRpm( Bench &bench, pl_fan *fan, const std::function<int( int * )> &modelled );
/** @param maxRpm  the fan's; twice that and far more is asked for, and less than 0 */
void setRpm( Bench &bench, pl_fan *fan, int maxRpm, const std::function<int( int )> &modelled );

} // namespace model
