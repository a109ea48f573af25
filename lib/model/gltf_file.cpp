#include <model/gltf_fault.h>
#include <model/gltf_file.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <system_error>

namespace Tal {

std::string readGltfBytes(const std::filesystem::path& file, std::size_t most, const std::string& lead) {
  std::error_code failure;
  const auto status = std::filesystem::status(file, failure);
  if (status.type() == std::filesystem::file_type::not_found) throw GltfFault(lead + "does not exist");
  if (!std::filesystem::is_regular_file(status)) throw GltfFault(lead + "is no regular file");
  const auto size = std::filesystem::file_size(file, failure);
  std::ifstream stream(file, std::ios::binary);
  if (failure || !stream) throw GltfFault(lead + "cannot be read");
  std::string bytes(static_cast<std::size_t>(std::min<std::uintmax_t>(size, most)), '\0');
  stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (stream.gcount() != static_cast<std::streamsize>(bytes.size())) throw GltfFault(lead + "cannot be read");
  return bytes;
}

}  // namespace Tal
