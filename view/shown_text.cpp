#include "view/shown_text.h"

#include <algorithm>

#include "host/text.h"

namespace hivequarry {
namespace {

constexpr char16_t kZeroSymbol = 0x2400;

// A character of two units stays whole.
bool IsInside(const std::u16string& text, size_t at) {
  return at > 0 && at < text.size() && (text[at] & 0xFC00) == 0xDC00 &&
         (text[at - 1] & 0xFC00) == 0xD800;
}

// The largest of [0, most] that fits, where all below one that fits do too.
size_t Largest(size_t most, const std::function<bool(size_t)>& fits) {
  size_t least = 0;
  while (least < most) {
    const size_t middle = least + (most - least + 1) / 2;
    if (fits(middle)) {
      least = middle;
    } else {
      most = middle - 1;
    }
  }
  return least;
}

}  // namespace

std::u16string ShownText(std::string_view shown) {
  std::u16string text = WideOfText(shown);
  std::replace(text.begin(), text.end(), u'\0', kZeroSymbol);
  return text;
}

std::u16string FitPath(const std::u16string& path, int room,
                       const std::function<int(const std::u16string&)>& width) {
  constexpr char16_t kCut[] = u"...";
  if (width(path) <= room) return path;
  size_t start =
      Largest(path.size(), [&](size_t units) { return width(path.substr(0, units)) <= room / 3; });
  if (IsInside(path, start)) --start;
  const std::u16string head = path.substr(0, start) + kCut;
  size_t end = Largest(path.size() - start, [&](size_t units) {
    return width(head + path.substr(path.size() - units)) <= room;
  });
  if (IsInside(path, path.size() - end)) --end;
  return end == 0 ? path : head + path.substr(path.size() - end);
}

}  // namespace hivequarry
