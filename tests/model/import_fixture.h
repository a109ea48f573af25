#pragma once

#include <gtest/gtest.h>
#include <model/gltf_import.h>
#include <support/temporary_folder.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace support {

/// A folder with a glTF source beside an empty resource root.
class ImportFixture : public testing::Test {
 protected:
  ImportFixture() { std::filesystem::create_directory(root()); }

  std::filesystem::path root() const { return folder_ / "root"; }

  void writeSource(std::string_view content, const std::string& name = "in.glb") {
    source_ = folder_ / name;
    folder_.write(name, content);
  }

  std::optional<Tal::ImportedModel> import(const Tal::GltfImportOptions& options = {}) {
    return importAs("content/house.model", options);
  }

  /// The same under another name; `error_` is then the fault's text.
  std::optional<Tal::ImportedModel> importAs(const std::string& name,
                                             const Tal::GltfImportOptions& options = {}) {
    auto imported = Tal::importGltf(source_, name, root(), options);
    error_ = imported ? "" : textOf(imported.fault());
    return imported ? std::optional(*std::move(imported)) : std::nullopt;
  }

  /// What is to be done about a file that is not as the format demands, unless a fault knows better.
  static constexpr std::string_view kExportAgain = "; correct it where it was made, and export it again";

  /// Imports the source and expects that it is refused, with nothing made; what the error says behind the
  /// source's path, without kExportAgain.
  std::string refusal(const Tal::GltfImportOptions& options = {}) {
    const std::vector<std::string> before = folder_.listing();
    EXPECT_FALSE(import(options));
    EXPECT_EQ(folder_.listing(), before);
    EXPECT_EQ(error_.find_first_of("\n\r"), std::string::npos) << error_;
    const std::string start = source_.string() + ": ";
    EXPECT_TRUE(error_.starts_with(start)) << error_;
    std::string text = error_.starts_with(start) ? error_.substr(start.size()) : error_;
    if (text.ends_with(kExportAgain)) text.resize(text.size() - kExportAgain.size());
    return text;
  }

  std::string visual() const { return folder_.read("root/content/house.visual"); }
  std::string model() const { return folder_.read("root/content/house.model"); }

  TemporaryFolder folder_;
  std::filesystem::path source_ = folder_ / "in.glb";
  std::string error_;
};

}  // namespace support
