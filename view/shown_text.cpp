#include "view/shown_text.h"

#include <algorithm>

#include "host/text.h"

namespace hivequarry {
namespace {

constexpr char16_t kZeroSymbol = 0x2400;

}  // namespace

std::u16string ShownText(std::string_view shown) {
  std::u16string text = WideOfText(shown);
  std::replace(text.begin(), text.end(), u'\0', kZeroSymbol);
  return text;
}

}  // namespace hivequarry
