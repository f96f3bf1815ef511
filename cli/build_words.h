// What this program was built of and for.
#pragma once

#include <string>

namespace hivequarry {

// "1.0.0", and on a second line the commit of the sources, where they are a checkout, the compiler
// and the system: the same for the same sources, wherever and whenever they are built.
std::string BuildWords();

}  // namespace hivequarry
