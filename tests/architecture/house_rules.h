#pragma once

#include <string>
#include <vector>

#include "source_tree.h"

namespace architecture {

/// Everything in which the files break the house's rules, one "FILE:LINE: WHAT" each, in order of the files:
///
/// - a room of lib/ includes only itself and rooms on lower floors, an app only itself and lib/;
/// - the room render includes only itself and core;
/// - every include is written <room/file.h> and names a file that exists;
/// - a third-party library is known to one room's .cpp files only, Qt to no room;
/// - no file includes itself through others;
/// - the headers in some folders of a room are private: only its own files and tests include them;
/// - every header has "#pragma once", every file is a .h or .cpp of at most 600 lines.
///
/// Includes are looked at in lib/ and apps/; elsewhere only the last two rules hold.
std::vector<std::string> breaches(const std::vector<SourceFile>& files);

}  // namespace architecture
