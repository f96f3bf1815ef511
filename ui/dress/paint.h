// Drawing controls; within this room.
#pragma once

#include <string>

#include "ui/draw/text_size.h"
#include "ui/draw/tones.h"
#include "ui/draw/win.h"

namespace hivequarry {

// What is drawn from here on leaves the visible children of a window alone.
void KeepOutOfChildren(HWND window, HDC dc);

// Answers WM_PAINT: `draw` gets a device context that has the control's font, draws without a
// background, and is shown at once when it returns.
template <typename Draw>
void PaintWindow(HWND window, const Draw& draw) {
  PAINTSTRUCT paint;
  const HDC screen = BeginPaint(window, &paint);
  RECT area;
  GetClientRect(window, &area);
  KeepOutOfChildren(window, screen);
  HDC dc = nullptr;
  const HPAINTBUFFER buffer =
      BeginBufferedPaint(screen, &area, BPBF_COMPATIBLEBITMAP, nullptr, &dc);
  if (buffer == nullptr) dc = screen;
  const HGDIOBJ previous = SelectObject(dc, FontOfControl(window));
  SetBkMode(dc, TRANSPARENT);
  draw(dc, area);
  SelectObject(dc, previous);
  if (buffer != nullptr) EndBufferedPaint(buffer, TRUE);
  EndPaint(window, &paint);
}

// `format` of DrawTextW.
void DrawWords(HDC dc, const std::wstring& words, RECT area, Tone tone, UINT format);
// A filled box with a line round it.
void DrawField(HDC dc, const RECT& area, Tone ground, Tone edge);
// A triangle that points down (or up) in the middle of an area.
void DrawTriangle(HDC dc, const RECT& area, int half, bool up, Tone tone);
// What the frame of a control without a title bar is drawn with.
void DrawFrameEdge(HWND window);
// Whether the window shows where the focus is, or underlines keys of access.
bool ShowsFocus(HWND window);
bool ShowsKeys(HWND window);

}  // namespace hivequarry
