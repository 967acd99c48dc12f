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
    /** Most connections at once. */
    static constexpr size_t maxSessions = 32;

    ControlService( asio::io_context &loop, ListenSocket &socket, Control &control,
                    Dispatcher &dispatcher );
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
