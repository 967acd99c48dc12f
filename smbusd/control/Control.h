#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "smbusd/base/JsonView.h"
#include "smbusd/board/Board.h"
#include "smbusd/service/Dispatcher.h"

namespace smbusd {

/** A control request's answer: one line of JSON, without its end. */
struct ControlAnswer {
    std::string line;
    bool follows = false;      ///< from now on the connection gets the traffic
    std::string followedBus{}; ///< only of this bus; empty: of all
};

/**
 * The control tool's requests, each one JSON object on a line with a "command" and what the
 * command needs. Works on the board behind its buses' back. The answer has "ok": true and what was
 * asked for, or "ok": false and an "error".
 */
class Control {
  public:
    /** @param clients  asked for the number of connected clients */
    Control( Board &board, const Dispatcher &dispatcher, std::function<size_t()> clients )
        : board_( board ), dispatcher_( dispatcher ), clients_( std::move( clients ) ) {}

    ControlAnswer answer( std::string_view line );

    Board &board() { return board_; }
    const Dispatcher &dispatcher() const { return dispatcher_; }
    size_t clients() const { return clients_(); }

  private:
    Board &board_;
    const Dispatcher &dispatcher_;
    std::function<size_t()> clients_;
};

} // namespace smbusd
