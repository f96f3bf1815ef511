// The kinds of windows that are dressed; within this room.
#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

// How windows of one class are dressed. On the interface thread.
struct DressKind {
  const wchar_t* name;  // of the window class
  // For what the control keeps itself. It may have been in other colours before.
  void (*put_on)(HWND window, bool dark);
  // In dark, before the window's own procedure: whether `answer` is all that is to be done.
  bool (*route)(HWND window, UINT message, WPARAM first, LPARAM second, LRESULT& answer);
};

// Each in the file of its name: frame_dress, button_dress, choice_dress, list_dress, bar_dress.
void PutOnFrame(HWND window, bool dark);
bool RouteFrame(HWND window, UINT message, WPARAM first, LPARAM second, LRESULT& answer);
void PutOnField(HWND window, bool dark);
bool RouteField(HWND window, UINT message, WPARAM first, LPARAM second, LRESULT& answer);
bool RouteLabel(HWND window, UINT message, WPARAM first, LPARAM second, LRESULT& answer);
bool RouteButton(HWND window, UINT message, WPARAM first, LPARAM second, LRESULT& answer);
void PutOnChoice(HWND window, bool dark);
bool RouteChoice(HWND window, UINT message, WPARAM first, LPARAM second, LRESULT& answer);
void PutOnTree(HWND window, bool dark);
void PutOnList(HWND window, bool dark);
bool RouteHeader(HWND window, UINT message, WPARAM first, LPARAM second, LRESULT& answer);
bool RouteToolbar(HWND window, UINT message, WPARAM first, LPARAM second, LRESULT& answer);
bool RouteStatusBar(HWND window, UINT message, WPARAM first, LPARAM second, LRESULT& answer);
bool RouteProgress(HWND window, UINT message, WPARAM first, LPARAM second, LRESULT& answer);
void PutOnTip(HWND window, bool dark);

// What the window itself does about a message.
LRESULT Undressed(HWND window, UINT message, WPARAM first, LPARAM second);

}  // namespace hivequarry
