// An input byte from an expander's cache, against an indirect call.

#include "OrvanGeneric/Drivers/GPIOExpander.h"
#include "bench/Ratio.h"
#include "tests/support/ScriptedHam.h"

namespace {

pl_status plain( void *, uint8_t, uint8_t *value ) {
    *value = 1;
    return PL_STATUS_OK;
}

void CachedInputAgainstIndirectCall( benchmark::State &state ) {
    constexpr unsigned never = 0xFFFFFFFF;
    constexpr int callsPerTurn = 1000;
    ScriptedHam ham;
    Drivers::GPIOExpander expander( 2, never, 0, 2, 6 );
    expander.hamIs( &ham );
    pl_status ( *volatile call )( void *, uint8_t, uint8_t * ) = plain;
    uint8_t value = 0;
    bench::compare(
        state,
        [ & ] {
            for ( int i = 0; i < callsPerTurn; ++i ) {
                benchmark::DoNotOptimize( expander.getInBank( 0, &value ) );
            }
        },
        [ & ] {
            for ( int i = 0; i < callsPerTurn; ++i ) {
                benchmark::DoNotOptimize( call( nullptr, 0, &value ) );
            }
        } );
}
BENCHMARK( CachedInputAgainstIndirectCall )->UseManualTime();

} // namespace
