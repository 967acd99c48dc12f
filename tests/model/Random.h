#pragma once

#include <cstdint>
#include <initializer_list>

namespace model {

/** Reproducible random numbers (SplitMix64): the same seed gives the same run on every machine. */
class Random {
  public:
    explicit Random( uint64_t seed ) : state_( seed ) {}

    uint32_t next() {
        uint64_t mixed = state_ += 0x9E3779B97F4A7C15;
        mixed = ( mixed ^ ( mixed >> 30 ) ) * 0xBF58476D1CE4E5B9;
        mixed = ( mixed ^ ( mixed >> 27 ) ) * 0x94D049BB133111EB;
        return static_cast<uint32_t>( ( mixed ^ ( mixed >> 31 ) ) >> 32 );
    }
    /** 0 to @p count - 1. */
    uint32_t below( uint32_t count ) {
        return static_cast<uint32_t>( ( static_cast<uint64_t>( next() ) * count ) >> 32 );
    }
    /** @p low to @p high. */
    int between( int low, int high ) {
        return low + static_cast<int>( below( static_cast<uint32_t>( high - low + 1 ) ) );
    }
    bool oneIn( uint32_t count ) { return below( count ) == 0; }
    uint8_t byte() { return static_cast<uint8_t>( next() ); }
    uint16_t word() { return static_cast<uint16_t>( next() ); }
    template <class Value>
    Value of( std::initializer_list<Value> values ) {
        return values.begin()[ below( static_cast<uint32_t>( values.size() ) ) ];
    }

  private:
    uint64_t state_;
};

} // namespace model
