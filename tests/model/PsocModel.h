#pragma once

#include <optional>

#include "tests/model/HamModel.h"
#include "tests/model/PollingModel.h"

namespace model {

/** The fan and temperature controller. */
class PsocModel {
  public:
    struct Fan {
        int index;        ///< from 0
        int maxRpm;       ///< positive
        uint8_t speedReg; ///< where its speed is read
        bool isMaster;    ///< whether its setting drives all
    };

    PsocModel( World &world, const Path &path )
        : poll( world ), world_( &world ), ham_( world, path ) {}

    void create();
    int init();
    void pollCallback();
    /** Whether it is undefined what the fan's speed reading does after a failed poll. */
    bool isSpeedOpen() const { return !stalled_; }
    int getRpm( const Fan &fan, int *rpm );
    int setRpm( const Fan &fan, int rpm );
    int getTemperature( uint8_t id, uint8_t reg, float *celsius );

    PollingModel poll;

  private:
    World *world_;
    HamModel ham_;
    /** The last read bitmap; none after a failed read, which leaves anything. */
    std::optional<uint8_t> stalled_ = 0;
};

} // namespace model
