#pragma once

#include <functional>
#include <memory>
#include <string>

#include <asio/local/stream_protocol.hpp>

#include "common/Frame.h"
#include "smbusd/service/Dispatcher.h"

namespace smbusd {

/**
 * One client's connection. Takes a request, has it carried out, sends the reply, and only then
 * looks for the next one; so what a client can make the service hold is one request and one reply,
 * and its replies come in order. Any bytes that are not a request end the connection.
 */
class ClientSession : public std::enable_shared_from_this<ClientSession> {
  public:
    /** A connection that was accepted. */
    using Socket = asio::local::stream_protocol::socket;
    /** Told once that the connection is over, whoever ended it but close(). */
    using Ended = std::function<void( ClientSession & )>;

    /** @param number  of the connection, for the log. The dispatcher and the log outlive it. */
    ClientSession( Socket socket, unsigned number, Dispatcher &dispatcher, Log &log, Ended ended );

    /** Begins with the first request. The session keeps itself alive while it waits. */
    void start() { readFrame(); }
    /** Closes the connection; a transaction under way is carried out to its end all the same. */
    void close();
    /** The connection's number. */
    unsigned number() const { return number_; }

  private:
    void readFrame();
    void readOn();
    void handleFrame();
    void answer( Transaction &transaction );
    void discardEverything();
    void end( std::string_view why );

    Socket socket_;
    unsigned number_;
    Dispatcher &dispatcher_;
    Log &log_;
    Ended ended_;
    bool open_ = true;
    common::FrameDecoder frame_;
    std::string buffer_; // the reply; or what comes and is not looked at
};

} // namespace smbusd
