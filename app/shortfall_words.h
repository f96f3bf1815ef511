// What was cut short, in words for the user.
#pragma once

#include <string>

namespace hivequarry {

// One line with a part for each kind of shortfall that the operation noted (host/shortfalls.h);
// empty when nothing was cut short.
std::string ShortfallWords();

}  // namespace hivequarry
