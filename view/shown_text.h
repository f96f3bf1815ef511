// Text on its way to the screen.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace hivequarry {

// A zero where it would end a text.
inline constexpr char16_t kZeroSymbol = 0x2400;

// Names and value texts as UTF-16. A zero character would end the text in a control, so it becomes
// its visible symbol.
std::u16string ShownText(std::string_view shown);

// A path that is too wide, with "..." in its middle: its beginning in a third of the room, and as
// much of its end, which tells it from others, as there is room for. As it is where it fits, or
// where there is no room for an end. `ends`: where each of its units ends, and `cut` the width of
// kPathCut, in the units of `room`.
inline constexpr char16_t kPathCut[] = u"...";
std::u16string FitPath(const std::u16string& path, int room, std::span<const int> ends, int cut);

}  // namespace hivequarry
