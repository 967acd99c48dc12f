/**
 * @file
 * Reading the field data (FDL) of a slot back with the template that it was filled from.
 */
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace orvan {

/**
 * What @p text has where @p format has placeholders: names in braces, such as {modelName}. All else
 * in the two must agree. A placeholder takes as little as it can; one that stands several times must
 * have the same value each time. Nothing when the text cannot have come from the template.
 */
std::optional<std::map<std::string, std::string>> fieldData( std::string_view text,
                                                             std::string_view format );

} // namespace orvan
