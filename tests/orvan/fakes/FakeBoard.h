/**
 * @file
 * A board on the fake library, for tests of what the host does with it.
 */
#pragma once

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "orvan/commands/Command.h"
#include "orvan/host/Session.h"
#include "tests/orvan/fakes/FakeLibrary.h"

namespace test {

/** What a command said and how it ended. */
struct Outcome {
    orvan::ExitCode code;
    std::string output;
    std::string errors;
};

/** A board whose peripherals are put together by hand, brought up on the fake library. */
class FakeBoard {
  public:
    FakeBoard() : library_( ORVAN_LIB_DIR "/orvan_fake_library.so" ), host_( clock_ ) {
        board_.topologyFile.text = "[]";
        state() = FakeState(); // the library stays loaded from one test to the next
    }

    orvan::PeripheralDescription &add( const std::string &kind, const std::string &name,
                                       const std::string &device = "{}" ) {
        orvan::PeripheralDescription description;
        description.kind = kind;
        description.name = name;
        description.device = device;
        description.driver = "Dummy";
        description.place = "bus 0, 0x20";
        board_.peripherals.push_back( description );
        return board_.peripherals.back();
    }

    FakeState &state() { return *library_.function<FakeState *()>( "fake_state" )(); }
    orvan::HostServices &host() { return host_; }

    /** Made when first asked for: by then all peripherals must have been added. */
    orvan::Session &session() {
        if ( !session_ ) {
            session_ = std::make_unique<orvan::Session>( board_, library_, host_, "/s" );
        }
        return *session_;
    }

    /** Runs lines as `orvan shell` does. */
    Outcome shell( const std::string &lines, bool keepGoing = false ) {
        std::istringstream in( lines );
        std::ostringstream out;
        std::ostringstream error;
        CLI::App app;
        const std::unique_ptr<orvan::Command> command = orvan::shellCommand();
        command->define( app );
        std::vector<std::string> words{ "shell" };
        if ( keepGoing ) {
            words.insert( words.begin(), "--keep-going" ); // CLI11 takes words in reverse
        }
        app.parse( words );
        const orvan::ExitCode code = command->run( session(), { in, out, error } );
        return { code, out.str(), error.str() };
    }

    /** Runs one command. */
    Outcome run( const std::string &line ) {
        Outcome outcome = shell( line );
        const std::string trailer = "stopped at: " + line + "\n";
        if ( outcome.errors.ends_with( trailer ) ) {
            outcome.errors.erase( outcome.errors.size() - trailer.size() );
        }
        return outcome;
    }

  private:
    orvan::SkippingClock clock_;
    orvan::Library library_;
    orvan::HostServices host_;
    orvan::Board board_;
    std::unique_ptr<orvan::Session> session_;
};

} // namespace test
