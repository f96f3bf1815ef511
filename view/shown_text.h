// Text on its way to the screen.
#pragma once

#include <string>
#include <string_view>

namespace hivequarry {

// Names and value texts as UTF-16. A zero character would end the text in a control, so it becomes
// its visible symbol.
std::u16string ShownText(std::string_view shown);

}  // namespace hivequarry
