#pragma once

#include "tests/model/ExpanderModel.h"

namespace model {

/** The driver of a PCA9555 whose pins are GPIO lines of the host, one by one. */
class LineModel {
  public:
    LineModel( World &world, const Path &path, const std::vector<uint8_t> &config,
               uint8_t cacheTimeout, ExpanderModel::Registers registers )
        : world_( &world ), chip_( world, path, 2, cacheTimeout, registers ), config_( config ) {}

    int init() {
        chip_.writeConfig( config_ );
        const int status = chip_.save();
        if ( status ) {
            world_->trace( 0, "Error: failed to write PCA9555 pin configuration" );
        }
        return status;
    }
    int bitSet( uint8_t bank, uint8_t bit ) {
        world_->trace( 4, "bitSetCallback" );
        return write( bank, bit, true, "GenericPCA9555 bitSet() failed!" );
    }
    int bitClear( uint8_t bank, uint8_t bit ) {
        world_->trace( 4, "bitClearCallback" );
        return write( bank, bit, false, "GenericPCA9555 bitClear() failed!" );
    }
    int bitRead( uint8_t bank, uint8_t bit, unsigned *value ) {
        world_->trace( 4, "bitReadCallback" );
        bool level = false;
        const int status = chip_.readBit( bank, bit, &level );
        *value = status ? 0 : level;
        if ( status ) {
            world_->trace( 0, "GenericPCA9555 bitRead() failed!" );
        }
        return status;
    }

  private:
    int write( uint8_t bank, uint8_t bit, bool value, const char *failure ) {
        chip_.writeBit( bank, bit, value );
        const int status = chip_.save();
        if ( status ) {
            world_->trace( 0, "%s", failure );
        }
        return status;
    }

    World *world_;
    ExpanderModel chip_;
    std::vector<uint8_t> config_;
};

} // namespace model
