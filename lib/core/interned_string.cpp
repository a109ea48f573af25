#include <core/interned_string.h>

#include <mutex>
#include <unordered_set>

namespace Tal {
namespace {

const std::string* intern(BasicStringRef text) {
  static std::mutex mutex;
  // Never destroyed: names outlive every object that holds one, statics included.
  static auto& pool = *new std::unordered_set<std::string>;
  const std::lock_guard lock(mutex);
  return &*pool.emplace(text).first;
}

}  // namespace

interned_string::interned_string() : interned_string(BasicStringRef()) {}
interned_string::interned_string(BasicStringRef text) : text_(intern(text)) {}

}  // namespace Tal
