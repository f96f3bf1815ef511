// Text on its way to a window.
#pragma once

#include <string>
#include <string_view>

namespace hivequarry {

// Text of the portable floors, which is UTF-16 as the platform's is.
std::wstring WideText(const std::u16string& text);
// Text for a control: ShownText.
std::wstring WindowText(std::string_view text);
// As it is: file names, and what is to go on as it was.
std::wstring WideName(std::string_view name);
std::string Utf8Name(std::wstring_view wide);
// Constant UTF-16 text of the portable floors, for a call of the platform.
inline const wchar_t* AsWide(const char16_t* text) {
  return reinterpret_cast<const wchar_t*>(text);
}
// The last component of a path.
std::string_view BaseName(std::string_view path);

}  // namespace hivequarry
