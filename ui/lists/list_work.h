// Long operations on a list of the screen.
#pragma once

#include <functional>

#include "ui/lists/list_place.h"
#include "ui/main/work.h"

namespace hivequarry {

// Timers of the list control.
inline constexpr UINT_PTR kWatchTimer = 1;   // looks at what a worker has done so far
inline constexpr UINT_PTR kStatusTimer = 2;  // removes a status text
inline constexpr UINT_PTR kSelectTimer = 3;  // selects the next of very many rows
inline constexpr UINT_PTR kColumnTimer = 4;  // hides columns again
// The place of a list control.
ListPlace& PlaceOfControl(HWND list);

// As StartWork, for work on the place's list: until `done` is called the model and the order of its
// rows stay as they are, but for rows that are added. A list window that is closed meanwhile goes
// when the worker has ended, without `done`.
bool StartListWork(ListPlace& place, int code, std::function<void()> work,
                   std::function<void()> done);

// Fills the list that is shown, empty as yet, on a worker. Rows appear as they come; the settings
// say whether they are numbered and whether the list is put in order at the end.
bool FillList(ListPlace& place, int code, std::function<void(OutputList& list)> fill,
              std::function<void()> done = nullptr);

// A text in the status bar of the list; an empty one removes it.
void ShowPlaceStatus(const ListPlace& place, const char* text);
// One that goes by itself after two seconds.
void ShowPassingStatus(const ListPlace& place, const char* text);
// Brings counts, buttons and title around the list up to date.
void PlaceChanged(ListPlace& place);

}  // namespace hivequarry
