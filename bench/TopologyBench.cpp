// Loading a topology, against RapidJSON's DOM parse of the same text; and what a device's place in
// a large topology costs when peripherals are added.

#include <string>

#include <pl/gpio.h>
#include <rapidjson/document.h>

#include "OrvanGeneric/Components/HardwareDevice.h"
#include "OrvanGeneric/Ham/HamSelection.h"
#include "OrvanGeneric/Ham/SearchVisitor.h"
#include "OrvanGeneric/Topology.h"
#include "bench/Ratio.h"
#include "tests/support/ScriptedHam.h"

namespace {

/** A board of @p devices, a hundred to a bus, every tenth labelled. */
std::string board( int devices ) {
    std::string text = R"([{"type":"SCD","ham":"Bench","pci":1,"accelerators":[{"id":0,"busses":[)";
    for ( int did = 0; did < devices; ++did ) {
        if ( did % 100 == 0 ) {
            text += ( did ? "]}," : "" ) + std::string( R"({"id":)" ) +
                    std::to_string( did / 100 ) + R"(,"devices":[)";
        } else {
            text += ',';
        }
        text += R"({"did":)" + std::to_string( did );
        if ( did % 10 == 0 ) {
            text += R"(,"label":"Device)" + std::to_string( did ) + '"';
        }
        text += R"(,"components":[{"uid":)" + std::to_string( did ) + "}]}";
    }
    return text + "]}]}]}]";
}

void LoadTopologyAgainstDomParse( benchmark::State &state ) {
    // Two texts in turns, since one that is loaded already would not be built again.
    const std::string texts[] = { board( static_cast<int>( state.range( 0 ) ) ),
                                  board( static_cast<int>( state.range( 0 ) ) ) + " " };
    int turn = 0;
    bench::compare(
        state,
        [ & ] {
            benchmark::DoNotOptimize( Topology::loadTopology( texts[ turn++ % 2 ].c_str() ) );
        },
        [ & ] {
            rapidjson::Document document;
            document.Parse( texts[ 0 ].c_str() );
            benchmark::DoNotOptimize( document.IsArray() );
        } );
    state.SetComplexityN( state.range( 0 ) );
}
BENCHMARK( LoadTopologyAgainstDomParse )
    ->Arg( 1000 )
    ->Arg( 10000 )
    ->Arg( 100000 )
    ->UseManualTime()
    ->Unit( benchmark::kMillisecond )
    ->Complexity( benchmark::oN );

/** Adds @p count GPIOs, each on a device of its own in a board of as many. */
void AddPeripherals( benchmark::State &state ) {
    const int count = static_cast<int>( state.range( 0 ) );
    Ham::hams[ "Bench" ] = []( const Topology::Topology &, const Drivers::DriverArgs & ) {
        return new ScriptedHam();
    };
    Topology::loadTopology( board( count ).c_str() );
    double adding = 0;
    double walking = 0;
    for ( auto _ : state ) {
        Component::DeviceBase::devices.clear();
        const double seconds = bench::timed( [ & ] {
            for ( int did = 0; did < count; ++did ) {
                const std::string description =
                    R"({"did":)" + std::to_string( did ) +
                    R"(,"driver":"Dummy","address":{"address":32},"driverArgs":{"register":0,"bitpos":0}})";
                benchmark::DoNotOptimize( pl_gpio_add( description.c_str() ) );
            }
        } );
        state.SetIterationTime( seconds );
        adding += seconds;
        walking += bench::timed( [ & ] {
            for ( int did = 0; did < count; ++did ) {
                Ham::SearchVisitor search( 0xFFFFFFFF, static_cast<unsigned>( did ) );
                benchmark::DoNotOptimize( Topology::_topology->accept( &search ) );
            }
        } );
    }
    state.counters[ "walks_share" ] = walking / adding;
    state.counters[ "us_each" ] = adding / static_cast<double>( state.iterations() ) / count * 1e6;
}
BENCHMARK( AddPeripherals )
    ->Arg( 100 )
    ->Arg( 1000 )
    ->Arg( 10000 )
    ->UseManualTime()
    ->Unit( benchmark::kMillisecond );

} // namespace
