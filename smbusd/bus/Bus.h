#pragma once

#include <functional>
#include <string>

#include "smbusd/bus/Counters.h"
#include "smbusd/bus/Operation.h"
#include "smbusd/bus/Result.h"

namespace smbusd {

/** A bus that transactions can be carried out on, whatever is at its other end. */
class Bus {
  public:
    /** Takes what came of an attempt. */
    using Completion = std::function<void( Result )>;

    /** @param name  unique on the board @param key  unique among the buses */
    Bus( std::string name, BusKey key ) : name_( std::move( name ) ), key_( key ) {}
    virtual ~Bus() = default;
    Bus( const Bus & ) = delete;
    Bus &operator=( const Bus & ) = delete;

    /** The name in hardware.json. */
    const std::string &name() const { return name_; }
    /** What requests find the bus by. */
    const BusKey &key() const { return key_; }
    /** What the bus is, for listings: "virtual", or the adapter's device file. */
    virtual std::string backend() const = 0;

    /**
     * Attempts an operation once. One at a time: the next only after the completion.
     *
     * @param operation   stays valid until the completion
     * @param completion  called once on the service's thread, possibly before this returns
     */
    virtual void execute( const Operation &operation, Completion completion ) = 0;

    /** What the last attempt put on the wire, in the notation of WireTrace. */
    virtual const std::string &trace() const = 0;

    /** A transaction reaches the bus for the first time; only counts. */
    virtual void transactionStarted() { counters.transactions++; }
    /** An operation is about to be attempted again; only counts. */
    virtual void retried( const Operation & ) { counters.retries++; }

    /** What happened on the bus since the service started. */
    Counters counters;

  private:
    std::string name_;
    BusKey key_;
};

} // namespace smbusd
