#include "ui/draw/text_size.h"

namespace hivequarry {
namespace {

// The screen, with a font to measure in.
struct Measuring {
  explicit Measuring(HFONT font) : dc(GetDC(nullptr)), before(SelectObject(dc, font)) {}
  ~Measuring() {
    SelectObject(dc, before);
    ReleaseDC(nullptr, dc);
  }
  Measuring(const Measuring&) = delete;
  Measuring& operator=(const Measuring&) = delete;

  const HDC dc;
  const HGDIOBJ before;
};

}  // namespace

std::wstring TextOfControl(HWND control) {
  // The length may be told too large, so what has come is what counts.
  std::wstring text(static_cast<size_t>(GetWindowTextLengthW(control)) + 1, L'\0');
  text.resize(
      static_cast<size_t>(GetWindowTextW(control, text.data(), static_cast<int>(text.size()))));
  return text;
}

HFONT FontOfControl(HWND control) {
  const auto font = reinterpret_cast<HFONT>(SendMessageW(control, WM_GETFONT, 0, 0));
  return font != nullptr ? font : static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
}

SIZE TextSize(HFONT font, const std::wstring& text) {
  const Measuring on(font);
  SIZE size{};
  GetTextExtentPoint32W(on.dc, text.c_str(), static_cast<int>(text.size()), &size);
  return size;
}

std::vector<int> TextEnds(HFONT font, const std::wstring& text) {
  const Measuring on(font);
  std::vector<int> ends(text.size());
  SIZE size{};
  GetTextExtentExPointW(on.dc, text.c_str(), static_cast<int>(text.size()), 0, nullptr, ends.data(),
                        &size);
  return ends;
}

int LineHeight(HFONT font) {
  const Measuring on(font);
  TEXTMETRICW metrics{};
  GetTextMetricsW(on.dc, &metrics);
  return metrics.tmHeight;
}

}  // namespace hivequarry
