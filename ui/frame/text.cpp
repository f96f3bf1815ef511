#include "ui/frame/text.h"

#include "host/host.h"
#include "view/shown_text.h"

namespace hivequarry {
std::wstring WideText(const std::u16string& text) { return {text.begin(), text.end()}; }

std::wstring WindowText(std::string_view narrow) { return WideText(ShownText(narrow)); }

std::wstring WideName(std::string_view utf8) { return WideText(WideFromUtf8(utf8)); }

std::string Utf8Name(std::wstring_view wide) {
  return Utf8FromWide(std::u16string(wide.begin(), wide.end()));
}

std::wstring MixedText(std::string_view text) {
  const std::u16string as_utf8 = WideFromUtf8(text);
  if (as_utf8.find(u'\xFFFD') != std::u16string::npos) return WindowText(text);
  return WideText(as_utf8);
}

std::string_view BaseName(std::string_view path) {
  const size_t slash = path.find_last_of("\\/");
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

}  // namespace hivequarry
