#include <model/gltf/check.h>
#include <model/gltf/check_data.h>
#include <model/gltf/container.h>
#include <model/gltf/embed.h>
#include <model/gltf/reader.h>
#include <model/gltf/uncompress.h>

#include <utility>

namespace Tal {

Result<std::unique_ptr<GltfDocument>> readGltf(const std::filesystem::path& file, const GltfSources& sources,
                                               std::vector<std::string>& warnings) {
  auto bytes = readGltfFile(file);
  if (!bytes) return std::move(bytes).fault();
  const auto container = splitGltf(*bytes);
  if (!container) return container.fault();
  auto document = std::make_unique<GltfDocument>();
  {
    const auto tree = GltfTree::parse(container->json);
    if (!tree) return tree.fault();
    Result<void> done = readGltfJson(*tree, *document);
    if (done) done = checkGltf(*document);
    if (done) done = embedGltfData(*std::move(bytes), *container, *tree, sources, *document, warnings);
    if (!done) return std::move(done).fault();
  }
  GltfBudget budget(document->glb.size());
  Result<void> done = uncompressGltfViews(*document, budget);
  if (done) done = uncompressGltfMeshes(*document, budget);
  if (done) done = checkGltfData(*document);
  if (!done) return std::move(done).fault();
  return document;
}

}  // namespace Tal
