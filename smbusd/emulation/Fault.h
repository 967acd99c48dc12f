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
    enum class Kind {
        Nack,
        BadPec,
        ShortBlock,
        ClockHold,
        StuckBus,
        ArbitrationLost,
        FlipBit,
        Delay,
        DropConnection,
        StopAnswering,
    };

    unsigned id = 0; ///< given by the table
    Kind kind = Kind::Nack;
    std::string target;        ///< name of a chip or a bus
    uint32_t times = 0;        ///< operations it has still to spoil; 0: every one until cleared
    bool atData = false;       ///< Nack: of the first byte behind the address, not of the address
    uint32_t milliseconds = 0; ///< Delay and ClockHold: how long
    uint32_t missing = 1;      ///< ShortBlock: bytes left out at the end
    uint32_t byte = 0;         ///< FlipBit: index of the data byte
    uint32_t bit = 0;          ///< FlipBit: 0 to 7
    uint64_t hits = 0;         ///< operations it has spoiled so far
};

std::string_view faultName( Fault::Kind kind );
std::optional<Fault::Kind> faultFromName( std::string_view name );
std::vector<std::string_view> faultNames();

/** How long a held clock is waited for: the SMBus time-out, T_TIMEOUT,MAX. */
inline constexpr uint32_t clockHoldMilliseconds = 35;

/** What the faults in force do to one attempt of an operation. */
struct FaultEffects {
    bool nackAddress = false;
    bool nackData = false;
    bool badPec = false;
    bool stuckBus = false;
    bool arbitrationLost = false;
    bool dropConnection = false;
    bool stopAnswering = false;
    uint32_t missing = 0;
    std::optional<Duration> clockHold;
    Duration delay{};
    uint32_t flipByte = 0;
    uint8_t flipMask = 0;

    /** The bits that turn over in the data byte of this index. */
    uint8_t flipOf( size_t index ) const { return index == flipByte ? flipMask : uint8_t{ 0 }; }
};

/** The faults in force, in the order in which they were injected. */
class FaultTable {
  public:
    /** @return the new fault's id */
    unsigned inject( Fault fault );
    /** @return whether there was one of that id */
    bool clear( unsigned id );
    /** Clears those of one chip or bus, or with an empty name all. @return how many */
    unsigned clearTarget( std::string_view target );
    const std::vector<Fault> &faults() const { return faults_; }
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
