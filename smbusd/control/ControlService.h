#pragma once

#include <memory>
#include <set>

#include "smbusd/control/Control.h"
#include "smbusd/control/ControlTraffic.h"
#include "smbusd/service/Service.h"

namespace smbusd {

class ControlSession;

/** The control socket: its connections, and the traffic for those that follow it. */
class ControlService {
  public:
    /** Most connections at a time. */
    static constexpr size_t maxSessions = 32;

    /** Serves control connections from now on. All but the socket's descriptor outlive it. */
    ControlService( asio::io_context &loop, ListenSocket &socket, Control &control,
                    Dispatcher &dispatcher );
    /** Closes every connection, and follows the traffic no more. */
    ~ControlService();

  private:
    friend class ControlSession;

    void accepted( Acceptor::Socket socket );
    void traffic( const TrafficEvent &event );
    void listen();

    Control &control_;
    Dispatcher &dispatcher_;
    Duration start_;
    std::set<std::shared_ptr<ControlSession>> sessions_;
    size_t followers_ = 0;
    Acceptor acceptor_;
};

} // namespace smbusd
