#pragma once

#include <map>
#include <string>

#include "tests/model/HamModel.h"
#include "tests/model/PollingModel.h"

namespace model {

/** A CPLD with the control lines of sixteen cages, whose registers are polled into a cache. */
class CpldModel {
  public:
    /** A cage: a nibble of a register. */
    struct Port {
        int id; ///< as the driver's traces print it
        uint8_t reg;
        int bit;
    };
    /** The cages by their number, from 1. */
    static Port sfp( int number );
    static Port qsfp( int number );

    /** A line of a cage: the bit in its nibble. */
    struct Line {
        int offset;
        bool isActiveLow;
    };

    /** @param name  of the class, as the traces print it */
    CpldModel( World &world, const Path &path, const std::string &name )
        : poll( world ), world_( &world ), ham_( world, path ), name_( name ) {}

    void create();
    int init();
    bool refresh();
    /** @param operation  its name in the traces */
    int get( const char *operation, const Port &port, Line line, int *value );
    int set( const char *operation, const Port &port, Line line, int value );
    /** Module select, which is not wired. */
    int nothing( const char *operation, const Port &port );

    PollingModel poll;

  private:
    World *world_;
    HamModel ham_;
    std::string name_;
    std::map<uint8_t, uint16_t> cache_;
    std::vector<uint8_t> polled_;
};

} // namespace model
