#include <core/display_text.h>
#include <tyk/bad_cast.h>

namespace tyk {

BadCast::BadCast(Tal::BasicStringRef from, Tal::BasicStringRef to, std::optional<Tal::BasicStringRef> value)
    : from_(from), to_(to), text_("cannot convert the " + from_) {
  if (value) text_ += ' ' + Tal::quotedName(*value);
  text_ += " to " + to_;
}

}  // namespace tyk
