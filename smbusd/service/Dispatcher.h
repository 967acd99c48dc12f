#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <unordered_map>

#include <smbus.pb.h>

#include "smbusd/board/Hardware.h"

namespace smbusd {

/** What a client asked for, and what it is to be told. */
struct Transaction {
    /** What is to become of the client's connection. */
    enum class End {
        Reply, ///< it gets the response
        Drop,  ///< it is closed, by an injected fault
        Mute,  ///< it gets no answer, now or later, by an injected fault
    };

    uint64_t id = 0;                           ///< given by the dispatcher, counting up from 1
    unsigned client = 0;                       ///< the connection's number, as followers see it
    Smbus::TransactionRequest request;         ///< stays as it is until the end
    Smbus::TransactionResponse response;       ///< grows with each request that is done
    End end = End::Reply;                      ///< meant once done was called
    std::function<void( Transaction & )> done; ///< called once, when the response is whole
};

/** One attempt of an operation, as seen by those who follow the traffic. */
struct TrafficEvent {
    const Transaction &transaction; ///< that the operation belongs to
    int request;                    ///< which one of the transaction's, from 1
    const Bus &bus;                 ///< its trace() shows the attempt
    const Operation &operation;     ///< that was attempted
    const Result &result;           ///< what came of it
    uint32_t attempt;               ///< from 1
};

/**
 * Carries transactions out. Each holds its buses from its first request to its last, so that
 * nothing of another transaction comes between; those that need a bus in use wait for it in the
 * order of their coming, while other buses go on.
 */
class Dispatcher {
  public:
    /** Takes what follows the traffic; called after every attempt. */
    using TrafficListener = std::function<void( const TrafficEvent & )>;

    /** Repeats of an operation without effect, for a request that asks for no number. */
    static constexpr uint32_t defaultRetries = 3;
    /** Most repeats, whatever is asked for: a client must not hold a bus without end. */
    static constexpr uint32_t maxRetries = 1000;
    /** Most bytes of read data in one reply, so that the message stays within the frame's limit. */
    static constexpr size_t maxReplyData = 512 * 1024;

    /** @param hardware  where the buses are; outlives the dispatcher */
    explicit Dispatcher( Hardware &hardware ) : hardware_( hardware ) {}

    /**
     * Carries a transaction out, now or as soon as its buses are free. Its end is told through
     * Transaction::done, possibly before this returns.
     */
    void submit( std::shared_ptr<Transaction> transaction );

    /** From now on tells of every attempt; an empty listener ends that. */
    void setTrafficListener( TrafficListener listener ) { listener_ = std::move( listener ); }

    /** Transactions accepted so far. */
    uint64_t transactions() const { return lastId_; }

  private:
    struct Job;
    using Pointer = std::shared_ptr<Job>;

    void startIfFirst( const Pointer &job );
    void run( const Pointer &job );
    Bus *prepare( Job &job );
    void completed( const Pointer &pointer, Bus &bus, Result result );
    void succeeded( Job &job, const Bus &bus, Result result );
    void failed( Job &job, Bus &bus, const Result &result );
    void refuse( Job &job, std::string_view where, std::string_view why );
    void finish( const Pointer &job );

    Hardware &hardware_;
    /** By bus: the job that holds it (the first), and those that wait for it. */
    std::unordered_map<const Bus *, std::deque<Pointer>> queues_;
    TrafficListener listener_;
    uint64_t lastId_ = 0;
};

} // namespace smbusd
