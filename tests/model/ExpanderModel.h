#pragma once

#include <ctime>
#include <vector>

#include "tests/model/HamModel.h"

namespace model {

/** A port expander's banks: a timed cache of the inputs, a write-back cache of the outputs. */
class ExpanderModel {
  public:
    /** The first registers of each kind; those of further banks follow, modulo 256. */
    struct Registers {
        uint8_t input;
        uint8_t output;
        uint8_t config;
    };

    ExpanderModel( World &world, const Path &path, int banks, uint32_t cacheTimeout,
                   Registers registers );

    int getInBank( uint8_t bank, uint8_t *value );
    int getOutBank( uint8_t bank, uint8_t *value );
    int readBit( uint8_t bank, uint8_t bit, bool *value );
    int readPin( uint8_t pin, bool *value );
    int writeBit( uint8_t bank, uint8_t bit, bool value );
    int writePin( uint8_t pin, bool value );
    int save();
    int writeConfig( const std::vector<uint8_t> &config );

    int banks() const { return static_cast<int>( banks_.size() ); }

  private:
    struct Bank {
        timespec read{};
        uint8_t input = 0;
        int output = nothing;
    };
    static constexpr int nothing = 0xFFFF;

    Bank &at( uint8_t bank );
    bool isStale( const Bank &bank ) const;

    World *world_;
    HamModel ham_;
    std::vector<Bank> banks_;
    uint32_t cacheTimeout_;
    Registers registers_;
};

} // namespace model
