#pragma once

#include <model/model.h>
#include <model/super_model.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace support {

/// One material slot of a model.
struct MaterialPart {
  std::string identifier;
  unsigned kind = 0;
};

/// What a model put together by hand consists of.
struct ModelParts {
  std::vector<MaterialPart> materials = {};  ///< in slot order
  std::vector<std::string> bsp = {};         ///< the names of the collision materials, in file order
  std::vector<std::string> nodes = {};       ///< the names of the skeleton's nodes, in file order
  bool isReady = true;
  bool hasTopModel = true;
  bool hasBspData = true;
};

/// An open model of the given parts.
inline std::unique_ptr<Tal::SuperModel> buildModel(const ModelParts& parts) {
  Tal::ModelMaterials::Slots slots;
  for (const MaterialPart& material : parts.materials)
    slots.push_back(std::make_shared<Tal::MaterialInstance>(material.identifier, material.kind));
  std::vector<Tal::interned_string> nodes;
  for (const std::string& node : parts.nodes) nodes.emplace_back(node);
  Tal::SmartPointer<Tal::BspData> bsp;
  if (parts.hasBspData) {
    bsp = Tal::makeSmart<Tal::BspData>();
    bsp->materialNames_ = parts.bsp;
  }
  Tal::SmartPointer<Tal::Model> top;
  if (parts.hasTopModel) top = Tal::makeSmart<Tal::Model>(bsp);
  auto model = std::make_unique<Tal::SuperModel>(top, Tal::Skeleton::SkeletonInstance(std::move(nodes)),
                                                 Tal::ModelMaterials(std::move(slots)));
  model->ready_ = parts.isReady;
  return model;
}

}  // namespace support
