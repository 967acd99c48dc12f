#pragma once

#include <string>
#include <string_view>

#include "smbusd/board/Hardware.h"
#include "smbusd/bus/AdapterBusFactory.h"

namespace smbusd {

/**
 * Fills a board from a hardware.json file. Every chip has its reset values, and the board has been
 * running for long: what takes its time after power-on is over.
 *
 * Throws ConfigError for whatever is wrong with it, naming the file, the place as a JSON pointer,
 * the value and what was expected.
 *
 * @param hardware    empty
 * @param adapterBus  makes the buses that are kernel adapters
 */
void loadHardware( const std::string &file, Hardware &hardware,
                   const AdapterBusFactory &adapterBus );

/**
 * The same from a text.
 * @param document  what to call the text in messages
 * @param folder    that the file names in it are relative to
 */
void loadHardwareText( std::string_view text, const std::string &document,
                       const std::string &folder, Hardware &hardware,
                       const AdapterBusFactory &adapterBus );

} // namespace smbusd
