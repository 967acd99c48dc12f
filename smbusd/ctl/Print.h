#pragma once

#include <string>

#include <rapidjson/document.h>

namespace smbusd {

// The control tool's answers as text for people. Each takes the answer of its command.
std::string printList( const rapidjson::Value &answer );
std::string printRegisters( const rapidjson::Value &answer );
std::string printInputs( const rapidjson::Value &answer );
std::string printFaults( const rapidjson::Value &answer );
/** @param name  only that bus or chip; empty: everything */
std::string printCounters( const rapidjson::Value &answer, const std::string &name );
std::string printEvent( const rapidjson::Value &event );

} // namespace smbusd
