// Files that are looked at and must stay as they are. While a file is kept, OpenFile refuses to open
// it for writing under any of its names (EPERM), and so does everything that writes through it.
#pragma once

#include <string>

namespace hivequarry {

// UTF-8 names. Each call for a file keeps it once more; it is free when all were taken back.
void KeepEvidence(const std::string& name);
void ReleaseEvidence(const std::string& name);
bool IsEvidence(const std::string& name);

}  // namespace hivequarry
