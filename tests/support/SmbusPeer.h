#pragma once

#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include <smbus.pb.h>

#include "tests/support/SocketPeer.h"

namespace support {

/** A reply with one entry for each of @p data. */
Smbus::TransactionResponse reply( const std::vector<std::string> &data );

/**
 * A request in words, for comparisons:
 *
 *     type 1 length 2 address 02000050:00000010 pci 00000000 master 1 pec 0 data 3412
 *
 * with the address's high word first, the data in hexadecimal, and "data -" where there is none.
 */
std::string inWords( const Smbus::Request &request );
/** inWords of every request of a transaction. */
std::vector<std::string> inWords( const Smbus::TransactionRequest &transaction );

/**
 * An SMBus service that keeps every transaction and answers as the test says. Where the test says
 * nothing, reads bring as many zero bytes as they ask for, and block reads an empty block.
 *
 * "PL_SMBUS_SOCKET" leads to it from its construction on.
 */
class SmbusPeer {
  public:
    SmbusPeer();

    /** The next transaction gets @p reply, after those already given. */
    void answer( const Smbus::TransactionResponse &reply );
    /** The transaction after those already given gets no reply: the connection ends. */
    void hangUp();
    /** The transactions so far, forgotten by the asking. */
    std::vector<Smbus::TransactionRequest> takeTransactions();
    /** inWords of the only transaction since the last look. */
    std::vector<std::string> takeOnlyTransaction();

  private:
    struct Answer {
        bool hangUp;
        Smbus::TransactionResponse reply;
    };

    void serve( SocketPeer::Connection &connection );

    std::mutex mutex_; // of what follows
    std::deque<Answer> answers_;
    std::vector<Smbus::TransactionRequest> transactions_;
    SocketPeer peer_; // last: its threads use all else
};

} // namespace support
