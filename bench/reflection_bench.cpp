// What property panels do: an option list against parsing the file that it comes from and against copying its
// strings, and a property against the plain field.

#include <benchmark/benchmark.h>
#include <core/debug_message.h>
#include <destructibles/ks_destructibles_helper.h>
#include <mio/dynamic_object.h>
#include <mio/meta_object.h>
#include <resources/file_system.h>
#include <unistd.h>
#include <pugixml.hpp>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "support/ratios.h"

namespace {

using Tal::KsDestructibleFallingAtomDesc;
using Tal::KsDestructibleModuleDesc;

constexpr int kEffectCount = 2000;

// The effects of a category, and a field that offers all of them.
struct Effects {
  Tal::KsDestructibleType category;
  const char* section;
  const char* suffix;
  const char* field;
};
constexpr Effects kAll = {Tal::DT_STRUCTURE, "structures", "_Base_02", "Hit effect"};
// Each name has what the field looks for, in other case.
constexpr Effects kFiltered = {Tal::DT_FALLING_ATOMS, "fallingAtoms", "_Lifetime_02", "Lifetime effect"};

std::string effectName(const Effects& effects, int number) {
  return "inf_bld_UNI_" + std::to_string(number) + effects.suffix;
}

std::string textOf(const Effects& effects) {
  const std::string section = effects.section;
  std::string text = "<root>\n\t<" + section + ">\n";
  for (int number = 0; number < kEffectCount; ++number)
    text += "\t\t<" + effectName(effects, number) + "/>\n";
  return text + "\t</" + section + ">\n</root>\n";
}

// A resource root with the effects, and a record in a tree.
template <class Record>
class Panel {
 public:
  explicit Panel(const Effects& effects)
      : root_(std::filesystem::temp_directory_path() / ("destructibles_panel_" + std::to_string(getpid()))) {
    std::filesystem::create_directories(root_ / "scripts");
    std::ofstream(root_ / "scripts" / "destructibles_effects.xml", std::ios::binary) << textOf(effects);
    Tal::FS::setFileSystem(
        std::make_unique<Tal::FS::MultiFileSystem>(std::vector<std::filesystem::path>{root_}));
    model_.addProperty("Destructible Type", tyk::Variant::Type::signedInteger,
                       [category = effects.category] { return tyk::Variant(category); });
    record_.setParent(&model_);
  }

  ~Panel() {
    Tal::FS::setFileSystem(nullptr);
    std::filesystem::remove_all(root_);
  }

  Panel(const Panel&) = delete;
  Panel& operator=(const Panel&) = delete;

  mio::BoundProperty property(const char* name) { return record_.property(name); }

 private:
  std::filesystem::path root_;
  mio::DynamicObject model_;
  Record record_;
};

template <class Record>
void optionList(benchmark::State& state, const Effects& effects) {
  Panel<Record> panel(effects);
  const mio::BoundProperty property = panel.property(effects.field);
  for (auto _ : state) {
    const tyk::VariantList options = property.options();
    if (options.size() != kEffectCount + 2) state.SkipWithError("the effects were not found");
  }
}

void parseEffects(benchmark::State& state) {
  const std::string text = textOf(kAll);
  for (auto _ : state) {
    pugi::xml_document document;
    if (!document.load_buffer(text.data(), text.size())) state.SkipWithError("the text was not parsed");
    benchmark::DoNotOptimize(document.first_child());
  }
}

void copyStrings(benchmark::State& state, const Effects& effects) {
  std::vector<std::string> names;
  for (int number = 0; number < kEffectCount; ++number) names.push_back(effectName(effects, number));
  for (auto _ : state) {
    std::vector<std::string> copy(names);
    benchmark::DoNotOptimize(copy.data());
  }
}

void readProperty(benchmark::State& state) {
  KsDestructibleModuleDesc record;
  const mio::BoundProperty property = record.property("Health");
  for (auto _ : state) {
    const tyk::Variant value = property.get();
    benchmark::DoNotOptimize(&value);
  }
}

void readField(benchmark::State& state) {
  KsDestructibleModuleDesc record;
  for (auto _ : state) {
    benchmark::DoNotOptimize(&record);
    int value = record.health;
    benchmark::DoNotOptimize(value);
  }
}

void writeProperty(benchmark::State& state) {
  KsDestructibleModuleDesc record;
  const mio::BoundProperty property = record.property("Health");
  const tyk::Variant value(7);
  for (auto _ : state) property.set(value);
  benchmark::DoNotOptimize(record.health);
}

void writeField(benchmark::State& state) {
  KsDestructibleModuleDesc record;
  for (auto _ : state) {
    record.health = 7;
    benchmark::DoNotOptimize(&record);
    benchmark::ClobberMemory();
  }
}

std::vector<bench::Ratio> ratios() {
  return {{"2000 effects: option list / pugixml parsing the same bytes", "optionList", "parseEffects", {}},
          {"2000 effects: option list / copying the strings", "optionList", "copyStrings", 3.0},
          {"2000 effects: filtered option list / copying the strings", "filteredList", "copyFiltered", 3.0},
          {"reading a property / reading the field", "readProperty", "readField", {}},
          {"writing a property / writing the field", "writeProperty", "writeField", {}}};
}

}  // namespace

int main(int argc, char** argv) {
  Tal::DebugMessageHelper::setSink([](const Tal::DebugMessage&) {});
  benchmark::RegisterBenchmark("optionList", optionList<KsDestructibleModuleDesc>, kAll);
  benchmark::RegisterBenchmark("filteredList", optionList<KsDestructibleFallingAtomDesc>, kFiltered);
  benchmark::RegisterBenchmark("parseEffects", parseEffects);
  benchmark::RegisterBenchmark("copyStrings", copyStrings, kAll);
  benchmark::RegisterBenchmark("copyFiltered", copyStrings, kFiltered);
  benchmark::RegisterBenchmark("readProperty", readProperty);
  benchmark::RegisterBenchmark("readField", readField);
  benchmark::RegisterBenchmark("writeProperty", writeProperty);
  benchmark::RegisterBenchmark("writeField", writeField);
  return bench::run(argc, argv, ratios());
}
