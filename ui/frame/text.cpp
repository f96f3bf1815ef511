#include "ui/frame/text.h"

#include <algorithm>

#include "host/host.h"

namespace hivequarry {
namespace {

constexpr char16_t kZeroSymbol = 0x2400;

std::wstring ToWide(const std::u16string& text) { return {text.begin(), text.end()}; }

}  // namespace

std::wstring WindowText(std::string_view narrow) {
  std::u16string text = WidenText(narrow);
  std::replace(text.begin(), text.end(), u'\0', kZeroSymbol);
  return ToWide(text);
}

std::wstring WideName(std::string_view utf8) { return ToWide(WideFromUtf8(utf8)); }

std::string Utf8Name(std::wstring_view wide) {
  return Utf8FromWide(std::u16string(wide.begin(), wide.end()));
}

std::wstring MixedText(std::string_view text) {
  const std::u16string as_utf8 = WideFromUtf8(text);
  if (as_utf8.find(u'\xFFFD') != std::u16string::npos) return WindowText(text);
  return ToWide(as_utf8);
}

std::string_view BaseName(std::string_view path) {
  const size_t slash = path.find_last_of("\\/");
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

}  // namespace hivequarry
