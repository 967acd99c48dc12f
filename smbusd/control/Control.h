#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "smbusd/base/JsonView.h"
#include "smbusd/board/Hardware.h"
#include "smbusd/service/Dispatcher.h"

namespace smbusd {

/** A control request's answer: one line of JSON, without its end. */
struct ControlAnswer {
    std::string line;          ///< what is sent
    bool follows = false;      ///< from now on the connection gets the traffic
    std::string followedBus{}; ///< only of this bus; empty: of all
};

/**
 * The control tool's requests, each one JSON object on a line with a "command" and what the
 * command needs. Works on the board without bus traffic. The answer has "ok": true and what was
 * asked for, or "ok": false and an "error".
 */
class Control {
  public:
    /** @param clients  asked for the number of connected clients. Both others outlive this. */
    Control( Hardware &hardware, const Dispatcher &dispatcher, std::function<size_t()> clients )
        : hardware_( hardware ), dispatcher_( dispatcher ), clients_( std::move( clients ) ) {}

    /** Carries one request out. Never throws for a request that is wrong: the answer says why. */
    ControlAnswer answer( std::string_view line );

    /** The board that requests are about. */
    Hardware &hardware() { return hardware_; }
    /** What carries transactions out, for its counts. */
    const Dispatcher &dispatcher() const { return dispatcher_; }
    /** Clients of the service connected now. */
    size_t clients() const { return clients_(); }

  private:
    Hardware &hardware_;
    const Dispatcher &dispatcher_;
    std::function<size_t()> clients_;
};

} // namespace smbusd
