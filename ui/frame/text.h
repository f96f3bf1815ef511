// Text on its way to a window.
#pragma once

#include <string>
#include <string_view>

namespace hivequarry {

// Text of the portable floors, which is UTF-16 as the platform's is.
std::wstring WideText(const std::u16string& text);
// Code-page text (names, value texts) for a control: ShownText.
std::wstring WindowText(std::string_view narrow);
// UTF-8 text: file names.
std::wstring WideName(std::string_view utf8);
std::string Utf8Name(std::wstring_view wide);
// Text of the core that may hold a file name (status line, messages): UTF-8 when all of it is valid
// UTF-8, else code-page text.
std::wstring MixedText(std::string_view text);
// Constant UTF-16 text of the portable floors, for a call of the platform.
inline const wchar_t* AsWide(const char16_t* text) {
  return reinterpret_cast<const wchar_t*>(text);
}
// The last component of a path.
std::string_view BaseName(std::string_view path);

}  // namespace hivequarry
