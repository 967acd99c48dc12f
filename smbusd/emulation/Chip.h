#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "smbusd/base/Log.h"
#include "smbusd/base/Scheduler.h"
#include "smbusd/bus/Counters.h"

namespace smbusd {

class Mux;

/** What a chip can do to the board it sits on: a power controller takes all of it down. */
class PowerControl {
  public:
    virtual ~PowerControl() = default;
    /** From now on no chip of the board answers, until power comes back from outside. */
    virtual void powerOff() = 0;
    /** Takes the board down for a moment; it comes up with every chip's reset values. */
    virtual void powerCycle() = 0;
};

/** What every chip is made with. The referred objects outlive the chip. */
struct ChipContext {
    std::string name;     ///< unique on the board
    std::string type;     ///< the key in the table of chip types
    uint8_t address;      ///< 7 bits
    Scheduler &scheduler; ///< the chip's only source of time
    Log &log;             ///< where misuse of the chip is reported
    PowerControl &power;  ///< of the board, for chips that switch it
};

/** A use of a chip, by hand and not over its bus, that the chip does not offer. */
class ChipError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/** A register's content: a number, or the bytes of a block. */
using RegisterContent = std::variant<uint32_t, std::vector<uint8_t>>;

/** A register as the control tool lists it. */
struct RegisterInfo {
    uint32_t number;       ///< on the wire: the command byte, or the offset in a memory
    unsigned width;        ///< in bytes; 0 for a block
    bool readOnly = false; ///< from the bus; a person can set it all the same
    std::string name = {}; ///< from the data sheet; empty where the number says it all
};

/** Something that comes in from outside, or goes out. */
struct InputInfo {
    std::string name; ///< unique within the chip, for example "p00" or "fan1.blocked"
    double value;     ///< a line's level, 0 or 1, or a quantity in the unit that the chip states
};

/**
 * An emulated chip.
 *
 * The wire side is called byte by byte, as a chip on a bus lives it: start() when its address was
 * seen after a START or repeated START, then write() or read() for each byte, and stop() at the
 * STOP. The other side is what a person at a work bench could do: look at registers, change them,
 * and set what comes in from outside (pins, temperatures, mains), all without bus traffic.
 */
class Chip {
  public:
    /** Plugged in, but without reset values: those come from reset(). */
    explicit Chip( ChipContext context ) : context_( std::move( context ) ) {}
    virtual ~Chip() = default;
    Chip( const Chip & ) = delete;
    Chip &operator=( const Chip & ) = delete;

    /** The name in hardware.json, unique on the board. */
    const std::string &name() const { return context_.name; }
    /** The name of its type in hardware.json, for example "pca9555". */
    const std::string &type() const { return context_.type; }
    /** Its address on the bus, 7 bits. */
    uint8_t address() const { return context_.address; }

    /** Whether the chip listens to this address. One that has several overrides it. */
    virtual bool listensTo( uint8_t address ) const { return address == context_.address; }
    /** Whether the chip is in its socket; the wire side of one that is not is never called. */
    bool plugged() const { return plugged_; }
    /** Puts the chip into its socket, where it starts with its reset values, or takes it out. */
    void plug( bool plugged );

    // The wire side.

    /** The chip's address was seen. @return whether it acknowledges. */
    virtual bool start( bool read ) = 0;
    /** A byte from the master. @return whether the chip acknowledges it. */
    virtual bool write( uint8_t byte ) = 0;
    /** The next byte to the master; 0xFF when the chip has nothing more to say. */
    virtual uint8_t read() = 0;
    /** The STOP of a message in which the chip was addressed. */
    virtual void stop() {}

    /** Power came up: volatile registers take their reset values. Inputs are outside and stay. */
    virtual void reset() = 0;
    /** The board has been running for long: what takes its time after power-on is over. */
    virtual void settle() {}

    // The work bench side. All of it throws ChipError for what the chip does not have.

    /** The registers that the chip has, by rising number. */
    virtual std::vector<RegisterInfo> registers() const { return {}; }
    /** What a register reads as; looking changes nothing, unlike a read over the bus. */
    virtual RegisterContent peek( uint32_t reg ) const;
    /** Sets a register, read-only or not. */
    virtual void poke( uint32_t reg, const RegisterContent &content );
    /** Everything that comes in from outside, with its present value. */
    virtual std::vector<InputInfo> inputs() const { return {}; }
    /** Changes what comes in from outside. Throws also for a value that the input cannot have. */
    virtual void setInput( std::string_view input, double value );
    /** Lines and values that the chip gives to others. */
    virtual std::vector<InputInfo> outputs() const { return {}; }
    /** The present value of one output. */
    double output( std::string_view output ) const;

    /** The chip as a multiplexer, null for every other chip. */
    virtual Mux *mux() { return nullptr; }

    /** What happened on the wire since the service started. */
    Counters counters;

  protected:
    /** The source of time for all that moves with it. */
    Scheduler &scheduler() const { return context_.scheduler; }
    /** The service's log. */
    Log &log() const { return context_.log; }
    /** The power of the board that the chip is on. */
    PowerControl &power() const { return context_.power; }

    /** The bus's user did what the chip's data sheet forbids: logged and counted as an error. */
    void misuse( const std::string &what );
    /** The level of an input that is a line. Throws ChipError unless the value is 0 or 1. */
    bool lineLevel( std::string_view input, double value ) const;
    /** Throws the ChipError for a register number that the chip does not have. */
    [[noreturn]] void noSuchRegister( uint32_t reg ) const;
    /** The number in a register's new content; throws ChipError unless it fits in @p width bytes. */
    uint32_t numberFor( uint32_t reg, const RegisterContent &content, unsigned width ) const;

  private:
    ChipContext context_;
    bool plugged_ = true;
};

} // namespace smbusd
