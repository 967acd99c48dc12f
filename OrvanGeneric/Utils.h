#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <string>
#include <unistd.h>

namespace Utils {

/**
 * One register of a simulated device: how wide it is and what it holds at first.
 *
 * A numeric register is kept in the simulation file as hexadecimal digits, two for each byte; a
 * text register as its characters.
 */
class ExpectedVal {
  public:
    /** A numeric register of @p size bytes that holds @p val. */
    ExpectedVal( unsigned val, unsigned size ) : size_( size ), numeric_( true ), val_( val ) {}
    /** A text register that holds @p text, which must have exactly @p size characters. */
    ExpectedVal( const std::string &text, unsigned size )
        : size_( size ), numeric_( false ), val_( 0 ), valStr_( text ) {}

    /** Width in bytes. */
    unsigned size() const { return size_; }
    /** Whether it is a numeric register. */
    bool isNumeric() const { return numeric_; }
    /** Value of a numeric register, as the bus returns it. */
    unsigned val() const { return val_; }
    /** Content of a text register. */
    const std::string &valStr() const { return valStr_; }

  private:
    unsigned size_;
    bool numeric_;
    unsigned val_;
    std::string valStr_;
};

/** A driver's registers for simulation, by register number. */
using ExpectedValues = std::map<unsigned, ExpectedVal>;

/** -1: not looked at yet; 1: "SIMULATION_VMID" is set in the environment; 0: it is not. */
extern int isInSimulation;

/** Whether the process simulates its hardware; the environment is looked at the first time only. */
bool inSimulation();

/** The operating system's clock and pauses, replaceable where real time must not pass. */
struct OperatingSystem {
    int ( *clockGettime )( clockid_t, timespec * ); ///< clock_gettime(2)
    unsigned ( *sleep )( unsigned seconds );        ///< sleep(3)
    int ( *usleep )( useconds_t microseconds );     ///< usleep(3)
};
/** What the library uses; at first the system's own. */
extern OperatingSystem os;

/** The monotonic clock in milliseconds. */
int64_t monotonicMilliseconds();

} // namespace Utils
