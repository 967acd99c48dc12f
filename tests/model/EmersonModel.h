#pragma once

#include "tests/model/PmbusModel.h"
#include "tests/model/PsuExpanderModel.h"

namespace model {

/** An Emerson supply, whose power-good comes from the supplies' expander. */
class EmersonModel {
  public:
    struct Fan {
        int number; ///< 1 or 2
        int maxRpm;
        bool pec;
    };

    EmersonModel( World &world, const Path &path, int number, PsuExpanderModel &expander )
        : world_( &world ), ham_( world, path ), number_( number ), expander_( &expander ) {}

    void create() { world_->trace( 0, "Creating EmersonPmbus Device" ); }
    int readLinear( uint8_t command, float *value );
    int getOutputVoltage( float *volts );
    int getInputCurrent( float *amperes );
    int getOutputPower( float *watts );
    int getPowerOk( int *ok );
    int getRpm( const Fan &fan, int *rpm );
    int setRpm( const Fan &fan, int rpm );

  private:
    World *world_;
    HamModel ham_;
    int number_;
    PsuExpanderModel *expander_;
};

} // namespace model
