// The raw view: the fields of one record in a list window, and the way along its offsets.
#pragma once

#include <cstdint>

namespace hivequarry {

struct ListPlace;
struct MainWindow;

// Opens the record that holds an image position in a window of its own; null, after a message, when
// there is none.
ListPlace* OpenRawView(MainWindow& window, uint32_t position);

// Of the selected key, of the selected value, and of a position that the user is asked for.
void OnRawKey(MainWindow& window);
void OnRawValue(MainWindow& window);
void OnRawPosition(MainWindow& window);

// In a raw view: shows the record that the focused field leads to, in the same window; a beep where
// it leads to no record. And back to the record from which that one was come to.
void OnFollowRecord(ListPlace& place);
void OnPreviousRecord(ListPlace& place);

// In a list of faults: opens the record of the focused row.
void OnListRawRecord(ListPlace& place);

}  // namespace hivequarry
