/**
 * @file
 * Folders that a run keeps its own things in.
 */
#pragma once

#include <string>

namespace orvan {

/** Makes an empty folder that only this user can enter, in $TMPDIR or /tmp. Throws BadInput. */
std::string makePrivateFolder();

} // namespace orvan
