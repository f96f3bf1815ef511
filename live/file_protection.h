// Who may read the files that hold saved hives. Without this a file takes over the rights of its
// folder, and with them anybody may get at password hashes and other users' keys.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace hivequarry {

// A self-relative descriptor: administrators and the system have every right, nobody else any, and
// nothing is inherited.
std::span<const uint8_t> AdministratorsAlone();

// Gives it to a file that is there (UTF-8 name). False where that is refused, by a drive that keeps
// no rights for one.
bool ProtectFile(const std::string& file);

// Copies a file to a new place, where it may be written; it is protected while it is still empty,
// as far as that can be. False with nothing of it left.
bool CopyProtected(const std::string& from, const std::string& to);

// What is said when it was false for files in a folder.
std::string UnprotectedText(const std::string& folder);

}  // namespace hivequarry
