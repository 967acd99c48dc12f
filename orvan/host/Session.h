/**
 * @file
 * A board brought up: its library, and the peripherals added so far.
 */
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "orvan/board/Board.h"
#include "orvan/host/HostServices.h"
#include "orvan/host/Library.h"
#include "orvan/kinds/Kind.h"

namespace orvan {

/**
 * Initialises kinds and adds peripherals when they are first used, so that a command touches only the
 * hardware it names. A peripheral is added once; what became of that stays. References to peripherals
 * hold as long as the session.
 */
class Session {
  public:
    /**
     * @p board, @p library and @p host must outlive the session. @p socket is the path of the service's
     * socket, used in messages only. Nothing is initialised yet.
     */
    Session( const Board &board, const Library &library, HostServices &host, std::string socket );

    /** The board that is brought up. */
    const Board &board() const { return board_; }
    /** The event loop on which the library's timers run. */
    HostServices &host() { return host_; }

    /**
     * The peripheral @p name, added. Throws BadInput for a name that the board does not have and
     * Failure, with what the library said, when it cannot be added.
     */
    Peripheral &use( const std::string &name );
    /**
     * The same, but one that its add function refuses comes back without a record and with
     * Peripheral::failure set. Throws Failure only when its kind cannot be initialised.
     */
    Peripheral &tryUse( const std::string &name );
    /**
     * Those named, in that order, or all for an empty list, in the board's order, as tryUse() gives them.
     * All names are checked before the first peripheral is added.
     */
    std::vector<Peripheral *> tryUseAll( const std::vector<std::string> &names );
    /** The board's first peripheral of @p kind, as use() gives it. Throws BadInput when there is none. */
    Peripheral &onlyOne( const Kind &kind );

    /**
     * Serves the library's timers until each device that it polls has been polled once, at most for one
     * polling period: until then such a device's readings are those of an empty cache.
     */
    void settle();

    /** Reads @p reading; what the library throws goes into the value, with PL_STATUS_FAILED. */
    Value read( const Reading &reading, Readout &readout );
    /**
     * Runs @p call, which calls the library, and returns its status. Throws Failure, which names it, for
     * an exception of the library; a BadInput passes.
     */
    pl_status guarded( const std::function<pl_status()> &call );

  private:
    void initialise( const Kind &kind );
    void add( Peripheral &peripheral );
    std::string said();

    const Board &board_;
    const Library &library_;
    HostServices &host_;
    std::string socket_;
    std::set<const Kind *> initialised_;
    std::map<std::string, Peripheral> peripherals_;
};

} // namespace orvan
