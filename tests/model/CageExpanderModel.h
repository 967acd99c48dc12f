#pragma once

#include <string>

#include "tests/model/ExpanderModel.h"

namespace model {

/** Cages whose lines are pins of an expander. Every query is a pin read, every change a write. */
class CageExpanderModel {
  public:
    /** What tells the boards' expanders apart. */
    struct Kind {
        const char *driver; ///< in the registry
        const char *text;   ///< of the creation
        const char *name;   ///< in the failures' traces
        ExpanderModel::Registers registers;
        int banks;
        int firstNumber; ///< of the cages
        int lastNumber;
        bool isQsfp;
        bool tracesBaseBit; ///< the failures' traces name the nibble's first bit
    };
    struct Port {
        int id; ///< from 0
        uint8_t bank;
        uint8_t bit;
    };

    CageExpanderModel( World &world, const Path &path, const Kind &kind,
                       const std::vector<uint8_t> &config )
        : world_( &world ), kind_( &kind ), chip_( world, path, kind.banks, 2, kind.registers ),
          config_( config ) {}

    Port port( int number ) const;
    void create() { world_->trace( 5, "%s", kind_->text ); }
    int init();
    int get( const char *operation, const Port &port, int offset, bool isActiveLow, int *value );
    int set( const char *operation, const Port &port, int offset, bool isActiveLow, int value );
    int nothing( const char *operation, const Port &port );

  private:
    int failed( const char *what, const Port &port, int offset, int status );

    World *world_;
    const Kind *kind_;
    ExpanderModel chip_;
    std::vector<uint8_t> config_;
};

} // namespace model
