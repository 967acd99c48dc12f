#pragma once

#include <string>

#include "smbusd/base/JsonView.h"
#include "smbusd/board/Board.h"

namespace smbusd {

/** Makes the bus of a kernel adapter; given from outside, since it needs threads and devices. */
using LinuxBusFactory =
    std::function<std::unique_ptr<Bus>( std::string name, const BusKey &key, std::string device )>;

/**
 * Fills a board from a hardware.json file.
 *
 * Throws ConfigError for whatever is wrong with it, naming the file, the place as a JSON pointer,
 * the value and what was expected.
 */
void loadHardware( const std::string &file, Board &board, const LinuxBusFactory &linuxBus );

/**
 * The same from a text.
 * @param document  what to call the text in messages
 * @param folder    that the file names in it are relative to
 */
void loadHardwareText( std::string_view text, const std::string &document,
                       const std::string &folder, Board &board, const LinuxBusFactory &linuxBus );

/** Reads a fault's description; its target must be a chip or a bus of the board. */
Fault readFault( const JsonView &json, const Board &board );

} // namespace smbusd
