#include "view/shown_text.h"

#include <algorithm>

#include "host/host.h"

namespace hivequarry {
namespace {

constexpr char16_t kZeroSymbol = 0x2400;

}  // namespace

std::u16string ShownText(std::string_view narrow) {
  std::u16string text = WidenText(narrow);
  std::replace(text.begin(), text.end(), u'\0', kZeroSymbol);
  return text;
}

}  // namespace hivequarry
