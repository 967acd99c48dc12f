/**
 * @file
 * A board folder written by a test.
 */
#pragma once

#include <string>

#include "common/TemporaryFolder.h"
#include "orvan/board/Board.h"

namespace test {

/** Loads a board from texts; messages come without the folder's path. */
class BoardFiles {
  public:
    /** What loading says. The board is kept in board(). */
    std::string load( const std::string &topology, const std::string &peripherals ) {
        folder_.write( "topology.json", topology );
        folder_.write( "peripherals.json", peripherals );
        board_ = orvan::Board();
        orvan::Problems problems;
        orvan::loadBoard( folder_.path(), board_, problems );
        std::string text = problems.text();
        const std::string prefix = folder_.path() + "/";
        for ( std::size_t at; ( at = text.find( prefix ) ) != std::string::npos; ) {
            text.erase( at, prefix.size() );
        }
        return text;
    }
    const orvan::Board &board() const { return board_; }
    const common::TemporaryFolder &folder() const { return folder_; }

  private:
    common::TemporaryFolder folder_;
    orvan::Board board_;
};

} // namespace test
