#include <support/temporary_folder.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace support {

namespace fs = std::filesystem;

std::string readFile(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  EXPECT_TRUE(stream.is_open()) << "cannot read " << file;
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void writeFile(const fs::path& file, std::string_view content) {
  fs::create_directories(file.parent_path());
  std::ofstream stream(file, std::ios::binary | std::ios::trunc);
  stream.write(content.data(), static_cast<std::streamsize>(content.size()));
  stream.close();
  EXPECT_TRUE(stream.good()) << "cannot write " << file;
}

TemporaryFolder::TemporaryFolder() {
  std::string name = (fs::canonical(fs::temp_directory_path()) / "destructibles-test-XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a temporary folder");
  path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;  // a test may have taken the folder away
  fs::remove_all(path_, ignored);
}

void TemporaryFolder::replace(const fs::path& name, std::string_view content) const {
  fs::path beside = path_ / name;
  beside += ".new";
  writeFile(beside, content);
  fs::rename(beside, path_ / name);
}

std::vector<std::string> TemporaryFolder::listing() const {
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path_))
    names.push_back(entry.path().lexically_relative(path_).generic_string());
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace support
