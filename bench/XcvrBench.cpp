// Whether a module is present, asked through the host's record and answered from the poll's cache,
// traces switched off by their level; against a bare call through a function pointer.

#include <memory>

#include "OrvanGeneric/DriverArgs.h"
#include "OrvanGeneric/Drivers/Mirelund/MirelundCPLD.h"
#include "bench/Ratio.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/ScriptedHam.h"

namespace {

int plain( pl_xcvr * ) {
    return 1;
}

void CachedPresenceAgainstFunctionPointer( benchmark::State &state ) {
    constexpr int callsPerTurn = 1000;
    Drivers::DriverArgs args;
    ScriptedHam ham;
    ham.words[ 1 ] = 0x0020; // the first port's presence, as the bus has it
    std::unique_ptr<Component::HardwareDevice> cpld( Drivers::MirelundQCPLD::create( args, &ham ) );
    cpld->hamIs( &ham );
    cpld->init();
    std::unique_ptr<Component::LogicalDevice::SfpXcvr> port( cpld->newSfpXcvr( 1, args ) );
    pl_xcvr *const xcvr = port->record();
    if ( xcvr->ops->u.sfp.get_presence( xcvr ) != 1 ) {
        state.SkipWithError( "the module is not seen" );
    }

    ham.log.clear();
    {
        const support::AllocationCounter allocations;
        benchmark::DoNotOptimize( xcvr->ops->u.sfp.get_presence( xcvr ) );
        state.counters[ "allocations" ] = static_cast<double>( allocations.count() );
    }
    int ( *volatile call )( pl_xcvr * ) = plain;
    bench::compare(
        state,
        [ & ] {
            for ( int i = 0; i < callsPerTurn; ++i ) {
                benchmark::DoNotOptimize( xcvr->ops->u.sfp.get_presence( xcvr ) );
            }
        },
        [ & ] {
            for ( int i = 0; i < callsPerTurn; ++i ) {
                benchmark::DoNotOptimize( call( xcvr ) );
            }
        } );
    state.counters[ "bus calls" ] = static_cast<double>( ham.log.size() );
}
BENCHMARK( CachedPresenceAgainstFunctionPointer )->UseManualTime();

} // namespace
