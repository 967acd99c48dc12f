#pragma once

#include <algorithm>
#include <chrono>
#include <vector>

#include <benchmark/benchmark.h>

namespace bench {

/** Seconds that @p work takes. */
template <class Work>
double timed( Work work ) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>( std::chrono::steady_clock::now() - start ).count();
}

inline double median( std::vector<double> times ) {
    const auto middle = times.begin() + static_cast<ptrdiff_t>( times.size() / 2 );
    std::nth_element( times.begin(), middle, times.end() );
    return *middle;
}

/**
 * Runs @p subject and @p baseline in turns, so that both meet the same disturbances, and reports the
 * quotient of their medians as "ratio". The benchmark's own time is the subject's.
 */
template <class Subject, class Baseline>
void compare( benchmark::State &state, Subject subject, Baseline baseline ) {
    std::vector<double> subjectTimes;
    std::vector<double> baselineTimes;
    subject();
    baseline();
    for ( auto _ : state ) {
        subjectTimes.push_back( timed( subject ) );
        baselineTimes.push_back( timed( baseline ) );
        state.SetIterationTime( subjectTimes.back() );
    }
    state.counters[ "ratio" ] = median( subjectTimes ) / median( baselineTimes );
}

} // namespace bench
