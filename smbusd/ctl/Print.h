#pragma once

#include <string>

#include <rapidjson/document.h>

namespace smbusd {

/** The answer of "list" as text for people: a line for each bus, chip and unit. */
std::string printList( const rapidjson::Value &answer );
/** The answer of "read": a line for each register, or rows of 16 bytes for a memory. */
std::string printRegisters( const rapidjson::Value &answer );
/** The answer of "inputs": a line for each. */
std::string printInputs( const rapidjson::Value &answer );
/** The answer of "faults": a line for each. */
std::string printFaults( const rapidjson::Value &answer );
/** The answer of "counters" as a table. @param name  only that bus or chip; empty: everything */
std::string printCounters( const rapidjson::Value &answer, const std::string &name );
/** An event of the followed traffic, as one line. */
std::string printEvent( const rapidjson::Value &event );

} // namespace smbusd
