#pragma once

#include <mio/describe.h>
#include <mio/record_signal.h>

#include <cstdint>
#include <string>
#include <vector>

/// A record with every kind of field, and what it was told.
struct Lamp : mio::Object {
  std::int32_t health = 20;
  float scale = 1.0F;
  bool isLit = false;
  std::string effect;
  std::vector<std::string> told;
  mio::RecordSignal<void(mio::SetterFlags)> changed;
};

/// Another described class.
struct Crate : mio::Object {
  std::int32_t health = 5;
};

inline void notify(Lamp& lamp, mio::SetterFlags flags) {
  lamp.told.push_back("changed " + std::to_string(static_cast<unsigned>(flags)));
  lamp.changed(flags);
}

inline void notifyEffect(Lamp& lamp) {
  lamp.told.emplace_back("effect changed to " + lamp.effect);
}

inline int damage(Lamp& lamp, int points, const std::string& why) {
  lamp.health -= points;
  lamp.told.push_back("damaged by " + why);
  return lamp.health;
}

inline tyk::VariantList effectsOf(const mio::BoundProperty& edited) {
  return {"", "none", edited.property()->name()};
}

inline mio::MetaObject describeLamp() {
  return mio::describe<Lamp>("Test::Lamp")
      .annotation(mio::ChangeNotification("_notify"))
      .method("_notify", &notify)
      .method("_notifyEffect", &notifyEffect)
      .method("damage", &damage)
      .property("Health", &Lamp::health, mio::Precision(0))
      .property("Scale", &Lamp::scale, mio::Precision(2))
      .property("Lit", &Lamp::isLit)
      .property("Effect", &Lamp::effect, mio::Autocomplete(true), mio::ComboBox(effectsOf),
                mio::OnChange("_notifyEffect"));
}

inline mio::MetaObject describeCrate() {
  return mio::describe<Crate>("Test::Crate").property("Health", &Crate::health);
}
