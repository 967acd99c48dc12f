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
    Chip *chip;        ///< whose input it is, never null; the board's
    std::string input; ///< its name
    double plugged;    ///< what goes in while the unit is there
    double unplugged;  ///< what goes in while it is not
};

/**
 * Something that is plugged in and pulled as one: a supply with its controller and its EEPROM, a
 * fan tray, a transceiver. Its chips come and go together, and the lines that tell of it follow.
 */
struct Unit {
    std::string name;              ///< unique on the board
    std::vector<Chip *> chips;     ///< the board's
    std::vector<UnitInput> inputs; ///< of other chips, that tell whether it is there
    bool plugged = true;           ///< whether it is there
};

/**
 * What one chip gives out goes into another, which takes it up when anybody looks next. Several chips
 * that take the same place can be at its beginning: the one that is plugged in counts.
 */
struct Connection {
    std::vector<const Chip *> from;  ///< the board's; all have the output
    std::string output;              ///< of the chip at the beginning
    Chip *to;                        ///< the chip at the end, never null; the board's
    std::string input;               ///< of the chip at the end
    double unplugged;                ///< what goes in while none of them is plugged in
    std::optional<double> last = {}; ///< what went in; a person may have set the input since
};

/**
 * A board as its hardware.json describes it: buses, the chips on them, units, faults and power.
 *
 * Owns all of it. Nothing is ever removed, so references to buses and chips stay valid as long as
 * the board.
 */
class Hardware : public PowerControl {
  public:
    /** How long a power cycle keeps the board down, unless the configuration says otherwise. */
    static constexpr Duration defaultPowerCycle = std::chrono::milliseconds( 500 );

    /** Empty and powered. Both outlive the board. */
    Hardware( Scheduler &scheduler, Log &log ) : scheduler_( scheduler ), log_( log ) {}

    /** The source of time of everything on the board. */
    Scheduler &scheduler() { return scheduler_; }
    /** The log of everything on the board. */
    Log &log() { return log_; }

    // Building; the names and keys must be free, which the configuration has checked.
    /** Adds an emulated bus, whose chips are to be added to its root. */
    VirtualBus &addVirtualBus( std::string name, const BusKey &key );
    /** Adds a bus of any kind. */
    void addBus( std::unique_ptr<Bus> bus );
    /** Adds a chip; on which bus it is, its segment knows. */
    Chip &addChip( std::unique_ptr<Chip> chip );
    /** Adds a unit as it is; plug() brings its chips and lines into that state. */
    Unit &addUnit( Unit unit );
    /** Adds a connection, which takes effect with the next updateConnections(). */
    void connect( Connection connection ) { connections_.push_back( std::move( connection ) ); }
    /** How long a power cycle keeps the board down. */
    void setPowerCycleTime( Duration time ) { powerCycleTime_ = time; }

    // Looking up: null for what is not there.
    /** The bus that a request means. */
    Bus *findBus( const BusKey &key ) const;
    /** The bus of that name. */
    Bus *findBus( std::string_view name ) const;
    /** The chip of that name, on whatever bus. */
    Chip *findChip( std::string_view name ) const;
    /** The unit of that name. */
    Unit *findUnit( std::string_view name );
    /** All buses, in the order of the configuration. */
    const std::vector<std::unique_ptr<Bus>> &buses() const { return buses_; }
    /** All chips of all buses, in the order of the configuration. */
    const std::vector<std::unique_ptr<Chip>> &chips() const { return chips_; }
    /** All units, in the order of the configuration. */
    const std::vector<std::unique_ptr<Unit>> &units() const { return units_; }

    /** Plugs a unit in or pulls it: its chips, and the lines that tell of it. */
    void plug( Unit &unit, bool plugged );

    /** What has changed at the beginnings of connections arrives at their ends. */
    void updateConnections();

    /** Whether the emulated chips have power. */
    bool powered() const { return powered_; }
    void powerOff() override;
    void powerCycle() override;
    /** Every chip that is plugged in starts with its reset values. */
    void powerOn();

    /** What is to go wrong on the emulated buses. */
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
