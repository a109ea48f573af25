// A level editor in small: opens one model, makes it a fragile, saves, and follows changes of the file.

#include <core/debug_message.h>
#include <destructibles/ks_destructibles_helper.h>
#include <model/ks_material_disabler.h>
#include <model/super_model.h>
#include <render/render_system.h>
#include <resources/file_system.h>

#include <iostream>
#include <memory>
#include <string>
#include <utility>

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: embedding ROOT MODEL\n";
    return 2;
  }
  const std::string modelName = argv[2];

  // Once, at the start of the editor: where messages go, and where resources are.
  Tal::DebugMessageHelper::setSink([](const Tal::DebugMessage& message) { std::clog << message.text << '\n'; });
  Tal::FS::setFileSystem(
      std::make_unique<Tal::FS::MultiFileSystem>(std::vector<std::filesystem::path>{argv[1]}));
  Tal::FS::fileSystem()->getFilesystemMonitor();  // changes are followed from here on

  // For each model that is selected. The model and the disabler outlive the helper.
  auto loadedModel = Tal::SuperModel::load(modelName);
  if (!loadedModel) {
    std::cerr << textOf(loadedModel.fault()) << '\n';
    return 1;
  }
  const std::unique_ptr<Tal::SuperModel> model = *std::move(loadedModel);
  Tal::KsMaterialDisabler disabler(model.get());
  std::unique_ptr<Tal::KsDestructiblesHelper> helper;
  Tal::KsDestructiblesHelper::reinit(helper, model.get(), modelName, &disabler, false);
  helper->createMaterialBindings();

  // Panels refresh on these; releasing a connection disconnects it.
  const ks::Connection typeChanged =
      helper->connectDestructibleTypeChanged([] { std::cout << "another category\n"; });
  const ks::Connection loaded = helper->connectLoadedConfigSignal([] { std::cout << "tables loaded\n"; });

  // Commands of the user.
  helper->setAsFragile();
  Tal::KsDestructibleFragileDesc fragile;
  if (helper->getFragileParameters(fragile)) {
    fragile.health = 12;
    helper->updateFragileParameters(fragile);
  }
  if (!helper->saveConfig()) return 1;

  // Once a frame: changes of the file by others arrive here.
  Tal::rs().beginFrame();
  Tal::FS::fileSystem()->pump();

  // At the end of the editor: first what listens, then the file system.
  helper.reset();
  Tal::FS::setFileSystem(nullptr);
  return 0;
}
