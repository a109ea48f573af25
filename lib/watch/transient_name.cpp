#include <watch/transient_name.h>

#include <algorithm>
#include <array>

namespace Tal::watch {
namespace {

constexpr std::array<BasicStringRef, 9> kEndings = {
    "~", ".kate-swp", ".new", ".part", ".swp", ".temp", ".tmp", "___jb_old___", "___jb_tmp___"};

}  // namespace

bool isTransientName(BasicStringRef fileName) {
  if (fileName.starts_with('.') || fileName.starts_with('#')) return true;
  return std::any_of(kEndings.begin(), kEndings.end(),
                     [=](BasicStringRef ending) { return fileName.ends_with(ending); });
}

}  // namespace Tal::watch
