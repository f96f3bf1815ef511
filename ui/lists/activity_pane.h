// The picture of activity over time above the rows of a list window. Dragging over it picks a range
// and shows the rows of that range alone.
#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

struct ListPlace;

// Makes the pane of a list window, hidden; null when it can't be had. It goes with the window.
HWND MakeActivityPane(ListPlace& place, int identifier);
// True for lists whose rows have times.
bool HasActivity(const ListPlace& place);
// Whether the picture is there: of a timeline and of key dates by itself, else once it was asked
// for.
bool ShowsActivity(const ListPlace& place);
// Reads the rows' times, on a worker, when they are others than those of the picture. For when
// something of the list changed.
void FollowActivity(ListPlace& place);
// Ends a drag without picking a range; false when there was none.
bool CancelDrag(const ListPlace& place);
// All rows are shown again.
void ForgetPickedRange(const ListPlace& place);
// The pane does not own the font, which must outlive it or be replaced.
void SetActivityFont(HWND pane, HFONT font);

// Commands of a list; called when guard and needs allow it.
//
// Shows or hides the picture.
void OnActivity(ListPlace& place);
// As PNG or SVG, by the file's name.
void OnSavePicture(ListPlace& place);

}  // namespace hivequarry
