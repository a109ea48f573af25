#pragma once

#include <destructibles/fixture.h>
#include <support/utf16.h>

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <random>
#include <utility>

namespace Tal {

inline constexpr const char* kEffects = "scripts/destructibles_effects.xml";
inline constexpr const char* kVisual = "b.visual";

// Two categories for one model, a model twice, sections of one tag twice, no entry for "d", and a section
// that is itself a model's.
inline constexpr std::array<const char*, 5> kDatabases = {
    R"(<root>
	<structures>
		<entry><filename>a</filename><achievementTag>first</achievementTag>
			<modules><module><matName>n_wall_1</matName><health>7</health></module></modules>
			<states><state><name>half</name><destroyedMaterials>d_wall_1 </destroyedMaterials></state></states></entry>
		<entry><filename>z</filename><achievementTag>last</achievementTag></entry>
	</structures>
	<fragiles><entry><filename>b</filename><health>3</health></entry></fragiles>
	<fallingAtoms><entry><filename>c</filename><health>9</health></entry></fallingAtoms>
</root>
)",
    R"(<root>
	<fragiles>
		<entry><filename>a</filename><effect>x</effect></entry>
		<entry><filename>b</filename><effect>first</effect></entry>
		<entry><filename>b</filename><effect>second</effect></entry>
	</fragiles>
	<structures><entry><filename>a</filename><modules/><states/></entry></structures>
	<fallingAtoms><entry><filename>b</filename></entry></fallingAtoms>
	<structures><entry><filename>c</filename><achievementTag>none</achievementTag><states>
		<state><name>s</name><destroyedMaterials>d_wall_2 n_wall_1</destroyedMaterials></state></states></entry></structures>
</root>
)",
    R"(<root><structures><filename>b</filename><entry><filename>a</filename><modules/></entry></structures>
<fragiles><entry><filename>b</filename></entry><entry><filename>c</filename></entry></fragiles></root>)",
    "<root><trees><entry><filename>a</filename></entry></trees></root>", "<root/>"};

inline constexpr std::array<const char*, 3> kEffectLists = {
    "<root><structures><x1/><x2/></structures><fragiles><boom1/></fragiles>"
    "<fallingAtoms><fracture1/><touchdown_break1/></fallingAtoms></root>",
    "<root><fragiles><boom2/><boom1/></fragiles><structures/></root>", "<root/>"};

inline constexpr std::array<const char*, 2> kVisuals = {
    "<root><boundingBox><min>0 0 0</min><max>1 1 1</max></boundingBox></root>",
    "<root><boundingBox><min>0 0 0</min><max>2 2 2</max></boundingBox></root>"};

inline std::string utf16(std::string_view text) {
  return support::littleEndian(u"\uFEFF" + std::u16string(text.begin(), text.end()));
}

/// What a file may hold.
inline const Strings& contentsOf(const std::string& name) {
  static const Strings databases = [] {
    Strings contents(kDatabases.begin(), kDatabases.end());
    contents.push_back(utf16(kDatabases[1]));
    return contents;
  }();
  static const Strings effectLists(kEffectLists.begin(), kEffectLists.end());
  static const Strings visuals(kVisuals.begin(), kVisuals.end());
  if (name == kDatabase) return databases;
  return name == kEffects ? effectLists : visuals;
}

/// The same throws again for the same seed.
class Dice {
 public:
  explicit Dice(std::uint32_t seed) : random_(seed) {}

  std::uint32_t below(std::uint32_t bound) { return static_cast<std::uint32_t>(random_()) % bound; }
  bool isOneIn(std::uint32_t count) { return below(count) == 0; }
  bool coin() { return isOneIn(2); }

  template <class Choices>
  auto& oneOf(Choices& choices) {
    return choices[below(static_cast<std::uint32_t>(std::size(choices)))];
  }

 private:
  std::mt19937 random_;
};

/// The same text, of the same size, with another letter or digit in one place if that leaves it well-formed.
inline std::string withOtherValue(std::string text, Dice& dice) {
  constexpr std::string_view kDigits = "0123456789";
  const std::size_t width = text.starts_with('\xFF') ? 2 : 1;
  std::vector<std::size_t> places;
  for (std::size_t at = width; at + width < text.size(); ++at) {
    const bool isDigit = kDigits.find(text[at]) != std::string_view::npos;
    const bool isLetter = text[at] >= 'a' && text[at] <= 'd';
    const bool isAlone = (text[at - width] == '>' || text[at - width] == ' ') &&
                         (text[at + width] == '<' || text[at + width] == ' ');
    const bool isValue = isAlone && (isDigit || isLetter);
    const bool endsTag = text[at + width] == '/' && isDigit;
    if (isValue || endsTag) places.push_back(at);
  }
  if (places.empty()) return text;
  char& character = text[dice.oneOf(places)];
  const bool isDigit = kDigits.find(character) != std::string_view::npos;
  character = isDigit ? kDigits[dice.below(10)] : "abcd"[dice.below(4)];
  return text;
}

/// What other programs do to the files below a root.
class OtherPrograms {
 public:
  OtherPrograms(const support::MountedRoot& folder, Dice& dice) : folder_(folder), dice_(dice) {}

  std::optional<std::string> bytesOf(const std::string& name) const {
    if (!std::filesystem::exists(folder_ / name)) return std::nullopt;
    return folder_.read(name);
  }

  /// Does one thing to a file; which one is written into `seen`.
  void change(const std::string& name, std::ostream& seen) {
    const std::uint32_t way = dice_.below(12);
    seen << "other program " << way << ' ' << name << '\n';
    const std::string bytes = bytesOf(name).value_or(contentsOf(name).front());
    const std::string former = std::exchange(former_[name], bytes);
    switch (way) {
      case 0:
      case 1:
        return folder_.replace(name, dice_.oneOf(contentsOf(name)));
      case 2:
        return folder_.replace(name, bytes);
      case 3:
        return folder_.write(name, dice_.oneOf(contentsOf(name)));
      case 4:
      case 5:
        return keepSize(name, bytes);
      case 6:
        return touch(name);
      case 7:
        std::filesystem::remove(folder_ / name);
        return;
      case 8:
        return folder_.replace(name, "<root><fragiles>");
      case 9:
        return folder_.replace(name, former.empty() ? bytes : former);
      case 10:
        return putAwayOrBack(name);
      default:
        return name != kVisual && dice_.coin() ? exchangeFolder() : link(name, bytes);
    }
  }

  /// A change of which the monitor surely tells: the file is there afterwards.
  void changeWithNews(const std::string& name) {
    const std::optional<std::string> bytes = bytesOf(name);
    if (bytes && dice_.coin()) return keepSize(name, *bytes);
    folder_.replace(name, dice_.oneOf(contentsOf(name)));
  }

 private:
  /// Writes in place, as many bytes as before, and sometimes sets the time of modification back.
  void keepSize(const std::string& name, const std::string& bytes) {
    const std::filesystem::path file = folder_ / name;
    std::optional<std::filesystem::file_time_type> time;
    if (std::filesystem::exists(file) && dice_.coin()) time = std::filesystem::last_write_time(file);
    folder_.write(name, withOtherValue(bytes, dice_));
    if (time) std::filesystem::last_write_time(file, *time);
  }

  void touch(const std::string& name) const {
    const std::filesystem::path file = folder_ / name;
    if (std::filesystem::exists(file))
      std::filesystem::last_write_time(file, std::filesystem::file_time_type::clock::now());
  }

  void putAwayOrBack(const std::string& name) const {
    const std::filesystem::path file = folder_ / name;
    const std::filesystem::path away = folder_ / (name + " away");
    if (std::filesystem::exists(away)) {
      std::filesystem::rename(away, file);
    } else if (std::filesystem::exists(file)) {
      std::filesystem::rename(file, away);
    }
  }

  /// Writes another file and makes a link to it of this one.
  void link(const std::string& name, const std::string& bytes) {
    const std::filesystem::path target = folder_ / ("store" / std::filesystem::path(name).filename());
    support::writeFile(target, dice_.coin() ? bytes : dice_.oneOf(contentsOf(name)));
    const std::filesystem::path beside = folder_ / (name + ".new");
    std::filesystem::create_symlink(target, beside);
    std::filesystem::rename(beside, folder_ / name);
  }

  void exchangeFolder() {
    std::filesystem::remove_all(folder_ / "before");
    std::filesystem::rename(folder_ / "scripts", folder_ / "before");
    folder_.write(kDatabase, dice_.oneOf(contentsOf(kDatabase)));
    if (dice_.coin()) folder_.write(kEffects, dice_.oneOf(contentsOf(kEffects)));
  }

  const support::MountedRoot& folder_;
  Dice& dice_;
  std::map<std::string, std::string> former_;
};

}  // namespace Tal
