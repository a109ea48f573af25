#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace architecture {

/// One include directive.
struct Include {
  std::string target;     ///< what stands between the brackets; the whole rest of the line if there are none
  bool isAngled = false;  ///< <target>, as opposed to "target" or a macro
  int line = 0;
};

/// A call of a function that stands in no namespace: ::open(...).
struct GlobalCall {
  std::string function;
  int line = 0;
};

/// What the rules look at in one file.
struct SourceFile {
  std::string path;  ///< below the tree's root, with forward slashes: "lib/core/format.h"
  std::vector<Include> includes;
  std::vector<GlobalCall> globalCalls;
  bool hasPragmaOnce = false;
  int lineCount = 0;
};

/// `text` with comments and the content of raw strings taken out; the lines keep their numbers.
std::string withoutComments(std::string_view text);

/// What a file of the given path and content holds.
SourceFile readSource(std::string path, std::string_view content);

/// Every C++ file in the named folders of the tree, whatever its ending, in order of their paths.
std::vector<SourceFile> readSources(const std::filesystem::path& root,
                                    const std::vector<std::string>& folders);

/// Whether the name ends in one of `endings`.
bool hasEnding(std::string_view name, const std::vector<std::string_view>& endings);

}  // namespace architecture
