// One command over several files: each of them in a process of its own, so that none can take the
// others with it, and what they print as one output.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "cli/hive_files.h"
#include "cli/print_list.h"

namespace hivequarry {

// What "-r", "--files" and "-j" ask for.
struct ManyFiles {
  bool asked = false;
  std::vector<std::string> folders;
  std::vector<std::string> names;  // "-": names from the standard input
  uint32_t jobs = 2;
  bool wrong = false;  // an option without what belongs to it
};
// Takes these options out of a command line. "-r" is followed by a folder, "--files" by names up to
// the next option or the end.
ManyFiles TakeManyFiles(std::vector<std::string>& arguments);
// All files that are asked for as hives, each once, with the logs in the folders and what can't be
// read.
HivesOfFolder FilesOf(const ManyFiles& many);

// What RunForFiles runs: one process of this program for each file, so that what one damaged hive
// costs no other one pays for.
struct ManyRuns {
  std::vector<std::string> files;
  std::vector<std::string> arguments;   // of the command, without the file and without "-o"
  size_t place = 0;                     // in them, before which the file's name belongs
  std::vector<std::string> found_logs;  // in the folders
  // By file: logs that are its own by what they hold, where their names do not say so.
  std::map<std::string, std::vector<std::string>> logs;
  uint32_t jobs = 2;
  bool progress = false;
  bool quiet = false;
};
// Runs the command for each file, `jobs` of them at a time, and prints what they print in the order
// of the files: of lists in text, CSV and JSON Lines each row has the file's name. One that fails
// is told of, and the others go on. The worst exit status of all.
int RunForFiles(const ManyRuns& runs, const Printing& printing);

}  // namespace hivequarry
