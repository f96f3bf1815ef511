// What saving and replacing the running system's hives had to say or to ask, in words.
#pragma once

#include <string>

#include "live/live_hives.h"
#include "live/replace.h"

namespace hivequarry {

// The run tells and asks its user in message boxes.
void SpeakInMessages(HiveRun& run);
// Nobody is there: what it tells is appended to "hivequarry.err" in the folder, or to
// "hivequarry.ok" when it is done; an entry is lost when the file can't be opened. Every question
// is answered "No", and is an entry too.
void SpeakInLogs(HiveRun& run, const std::string& folder);

// Whether the folder is on the system's drive, and the user wants its files in the hives' places;
// says why not.
bool MayReplace(const std::string& folder, const SystemPlaces& places);

}  // namespace hivequarry
