#pragma once

#include <optional>

#include "tests/model/HamModel.h"

namespace model {

/** One bit of a byte register of another device, read as a line. */
struct LineBit {
    HamModel ham;
    uint8_t reg;
    int bit;

    int read( int *level );
};

/** A PMBus power supply. */
class PmbusModel {
  public:
    static constexpr int exponentFromMode = 255;

    struct Fan {
        int index; ///< from 0
        int maxRpm;
        bool pec;
    };
    struct PowerLine {
        LineBit line;
        bool isActiveLow;
    };

    PmbusModel( World &world, const Path &path, int voutExponent,
                const std::optional<PowerLine> &powerLine )
        : world_( &world ), ham_( world, path ), voutExponent_( voutExponent ),
          powerLine_( powerLine ) {}

    int readLinear( uint8_t command, float *value );
    int getOutputVoltage( float *volts );
    int getPowerOk( int *ok );
    int getTemperature( uint8_t command, float *celsius );
    int getRpm( const Fan &fan, int *rpm );
    int setRpm( const Fan &fan, int rpm );

    /** Mantissa in the low 11 bits, exponent in the high 5, both signed. */
    static float linear11( uint16_t word );

  private:
    int clearFaults();

    World *world_;
    HamModel ham_;
    int voutExponent_;
    std::optional<PowerLine> powerLine_;
};

} // namespace model
