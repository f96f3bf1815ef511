// Being offered by "Open with" of the system's folders: a key of the user's own registry, which is
// written when the user asks for it, and never else.
#pragma once

#include <string>

namespace hivequarry {

// True when the registry of the user has this program, by its full name, under
// "HKCU\Software\Classes\Applications". Another copy of it may be there instead.
bool IsInOpenWith(const std::wstring& program);
// Puts it there, in place of any other copy, or takes it out. Only a key that is this program's own
// is ever removed. Nothing is written where all is so already. False when the registry refused.
bool SetInOpenWith(const std::wstring& program, bool offered);

}  // namespace hivequarry
