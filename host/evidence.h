// Files that are looked at and must stay as they are. While a file is kept, OpenFile refuses to
// open it for writing under any of its names (EPERM), and so does everything that writes through
// it.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace hivequarry {

// UTF-8 names. Each call for a file keeps it once more; it is free when all were taken back.
void KeepEvidence(const std::string& name);
void ReleaseEvidence(const std::string& name);
// By the file that the name leads to, not by the name: links and other spellings count. Any thread.
bool IsEvidence(const std::string& name);
// The folders that these files are in, each once, whole paths. Any thread.
std::vector<std::string> EvidenceFolders();

// What no output takes the place of, whatever the user says: evidence; the names of its logs
// (log_files.h), there or not; and a regular file that
// begins as a hive or a hive's log.
bool IsProtected(const std::string& name);

// True when the stream writes into the file of that name (UTF-8), or into one of its logs, as a
// shell that redirects output has it.
bool WritesInto(std::FILE* stream, const std::string& name);
// True when the stream and the name lead to one file.
bool IsSameFile(std::FILE* stream, const std::string& name);

}  // namespace hivequarry
