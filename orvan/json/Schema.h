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
     * Checks @p value against the definition @p definition of the schema.
     * @param pointer  where @p value is in @p file
     * @return false: the first deviation was added to @p problems
     */
    bool check( const std::string &definition, const JsonFile &file, const rapidjson::Value &value,
                const std::string &pointer, Problems &problems );

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

/** The schemas of the board's files. */
Schema &topologySchema();
Schema &peripheralsSchema();

} // namespace orvan
