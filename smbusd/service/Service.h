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
    using Socket = asio::local::stream_protocol::socket;

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
    Service( asio::io_context &loop, ListenSocket &socket, Board &board, Dispatcher &dispatcher,
             size_t maxClients );
    ~Service();

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
