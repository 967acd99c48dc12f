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
 * Initialises kinds and adds peripherals when they are first wanted, so that a command touches only
 * the hardware it names.
 */
class Session {
  public:
    /** All three must outlive the session. @p socket is the service's path, for messages. */
    Session( const Board &board, const Library &library, HostServices &host, std::string socket );

    const Board &board() const { return board_; }
    HostServices &host() { return host_; }

    /**
     * The peripheral @p name, added. Throws BadInput for a name that the board does not have and
     * Failure, with what the library said, when it cannot be added.
     */
    Peripheral &use( const std::string &name );
    /** The same, but one that cannot be added comes back with Peripheral::failure set. */
    Peripheral &tryUse( const std::string &name );
    /** Those named, or all for an empty list, as tryUse() gives them. */
    std::vector<Peripheral *> tryUseAll( const std::vector<std::string> &names );
    /** The board's one peripheral of @p kind. Throws BadInput when there is none. */
    Peripheral &onlyOne( const Kind &kind );

    /** Lets devices that the library polls be polled for the first time: at most one period. */
    void settle();

    /** Reads one reading; what the library throws goes into the value. */
    Value read( const Reading &reading, Readout &readout );
    /** Runs @p call into the library. Throws Failure, naming it, for an exception that leaves it. */
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
