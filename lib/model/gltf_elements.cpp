#include <model/gltf_elements.h>
#include <tiny_gltf.h>

namespace Tal {
namespace {

const tinygltf::BufferView& viewAt(const tinygltf::Model& model, int index) {
  return model.bufferViews[static_cast<std::size_t>(index)];
}

const unsigned char* dataAt(const tinygltf::Model& model, const tinygltf::BufferView& view,
                            std::size_t offset) {
  return model.buffers[static_cast<std::size_t>(view.buffer)].data.data() + view.byteOffset + offset;
}

}  // namespace

std::size_t gltfComponentSize(int componentType) {
  return static_cast<std::size_t>(
      tinygltf::GetComponentSizeInBytes(static_cast<std::uint32_t>(componentType)));
}

GltfElements::GltfElements(const tinygltf::Model& model, std::size_t index)
    : count_(model.accessors[index].count),
      elementSize_(gltfComponentSize(model.accessors[index].componentType) *
                   static_cast<std::size_t>(tinygltf::GetNumComponentsInType(
                       static_cast<std::uint32_t>(model.accessors[index].type)))) {
  const tinygltf::Accessor& accessor = model.accessors[index];
  if (accessor.bufferView >= 0) {
    const tinygltf::BufferView& view = viewAt(model, accessor.bufferView);
    data_ = dataAt(model, view, accessor.byteOffset);
    stride_ = view.byteStride != 0 ? view.byteStride : elementSize_;
  }
  if (!accessor.sparse.isSparse) return;
  const auto& indices = accessor.sparse.indices;
  const auto& values = accessor.sparse.values;
  sparseCount_ = static_cast<std::size_t>(accessor.sparse.count);
  sparseIndexSize_ = gltfComponentSize(indices.componentType);
  sparseIndices_ =
      dataAt(model, viewAt(model, indices.bufferView), static_cast<std::size_t>(indices.byteOffset));
  sparseValues_ =
      dataAt(model, viewAt(model, values.bufferView), static_cast<std::size_t>(values.byteOffset));
}

}  // namespace Tal
