#include "ui/frame/text.h"

#include "host/text.h"
#include "view/shown_text.h"

namespace hivequarry {

std::wstring WideText(const std::u16string& text) { return {text.begin(), text.end()}; }

std::wstring WindowText(std::string_view text) { return WideText(ShownText(text)); }

std::wstring WideName(std::string_view name) { return WideText(WideOfText(name)); }

std::string Utf8Name(std::wstring_view wide) {
  return TextOfWide(std::u16string(wide.begin(), wide.end()));
}

std::string_view BaseName(std::string_view path) {
  const size_t slash = path.find_last_of("\\/");
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

}  // namespace hivequarry
