// Profile files: sections of "key=value" lines, the form of the settings file and of the head of a
// Report List. Section and key names compare without regard to case; the first section of a name
// and the first key in it count; a value loses blanks around it and one pair of quotes. Lines that
// begin with ";" are comments. Texts are taken as they are, whatever their encoding.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace hivequarry {

// The value of a key in the text of a profile file, at most `limit` characters of it; `missing`
// when there is no such key.
std::string ProfileValue(std::string_view text, std::string_view section, std::string_view key,
                         std::string_view missing, size_t limit);
// Sets a key in the text of a profile file, leaving everything else in it as it is. A new key goes
// after the last one of its section, a new section to the end.
void SetProfileValue(std::string& text, std::string_view section, std::string_view key,
                     std::string_view value);
// A value as it is written: in quotes when it would lose quotes or blanks else, line ends as
// blanks.
std::string ProfileText(std::string_view value);

// As ProfileValue, from a file (UTF-8 name); the first MiB of the file counts.
std::string ReadProfile(const std::string& file, const char* section, const char* key,
                        const char* missing, size_t limit);
// As SetProfileValue; makes the file where there is none. False on failure, and for a file of more
// than a MiB.
bool WriteProfile(const std::string& file, const char* section, const char* key,
                  const std::string& value);

}  // namespace hivequarry
