#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/integration/EmulatedBoard.h"
#include "tests/support/Process.h"
#include "tests/support/SmbusdProcess.h"

/**
 * A board of boards/ as a person at the host program meets it. Each command is a run of its own;
 * what it changes is kept by the emulated chips.
 */
class BoardProgram {
  public:
    /** @param name  folder in boards/ */
    explicit BoardProgram( const std::string &name )
        : board_( ORVAN_SOURCE_DIR "/boards/" + name ), service_( hardwareText( name ) ) {}

    test::Finished orvan( const std::vector<std::string> &words ) const {
        std::vector<std::string> command = {
            ORVAN_BIN_DIR "/orvan", "--board",     board_, "--socket",
            service_.socket(),      "--skip-waits" };
        command.insert( command.end(), words.begin(), words.end() );
        return test::runProgram( command );
    }
    /** What a command prints that must succeed. */
    std::string printed( const std::vector<std::string> &words ) const {
        const test::Finished finished = orvan( words );
        EXPECT_EQ( finished.exitCode, 0 ) << finished.errors;
        return finished.output;
    }
    /** Runs smbusctl; it must succeed. @return what it printed */
    std::string ctl( const std::vector<std::string> &words ) const {
        std::vector<std::string> command = { ORVAN_BIN_DIR "/smbusctl", "--control",
                                             service_.control() };
        command.insert( command.end(), words.begin(), words.end() );
        const test::Finished finished = test::runProgram( command );
        EXPECT_EQ( finished.exitCode, 0 ) << finished.errors;
        return finished.output;
    }

  private:
    std::string board_;
    test::SmbusdProcess service_;
};
