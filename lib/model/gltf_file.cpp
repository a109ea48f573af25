#include <model/gltf_container.h>
#include <model/gltf_fault.h>
#include <model/gltf_file.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <fstream>
#include <system_error>

namespace Tal {

namespace {

[[noreturn]] void fail(const std::string& lead, const char* what, int code) {
  throw GltfFault(lead + what + ": " + std::generic_category().message(code));
}

std::uintmax_t sizeOf(const std::filesystem::path& file, const std::string& lead) {
  std::error_code failure;
  const auto status = std::filesystem::status(file, failure);
  if (status.type() == std::filesystem::file_type::not_found) throw GltfFault(lead + "does not exist");
  if (!std::filesystem::status_known(status)) fail(lead, "cannot be examined", failure.value());
  if (!std::filesystem::is_regular_file(status)) throw GltfFault(lead + "is no regular file");
  const auto size = std::filesystem::file_size(file, failure);
  if (failure) fail(lead, "cannot be examined", failure.value());
  return size;
}

std::string readBytes(const std::filesystem::path& file, std::uintmax_t size, const std::string& lead) {
  errno = 0;
  std::ifstream stream(file, std::ios::binary);
  if (!stream) fail(lead, "cannot be opened", errno);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!stream) throw GltfFault(lead + "cannot be read");
  return bytes;
}

}  // namespace

std::string readGltfFile(const std::filesystem::path& file, const std::string& lead) {
  const std::uintmax_t size = sizeOf(file, lead);
  if (size > kMaxGltfBytes) throw GltfFault(lead + "is larger than 512 MiB");
  return readBytes(file, size, lead);
}

std::string readGltfBytes(const std::filesystem::path& file, std::size_t most, const std::string& lead) {
  return readBytes(file, std::min<std::uintmax_t>(sizeOf(file, lead), most), lead);
}

}  // namespace Tal
