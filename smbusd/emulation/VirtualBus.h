#pragma once

#include "smbusd/base/Log.h"
#include "smbusd/base/Scheduler.h"
#include "smbusd/bus/Bus.h"
#include "smbusd/emulation/Fault.h"
#include "smbusd/emulation/Wire.h"

namespace smbusd {

/** A bus of emulated chips. */
class VirtualBus : public Bus {
  public:
    /** Without chips, and with power. The referred objects outlive the bus. */
    VirtualBus( std::string name, BusKey key, Scheduler &scheduler, Log &log, FaultTable &faults )
        : Bus( std::move( name ), key ), scheduler_( scheduler ), log_( log ), faults_( faults ),
          wire_( root_ ) {}

    /** The segment that the master is on, to which chips are added. */
    Segment &root() { return root_; }
    /** Whether the chips have power; without it none answers. */
    void setPowered( bool powered );

    /** @return "virtual" */
    std::string backend() const override { return "virtual"; }
    /** Completes before it returns, unless a fault delays the operation. */
    void execute( const Operation &operation, Completion completion ) override;
    const std::string &trace() const override { return wire_.trace().text(); }
    /** Counts for the bus; each chip counts with the transaction's first operation there. */
    void transactionStarted() override;
    /** Counts for the bus and for the chips that see the operation's address. */
    void retried( const Operation &operation ) override;

  private:
    FaultEffects takeFaults( const Operation &operation );
    void attempt( const Operation &operation, const FaultEffects &effects,
                  const Completion &completion );
    void findResponders( uint8_t address );
    void count( const Result &result );

    Scheduler &scheduler_;
    Log &log_;
    FaultTable &faults_;
    Segment root_;
    Wire wire_;
    bool powered_ = true;
    std::vector<Chip *> responders_;  ///< chips that see the current operation's address
    std::vector<Chip *> transaction_; ///< chips that the current transaction has reached
};

} // namespace smbusd
