#pragma once

#include <core/string_ref.h>

#include <string>

namespace Tal {

/// `text` as one word of a bash, zsh or ksh command line: quoted unless nothing in it is special to them.
/// What would act on a terminal is escaped in a form that these shells read back ($'\033').
std::string shellWord(BasicStringRef text);

}  // namespace Tal
