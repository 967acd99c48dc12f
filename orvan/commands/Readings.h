/**
 * @file
 * Readings as JSON, shared by the commands that print them.
 */
#pragma once

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "orvan/kinds/Kind.h"

namespace orvan {

/** Writes compact JSON into a string buffer. */
using JsonWriter = rapidjson::Writer<rapidjson::StringBuffer>;

/** Writes `{"status":"ok","value":…,"unit":"rpm"}`; a failed one has "status" and perhaps "error" only. */
void writeJson( JsonWriter &writer, const Reading &reading, const Value &value );
/** Writes a member of the object that @p writer has open: @p key with the string @p text (UTF-8). */
void writeKey( JsonWriter &writer, const char *key, const std::string &text );

} // namespace orvan
