#pragma once

#include <functional>
#include <memory>
#include <vector>

#include <smbus.pb.h>

#include "smbusd/board/Board.h"

namespace smbusd {

/** What a client asked for, on its way through the service. */
struct Transaction {
    /** What is to become of the client's connection. */
    enum class End { Reply, Drop, Mute };

    uint64_t id = 0;     ///< given by the dispatcher, counting up
    unsigned client = 0; ///< the connection's number, for whoever follows the traffic
    Smbus::TransactionRequest request;
    Smbus::TransactionResponse response;
    End end = End::Reply;
    std::function<void( Transaction & )> done; ///< called once, when the response is whole

    // The dispatcher's own.
    std::vector<Bus *> buses; ///< all that the requests name, held from the first to the last
    std::vector<Bus *> touched;
    int next = 0;
    uint32_t attempts = 0;
    size_t replyBytes = 0;
    Operation operation;
    bool started = false;
    bool executing = false;
    bool suspended = false;
};

/** One attempt of an operation, as seen by whoever follows the traffic. */
struct TrafficEvent {
    const Transaction &transaction;
    const Bus &bus;
    const Operation &operation;
    const Result &result;
    uint32_t attempt; ///< from 1
};

/**
 * Carries transactions out. Each holds its buses from its first request to its last, so that
 * nothing of another transaction comes between; those that need a bus in use wait for it in the
 * order of their coming, while other buses go on.
 */
class Dispatcher {
  public:
    /** Repeats of an operation without effect, for a request that asks for no number. */
    static constexpr uint32_t defaultRetries = 3;
    /** Most repeats, whatever is asked for: a client must not hold a bus for ever. */
    static constexpr uint32_t maxRetries = 1000;
    /** Most bytes of read data in one reply, so that the message stays within the frame's limit. */
    static constexpr size_t maxReplyData = 512 * 1024;

    explicit Dispatcher( Board &board ) : board_( board ) {}

    void submit( std::shared_ptr<Transaction> transaction );

    using TrafficListener = std::function<void( const TrafficEvent & )>;
    void setTrafficListener( TrafficListener listener ) { listener_ = std::move( listener ); }

    /** Transactions accepted so far. */
    uint64_t transactions() const { return lastId_; }

  private:
    using Pointer = std::shared_ptr<Transaction>;

    void startIfFirst( const Pointer &transaction );
    void run( const Pointer &transaction );
    Bus *prepare( Transaction &transaction );
    void completed( const Pointer &transaction, Bus &bus, Result result );
    void fail( Transaction &transaction, std::string_view where, std::string_view why );
    void finish( const Pointer &transaction );

    Board &board_;
    TrafficListener listener_;
    uint64_t lastId_ = 0;
};

} // namespace smbusd
