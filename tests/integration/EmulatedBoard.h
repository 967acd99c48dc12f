#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <pl/pl.h>
#include <rapidjson/document.h>

#include "tests/integration/LoadedLibrary.h"
#include "tests/support/FakeHost.h"
#include "tests/support/SmbusdProcess.h"

/**
 * A board of boards/ as its host meets it: the built library, its real client and a real smbusd on
 * the board's emulated hardware. The host's timers are FakeHost's and fire when the test says so.
 * One for a process, as the library has only one topology and one socket.
 */
class EmulatedBoard {
  public:
    /**
     * @param name  folder in boards/
     * @param edit  changes the text of the board's hardware.json, so that the test does not depend
     *              on what takes time there
     */
    explicit EmulatedBoard(
        const std::string &name,
        const std::function<void( std::string & )> &edit = []( auto & ) {} );

    /** Adds the peripheral of that name as peripherals.json describes it; null on failure. */
    template <class Record>
    Record *add( const std::string &name ) {
        return static_cast<Record *>( addRecord( name ) );
    }

    /** Adds a slot that peripherals.json does not have; null on failure. */
    pl_slot *addSlot( const std::string &description );

    /** Runs smbusctl with these words; it must succeed. @return what it printed */
    std::string ctl( const std::vector<std::string> &words ) const;
    /** A register of an emulated chip, read directly, not through the bus. */
    unsigned peek( const std::string &chip, unsigned reg ) const;

    /** The library's monotonic clock stands still but for this. */
    static void passTime( unsigned seconds );

    FakeHost &host = FakeHost::instance();
    LoadedLibrary library;
    test::SmbusdProcess service;

  private:
    void *addRecord( const std::string &name );
    void initialise( const std::string &kind );
    static const char *kept( const std::string &description );

    std::string topology_;
    rapidjson::Document peripherals_;
    std::set<std::string> initialised_;
};

/** hardware.json of a board of boards/, for a service elsewhere: images by their whole paths. */
std::string hardwareText( const std::string &name );

/** Replaces the one place where @p text has @p from; throws when there is none. */
void replaceIn( std::string &text, const std::string &from, const std::string &to );

/** The whole of a file; throws when it cannot be read. */
std::string fileText( const std::string &path );
