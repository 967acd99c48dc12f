#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "smbusd/bus/Bus.h"
#include "smbusd/emulation/Chip.h"
#include "smbusd/emulation/Fault.h"
#include "smbusd/emulation/Segment.h"
#include "smbusd/emulation/VirtualBus.h"

namespace smbusd {

/** An input that shows whether a unit is plugged in. */
struct UnitInput {
    Chip *chip;
    std::string input;
    double plugged;
    double unplugged;
};

/**
 * Something that is plugged in and pulled as one: a supply with its controller and its EEPROM, a
 * fan tray, a transceiver. Its chips come and go together, and the lines that tell of it follow.
 */
struct Unit {
    std::string name;
    std::vector<Chip *> chips;
    std::vector<UnitInput> inputs;
    bool plugged = true;
};

/**
 * What one chip gives out goes into another, which takes it up when anybody looks next. Several chips
 * that take the same place can be at its beginning: the one that is plugged in counts.
 */
struct Connection {
    std::vector<const Chip *> from;
    std::string output;
    Chip *to;
    std::string input;
    double unplugged;                ///< what goes in while none of them is
    std::optional<double> last = {}; ///< what went in; a person may have set the input since
};

/** Everything the configuration describes: buses, the chips on them, units, faults and power. */
class Board : public PowerControl {
  public:
    /** How long a power cycle keeps the board down, unless the configuration says otherwise. */
    static constexpr Duration defaultPowerCycle = std::chrono::milliseconds( 500 );

    Board( Scheduler &scheduler, Log &log ) : scheduler_( scheduler ), log_( log ) {}

    Scheduler &scheduler() { return scheduler_; }
    Log &log() { return log_; }

    // Building; the names and keys must be free, which the configuration has checked.
    VirtualBus &addVirtualBus( std::string name, const BusKey &key );
    void addBus( std::unique_ptr<Bus> bus );
    Chip &addChip( std::unique_ptr<Chip> chip );
    Unit &addUnit( Unit unit );
    void connect( Connection connection ) { connections_.push_back( std::move( connection ) ); }
    void setPowerCycleTime( Duration time ) { powerCycleTime_ = time; }

    // Looking up: null for what is not there.
    Bus *findBus( const BusKey &key ) const;
    Bus *findBus( std::string_view name ) const;
    Chip *findChip( std::string_view name ) const;
    Unit *findUnit( std::string_view name );
    const std::vector<std::unique_ptr<Bus>> &buses() const { return buses_; }
    const std::vector<std::unique_ptr<Chip>> &chips() const { return chips_; }
    const std::vector<std::unique_ptr<Unit>> &units() const { return units_; }

    /** Plugs a unit in or pulls it: its chips, and the lines that tell of it. */
    void plug( Unit &unit, bool plugged );

    /** What has changed at the beginnings of connections arrives at their ends. */
    void updateConnections();

    bool powered() const { return powered_; }
    void powerOff() override;
    void powerCycle() override;
    /** Every chip that is plugged in starts with its reset values. */
    void powerOn();

    FaultTable faults;

  private:
    void setPowered( bool powered );

    Scheduler &scheduler_;
    Log &log_;
    std::vector<std::unique_ptr<Chip>> chips_;
    std::vector<std::unique_ptr<Bus>> buses_;
    std::vector<VirtualBus *> virtualBuses_;
    std::map<BusKey, Bus *> busByKey_;
    std::vector<std::unique_ptr<Unit>> units_;
    std::vector<Connection> connections_;
    Duration powerCycleTime_ = defaultPowerCycle;
    bool powered_ = true;
    unsigned powerGeneration_ = 0; ///< counts switchings, so that a later one overrules a cycle
};

} // namespace smbusd
