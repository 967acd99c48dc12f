/**
 * @file
 * Structure checks of a board's files against JSON schemas (draft 4).
 */
#pragma once

#include <memory>
#include <string>

#include "orvan/json/JsonFile.h"

namespace orvan {

/**
 * A schema with its definitions. Messages take the wording of what was expected from the
 * "description" of the schema node that a value fails, so every node carries one.
 */
class Schema {
  public:
    /** Parses @p text; a mistake in it is a mistake in this program and throws std::logic_error. */
    explicit Schema( const char *text );
    ~Schema();
    Schema( const Schema & ) = delete;
    Schema &operator=( const Schema & ) = delete;

    /**
     * Checks @p value, at @p pointer of @p file, against the definition @p definition of the schema.
     * Throws std::logic_error when the schema has no such definition.
     * @return false: the first deviation was added to @p problems
     */
    bool check( const std::string &definition, const JsonFile &file, const rapidjson::Value &value,
                const std::string &pointer, Problems &problems );

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

/** The schema of topology.json, with a definition "description" for device descriptions. */
Schema &topologySchema();
/** The schema of peripherals.json. */
Schema &peripheralsSchema();

} // namespace orvan
