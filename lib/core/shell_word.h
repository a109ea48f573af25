#pragma once

#include <core/string_ref.h>

#include <string>

namespace Tal {

/// `text` as one word of a command line that bash, zsh or ksh reads: as it is where nothing in it means
/// something to them, else quoted. Nothing in the result acts on a terminal: what would is escaped, in a form
/// ($'\033') that these shells read back.
std::string shellWord(BasicStringRef text);

}  // namespace Tal
