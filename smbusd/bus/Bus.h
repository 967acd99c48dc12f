#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>

#include "smbusd/bus/Counters.h"
#include "smbusd/bus/Operation.h"
#include "smbusd/bus/Result.h"

namespace smbusd {

struct Transaction;

/** A bus that transactions can be carried out on, whatever is behind it. */
class Bus {
  public:
    using Completion = std::function<void( Result )>;

    Bus( std::string name, BusKey key ) : name_( std::move( name ) ), key_( key ) {}
    virtual ~Bus() = default;
    Bus( const Bus & ) = delete;
    Bus &operator=( const Bus & ) = delete;

    const std::string &name() const { return name_; }
    const BusKey &key() const { return key_; }
    /** What the bus is, for whoever lists it: "virtual", or the adapter's device file. */
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

    /** A transaction begins, or an operation is attempted again; both only count. */
    virtual void transactionStarted() { counters.transactions++; }
    virtual void retried( const Operation & ) { counters.retries++; }

    Counters counters;
    /** Transactions that hold the bus (the first) or wait for it. Kept by the Dispatcher. */
    std::deque<std::shared_ptr<Transaction>> queue;

  private:
    std::string name_;
    BusKey key_;
};

} // namespace smbusd
