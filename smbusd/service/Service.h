#pragma once

#include <functional>
#include <memory>
#include <set>

#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>
#include <asio/steady_timer.hpp>

#include "smbusd/service/ClientSession.h"
#include "smbusd/service/Dispatcher.h"
#include "smbusd/service/ListenSocket.h"

namespace smbusd {

/** Accepts connections on one listening socket, for as long as it lives. */
class Acceptor {
  public:
    /** A connection that was accepted. */
    using Socket = asio::local::stream_protocol::socket;

    /**
     * Accepts from now on.
     * @param socket    gives its descriptor up
     * @param accepted  gets each connection
     */
    Acceptor( asio::io_context &loop, ListenSocket &socket, Log &log,
              std::function<void( Socket )> accepted );

  private:
    void accept();

    asio::local::stream_protocol::acceptor acceptor_;
    asio::steady_timer pause_;
    Log &log_;
    std::function<void( Socket )> accepted_;
};

/** The clients of the SMBus service and the board they work on. */
class Service {
  public:
    /**
     * Serves clients from now on. All but the socket's descriptor outlive the service.
     * @param maxClients  most at a time; who comes then is sent away
     */
    Service( asio::io_context &loop, ListenSocket &socket, Hardware &hardware,
             Dispatcher &dispatcher, size_t maxClients );
    /** Closes every connection. */
    ~Service();

    /** Clients connected now. */
    size_t clients() const { return sessions_.size(); }

  private:
    void accepted( Acceptor::Socket socket );

    Log &log_;
    Dispatcher &dispatcher_;
    size_t maxClients_;
    unsigned lastNumber_ = 0;
    std::set<std::shared_ptr<ClientSession>> sessions_;
    Acceptor acceptor_;
};

} // namespace smbusd
