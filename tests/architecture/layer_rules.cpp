#include "layer_rules.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

#include "include_cycles.h"

namespace architecture {
namespace {

constexpr int kMaximumLines = 600;

/// A folder of headers that are private to their module.
struct PrivateFolder {
  std::string_view headers;
  std::array<std::string_view, 3> users;  ///< the folders of the files that may include them; some empty
};

constexpr std::array<PrivateFolder, 3> kPrivateFolders = {
    {{"destructibles/ks_destructibles_helper/", {"lib/destructibles/", "tests/destructibles/", {}}},
     {"resources/documents/", {"lib/resources/", "tests/resources/", {}}},
     {"resources/monitoring/", {"lib/resources/", "tests/resources/", {}}}}};

/// The modules of lib/, lowest layer first.
constexpr std::array<std::string_view, 13> kLayers = {
    "core",      "ks",    "tyk",    "mio",   "files",         "xml",      "watch",
    "resources", "model", "render", "scene", "destructibles", "authoring"};

/// The headers of a library, by the beginning of their names, and the folders whose .cpp files may include
/// them.
struct Library {
  std::string_view headers;
  std::string_view name;
  std::array<std::string_view, 3> folders;
};

constexpr std::array<Library, 24> kLibraries = {{
    {"spdlog/", "spdlog", {"lib/core/"}},
    {"fmt/", "fmt", {"lib/core/", "apps/"}},
    {"expat", "expat", {"lib/xml/"}},
    {"xxhash", "xxHash", {"lib/files/"}},
    {"iconv.h", "iconv", {"lib/xml/"}},
    {"draco/", "Draco", {"lib/model/"}},
    {"meshoptimizer.h", "meshoptimizer", {"lib/model/"}},
    {"nlohmann/", "nlohmann-json", {"lib/model/", "apps/"}},
    {"CLI/", "CLI11", {"apps/"}},
    {"Qt", "Qt", {"apps/editor/"}},
    {"pthread.h", "the operating system", {"lib/core/"}},
    {"sys/mman.h", "the operating system", {"lib/core/"}},
    {"sys/", "the operating system", {"lib/files/", "lib/watch/", "apps/"}},
    {"dirent.h", "the operating system", {"lib/files/", "lib/watch/", "apps/"}},
    {"fcntl.h", "the operating system", {"lib/files/", "lib/watch/", "apps/"}},
    {"linux/", "the operating system", {"lib/files/", "lib/watch/", "apps/"}},
    {"poll.h", "the operating system", {"lib/files/", "lib/watch/", "apps/"}},
    {"signal.h", "the operating system", {"apps/"}},
    {"unistd.h", "the operating system", {"lib/files/", "lib/watch/", "apps/"}},
    {"pugixml", "pugixml", {}},
    {"boost/", "Boost", {}},
    {"benchmark/", "Google Benchmark", {}},
    {"gtest/", "GoogleTest", {}},
    {"gmock/", "GoogleMock", {}},
}};

/// The headers of the standard library; one that is missing here shows up as a breach.
constexpr std::string_view kStandardHeaders =
    " algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv "
    "chrono cinttypes climits clocale cmath codecvt compare complex concepts condition_variable "
    "coroutine csetjmp csignal cstdarg cstddef cstdint cstdio cstdlib cstring ctime cuchar cwchar "
    "cwctype deque exception execution filesystem format forward_list fstream functional future "
    "initializer_list iomanip ios iosfwd iostream istream iterator latch limits list locale map "
    "memory memory_resource mutex new numbers numeric optional ostream queue random ranges ratio "
    "regex scoped_allocator semaphore set shared_mutex source_location span sstream stack stdexcept "
    "stop_token streambuf string string_view strstream syncstream system_error thread tuple "
    "type_traits typeindex typeinfo unordered_map unordered_set utility valarray variant vector "
    "version ";

bool isStandardHeader(std::string_view header) {
  return kStandardHeaders.find(" " + std::string(header) + " ") != std::string_view::npos;
}

/// The calls of the operating system that lib/ makes nowhere but in one place, where tests can make them
/// fail.
constexpr std::string_view kSystemCalls =
    " access close dup eventfd faccessat fchmod fchown fdatasync fdopendir fgetxattr flistxattr flock "
    "fremovexattr "
    "fsetxattr fstat fstatat fsync ftruncate getxattr inotify_add_watch inotify_init1 inotify_rm_watch link "
    "linkat "
    "listxattr lstat mkdir mkdirat open openat opendir poll pread pwrite read readdir readlink readlinkat "
    "realpath "
    "rename renameat renameat2 rmdir sendfile stat symlink symlinkat syscall unlink unlinkat utimensat "
    "write ";
constexpr std::string_view kSystemFile = "lib/files/system.cpp";

bool isSystemCall(std::string_view function) {
  return kSystemCalls.find(" " + std::string(function) + " ") != std::string_view::npos;
}

std::string bracketed(std::string_view name) {
  return "<" + std::string(name) + ">";
}

/// A path's part between its first two slashes: the module or app.
std::string_view secondPart(std::string_view path) {
  const std::size_t begin = std::min(path.find('/'), path.size() - 1) + 1;
  return path.substr(begin, path.find('/', begin) - begin);
}

/// The folder within a module: "documents" of lib/resources/documents/a.h, empty of lib/resources/a.h.
std::string folderOf(const std::string& path) {
  const std::size_t module = path.find('/', path.find('/') + 1) + 1;
  const std::size_t end = path.find('/', module);
  return end == std::string::npos ? std::string() : path.substr(module, end - module);
}

std::optional<std::size_t> layerOf(std::string_view module) {
  const auto* const found = std::find(kLayers.begin(), kLayers.end(), module);
  if (found == kLayers.end()) return std::nullopt;
  return static_cast<std::size_t>(found - kLayers.begin());
}

bool mayInclude(std::string_view module, std::string_view other) {
  if (module == other) return true;
  if (module == "render") return other == "core";
  return layerOf(other) < layerOf(module);
}

const Library* libraryOf(std::string_view header) {
  if (header.size() > 1 && header[0] == 'Q' && std::isupper(static_cast<unsigned char>(header[1])) != 0)
    header = "Qt";  // QString, QWidget: Qt's classes have headers of their names
  const auto* const found =
      std::find_if(kLibraries.begin(), kLibraries.end(),
                   [header](const Library& library) { return header.starts_with(library.headers); });
  return found == kLibraries.end() ? nullptr : found;
}

bool isPrivateFrom(const PrivateFolder& folder, std::string_view path, std::string_view header) {
  return header.starts_with(folder.headers) &&
         std::none_of(folder.users.begin(), folder.users.end(),
                      [path](std::string_view user) { return !user.empty() && path.starts_with(user); });
}

bool isKnownIn(const Library& library, std::string_view path) {
  return std::any_of(library.folders.begin(), library.folders.end(),
                     [path](std::string_view folder) { return !folder.empty() && path.starts_with(folder); });
}

/// Looks at the files one after the other and gathers what is wrong with them.
class Inspection {
 public:
  explicit Inspection(const std::vector<SourceFile>& files) : files_(files) {
    for (const SourceFile& file : files) paths_.insert(file.path);
  }

  std::vector<std::string> run() {
    for (const SourceFile& file : files_) inspect(file);
    for (const std::vector<std::string>& cycle : includeCycles(graph_)) reportCycle(cycle);
    return std::move(breaches_);
  }

 private:
  void inspect(const SourceFile& file) {
    inspectForm(file);
    inspectPrivateIncludes(file);
    const bool isInLib = file.path.starts_with("lib/");
    if (!isInLib && !file.path.starts_with("apps/")) return;
    if (isInLib && !layerOf(secondPart(file.path)))
      report(file, 1, "lib/" + std::string(secondPart(file.path)) + " is no module of the architecture");
    for (const Include& include : file.includes) inspectInclude(file, include);
    if (isInLib && file.path != kSystemFile) inspectCalls(file);
  }

  void inspectCalls(const SourceFile& file) {
    for (const GlobalCall& call : file.globalCalls) {
      if (!isSystemCall(call.function)) continue;
      report(file, call.line,
             "::" + call.function + "() goes to the operating system; call files::system()." + call.function +
                 "(), which tests can make fail");
    }
  }

  void inspectForm(const SourceFile& file) {
    const bool isHeader = file.path.ends_with(".h");
    if (!isHeader && !file.path.ends_with(".cpp")) report(file, 1, "a source file ends in .h or .cpp");
    if (isHeader && !file.hasPragmaOnce) report(file, 1, "the header lacks #pragma once");
    if (file.lineCount > kMaximumLines) {
      report(file, kMaximumLines + 1,
             "the file has " + std::to_string(file.lineCount) + " lines; more than " +
                 std::to_string(kMaximumLines) + " ask to be two files");
    }
  }

  void inspectPrivateIncludes(const SourceFile& file) {
    for (const Include& include : file.includes) {
      const auto* const folder = std::find_if(
          kPrivateFolders.begin(), kPrivateFolders.end(),
          [&](const PrivateFolder& one) { return isPrivateFrom(one, file.path, include.target); });
      if (folder == kPrivateFolders.end()) continue;
      const std::string module(include.target.substr(0, include.target.find('/')));
      report(file, include.line,
             bracketed(include.target) + " is private to its module; only lib/" + module +
                 " and its tests include it");
    }
  }

  void inspectInclude(const SourceFile& file, const Include& include) {
    if (!include.isAngled) {
      report(file, include.line, "write the include as <module/file.h>, not " + include.target);
    } else if (include.target.find("..") != std::string::npos) {
      report(file, include.line,
             "the include " + bracketed(include.target) + " climbs; name it from the include root");
    } else if (!isStandardHeader(include.target)) {
      inspectForeignInclude(file, include);
    }
  }

  void inspectForeignInclude(const SourceFile& file, const Include& include) {
    const std::string_view folder = std::string_view(include.target).substr(0, include.target.find('/'));
    if (layerOf(folder) && folder.size() < include.target.size()) return inspectModuleInclude(file, include);
    if (paths_.contains("apps/" + include.target)) return inspectAppInclude(file, include);
    inspectLibraryInclude(file, include);
  }

  void inspectModuleInclude(const SourceFile& file, const Include& include) {
    const std::string included = "lib/" + include.target;
    const std::string_view module = secondPart(file.path);
    const std::string_view other = secondPart(included);
    if (!paths_.contains(included)) return report(file, include.line, "there is no " + included);
    graph_[file.path].push_back(included);
    inspectFolderInclude(file, include);
    if (!file.path.starts_with("lib/") || !layerOf(module) || mayInclude(module, other)) return;
    report(file, include.line,
           "the module " + std::string(module) + " must not include " + bracketed(include.target) +
               " of the module " + std::string(other));
  }

  /// A module's own headers are its contract, and its folders what that is made of.
  void inspectFolderInclude(const SourceFile& file, const Include& include) {
    const std::string folder = folderOf(file.path);
    const std::string other = folderOf("lib/" + include.target);
    const bool isOfOneModule =
        file.path.starts_with("lib/") && secondPart(file.path) == secondPart("lib/" + include.target);
    if (!isOfOneModule || !file.path.ends_with(".h") || other.empty() || folder == other) return;
    report(file, include.line,
           "a header must not include " + bracketed(include.target) + " from another folder of its module");
  }

  void inspectAppInclude(const SourceFile& file, const Include& include) {
    const std::string included = "apps/" + include.target;
    graph_[file.path].push_back(included);
    if (file.path.starts_with("apps/") && secondPart(file.path) == secondPart(included)) return;
    report(file, include.line,
           bracketed(include.target) + " belongs to an app, which only its own files include");
  }

  void inspectLibraryInclude(const SourceFile& file, const Include& include) {
    const Library* const library = libraryOf(include.target);
    if (library == nullptr) {
      report(file, include.line,
             bracketed(include.target) +
                 " is neither of the standard library, nor of lib/, nor of a known library");
    } else if (!isKnownIn(*library, file.path)) {
      report(file, include.line,
             bracketed(include.target) + " brings " + std::string(library->name) +
                 " where it is not to be known");
    } else if (file.path.starts_with("lib/") && file.path.ends_with(".h")) {
      report(file, include.line,
             bracketed(include.target) + " shows " + std::string(library->name) +
                 " in a header; only .cpp files may");
    }
  }

  void reportCycle(const std::vector<std::string>& cycle) {
    std::string text = cycle.front() + ":1: the file includes itself";
    for (std::size_t i = 1; i < cycle.size(); ++i) text += (i == 1 ? " through " : " -> ") + cycle[i];
    breaches_.push_back(std::move(text));
  }

  void report(const SourceFile& file, int line, const std::string& what) {
    breaches_.push_back(file.path + ":" + std::to_string(line) + ": " + what);
  }

  const std::vector<SourceFile>& files_;
  std::set<std::string> paths_;
  IncludeGraph graph_;
  std::vector<std::string> breaches_;
};

}  // namespace

std::vector<std::string> breaches(const std::vector<SourceFile>& files) {
  return Inspection(files).run();
}

}  // namespace architecture
