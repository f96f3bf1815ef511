// The system that the program runs on, and the files that are beside the program.
#pragma once

#include <cstdint>
#include <string>

namespace hivequarry {

// Which system the program runs on, as it tells of itself.
struct SystemFlags {
  // 95 and 98; Millennium has its own flag alone.
  bool family_9x = false;
  bool windows_95 = false;
  bool windows_98 = false;
  bool millennium = false;
  bool family_nt = false;
  bool nt3 = false;
  bool nt4 = false;
  bool windows_2000 = false;
  bool xp_class = false;  // and everything later
  bool vista = false;     // likewise
};
// What a version says; nothing is set for an unknown platform (1: Windows 9x, 2: NT).
SystemFlags FlagsOfVersion(uint32_t platform, uint32_t major, uint32_t minor);
inline bool IsKnown(const SystemFlags& flags) {
  return flags.family_9x || flags.millennium || flags.family_nt;
}
// How many live hives there are to be backed up.
inline int LiveHives(const SystemFlags& flags) { return flags.vista ? 9 : 7; }

// Texts are UTF-8; folders are without a separator at the end and are empty where the system
// names none.
struct SystemFacts {
  SystemFlags flags;
  bool emulated = false;  // a 32-bit process on a 64-bit system
  std::string documents;  // of the user
  std::string profile;
  std::string roaming;  // of settings, in the profile
  std::string windows;
  std::string system;
};
// Asks the system.
SystemFacts ReadSystemFacts();

// One for the process, made at its start.
struct Program {
  SystemFacts facts;
  std::string settings_file;  // empty: nothing is read or written
  std::string bookmark_file;
  std::string help_file;
  bool in_recent = false;  // hives that are opened join the system's recent documents
};
// Filled before any window is made; only read from then on, by any thread.
Program& TheProgram();
// The files beside the program at `path`; where nothing can be written there, settings and
// bookmarks in the profile (FolderOfFiles), with what is beside the program to begin with.
void NameProgramFiles(const std::string& path, Program& program);
// True when a file can be made in a folder (UTF-8), and the settings that are there can be changed.
// Makes one for a moment.
bool CanWriteIn(const std::string& folder);
// Puts the program's files into the profile.
void UseProfile(const std::string& path, Program& program);

}  // namespace hivequarry
