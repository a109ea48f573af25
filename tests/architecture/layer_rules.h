#pragma once

#include <string>
#include <vector>

#include "source_tree.h"

namespace architecture {

/// Everything in which the files break the rules of the architecture, one "FILE:LINE: WHAT" each, in order of
/// the files:
///
/// - a module of lib/ includes only itself and modules on lower layers, an app only itself and lib/;
/// - the module render includes only itself and core;
/// - every include is written <module/file.h> and names a file that exists;
/// - a third-party library is known to one module's .cpp files only, Qt to no module;
/// - no file includes itself through others;
/// - a header includes none from a folder of its module, unless it is in that folder itself;
/// - lib/ calls the operating system about files in one file alone;
/// - the headers in some folders of a module are private: only its own files and tests include them;
/// - every header has "#pragma once", every file is a .h or .cpp of at most 600 lines.
///
/// Includes are looked at in lib/ and apps/; elsewhere only the last two rules hold.
std::vector<std::string> breaches(const std::vector<SourceFile>& files);

}  // namespace architecture
