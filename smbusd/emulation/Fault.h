#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "smbusd/base/Scheduler.h"
#include "smbusd/bus/Operation.h"

namespace smbusd {

/** Something that is made to go wrong at one chip or on one bus. */
struct Fault {
    /** What goes wrong. */
    enum class Kind {
        Nack,            ///< no acknowledge, of the address or of the first byte after it
        BadPec,          ///< a wrong packet error code
        ShortBlock,      ///< a block, SMBus or I2C, that ends too early
        ClockHold,       ///< the clock held low until the time-out
        StuckBus,        ///< the data line held low: no START is possible
        ArbitrationLost, ///< another master was faster
        FlipBit,         ///< a data bit turned over
        Delay,           ///< the operation, and with it its bus, waits
        DropConnection,  ///< the client's connection is closed instead of an answer
        StopAnswering,   ///< the client gets no answer, now or later
    };

    unsigned id = 0;           ///< given by the table
    Kind kind = Kind::Nack;    ///< what goes wrong; decides which of the others count
    std::string target;        ///< name of a chip or a bus
    uint32_t times = 0;        ///< operations it has still to spoil; 0: every one until cleared
    bool atData = false;       ///< Nack: of the first byte after the address, not of the address
    uint32_t milliseconds = 0; ///< Delay and ClockHold: how long
    uint32_t missing = 1;      ///< ShortBlock: bytes left out at the end
    uint32_t byte = 0;         ///< FlipBit: index of the data byte
    uint32_t bit = 0;          ///< FlipBit: 0 to 7
    uint64_t hits = 0;         ///< operations it has spoiled so far
};

/** @return the name that hardware.json and the control tool use, for example "short-block" */
std::string_view faultName( Fault::Kind kind );
/** @return the kind of that name, nothing if there is none */
std::optional<Fault::Kind> faultFromName( std::string_view name );
/** @return the names of all kinds, in their order */
std::vector<std::string_view> faultNames();

/** How long a held clock is waited for: the SMBus time-out, T_TIMEOUT,MAX. */
inline constexpr uint32_t clockHoldMilliseconds = 35;

/** What the faults in force do to one attempt of an operation. */
struct FaultEffects {
    bool nackAddress = false;          ///< no chip sees the address
    bool nackData = false;             ///< no chip sees the first byte after the address
    bool badPec = false;               ///< the packet error code is inverted
    bool stuckBus = false;             ///< nothing gets onto the wire
    bool arbitrationLost = false;      ///< the master loses the bus at its first START
    bool dropConnection = false;       ///< the wire stays silent, and so does the service
    bool stopAnswering = false;        ///< as well
    uint32_t missing = 0;              ///< bytes left out at the end of a block
    std::optional<Duration> clockHold; ///< how long the clock is held low after the address
    Duration delay{};                  ///< before the START
    uint32_t flipByte = 0;             ///< index of the data byte that flipMask is for
    uint8_t flipMask = 0;              ///< bits that turn over in it

    /** The bits that turn over in the data byte of this index. */
    uint8_t flipOf( size_t index ) const { return index == flipByte ? flipMask : uint8_t{ 0 }; }
};

/** The faults in force, in the order in which they were injected. */
class FaultTable {
  public:
    /** Puts a fault in force; its id and hits are the table's. @return the new fault's id, from 1 */
    unsigned inject( Fault fault );
    /** Ends a fault. @return whether there was one of that id */
    bool clear( unsigned id );
    /** Clears those of one chip or bus, or with an empty name all. @return how many */
    unsigned clearTarget( std::string_view target );
    /** Every fault in force, the oldest first. */
    const std::vector<Fault> &faults() const { return faults_; }
    /** Whether nothing is to go wrong anywhere. */
    bool empty() const { return faults_.empty(); }

    /**
     * Applies the faults of a target to an attempt of an operation, those that can do anything to
     * such an operation, and counts them down.
     * @return how many took effect
     */
    unsigned apply( std::string_view target, const Operation &operation, FaultEffects &effects );

  private:
    std::vector<Fault> faults_;
    unsigned lastId_ = 0;
};

} // namespace smbusd
