/**
 * @file
 * A JSON file of a board: its text, and the document in it.
 */
#pragma once

#include <filesystem>
#include <string>

#include <rapidjson/document.h>

#include "orvan/json/Problems.h"

namespace orvan {

/** A parsed file. */
struct JsonFile {
    std::string name;             ///< as shown in messages
    std::string text;             ///< exactly as read
    rapidjson::Document document; ///< what the text says
};

/**
 * Reads and parses @p path. False: it cannot be read, is not JSON, or gives a key twice in one
 * object; @p problems then says where (line and column for bad syntax).
 */
bool readJsonFile( const std::filesystem::path &path, JsonFile &file, Problems &problems );

/** The same for a text that is already there. */
bool parseJsonText( const std::string &name, std::string text, JsonFile &file, Problems &problems );

} // namespace orvan
