// What the core asks of its surroundings. The front end sets one table of functions at start-up:
// the desktop program fills it with windows, the console program with stderr, the tests with a
// recorder. Everything below the front ends reaches the user through this table alone.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace hivequarry {

enum class Icon { kNone, kInformation, kExclamation, kQuestion, kStop };
// kYesNoDefaultNo: return answers "No".
enum class Buttons { kOk, kOkCancel, kYesNo, kYesNoCancel, kYesNoDefaultNo };
enum class Answer { kOk, kCancel, kYes, kNo };

// The title of most message boxes.
inline constexpr const char* kProgramName = "Hivequarry";

// The single-byte code page in which names and texts are held. Bytes and UTF-16 units map one to
// one, or not at all.
struct CodePage {
  std::array<char16_t, 256> wide_of_byte{};
  // Indexed by UTF-16 unit; 0 where no byte stands for the unit (unit 0 itself maps to byte 0).
  std::vector<uint8_t> byte_of_wide = std::vector<uint8_t>(0x10000);
  bool ascii = false;  // the bytes and units below 0x80 stand for each other; by CompleteCodePage
};

// What the machine's account database says of a SID.
struct AccountAnswer {
  enum Outcome : uint8_t {
    kFound,
    kUnknown,  // no account has this SID
    kFailed,   // the database could not be asked
  };
  Outcome outcome = kUnknown;
  std::string domain;  // code-page text; either may be empty
  std::string name;
  int kind = 8;  // as the system numbers kinds of accounts, 1 (user) to 8 (unknown)
};

// Texts are single-byte code-page text, but for file names, which are UTF-8. All functions may be
// called from any thread; none is null in a table given to SetHost.
struct Host {
  void* context = nullptr;  // handed back as the first argument of every function

  // Shows a modal box and returns the button chosen (kOk where there is nothing to choose).
  Answer (*message)(void* context, const char* text, const char* title, Icon icon,
                    Buttons buttons) = nullptr;
  // Replaces the status line; an empty text clears it.
  void (*status)(void* context, const char* text) = nullptr;
  // Shows a progress bar of `steps` steps at 0; 0 steps hides it again.
  void (*progress_range)(void* context, uint32_t steps) = nullptr;
  // Moves the bar to `position` of the range given last.
  void (*progress_position)(void* context, uint32_t position) = nullptr;
  void (*wait_cursor)(void* context, bool on) = nullptr;
  void (*beep)(void* context) = nullptr;
  // The main window's title names the hive; the window handle in it is the front end's business.
  void (*hive_title)(void* context, const std::string& file_name) = nullptr;
  // Puts plain text on the clipboard; false when that fails.
  bool (*clipboard)(void* context, std::string_view text) = nullptr;
  // Starts another copy of the program. `arguments` follow the program's own quoted name and a
  // blank; false when the process could not be made.
  bool (*launch)(void* context, const std::string& arguments) = nullptr;
  // A UTC FILETIME (100-ns units since 1601) as local time in the same unit.
  uint64_t (*local_time)(void* context, uint64_t utc) = nullptr;
  // A key by which texts sort as the user's language has it, width of characters ignored and case
  // heeded: two keys, compared byte by byte, compare as their texts do.
  std::string (*sort_key)(void* context, std::string_view text) = nullptr;
  // Looks a valid binary SID up among the accounts that this machine knows.
  AccountAnswer (*account)(void* context, std::span<const uint8_t> sid) = nullptr;
  // Owned by the front end, lives as long as the table.
  const CodePage* code_page = nullptr;
};

// The table in force. Before the first SetHost it is the null host: messages answer kNo (kOk where
// only that is offered), everything else does nothing, time is UTC, the code page is
// WesternCodePage(), letters sort alphabetically, no account is known.
const Host& CurrentHost();
void SetHost(const Host& host);
Host NullHost();

// Windows-1252, the code page of the front ends that have no system code page to ask.
const CodePage& WesternCodePage();
// Completes `page.byte_of_wide` from `page.wide_of_byte`; the lowest byte wins where two share a
// unit.
void CompleteCodePage(CodePage& page);

// Shorthands over CurrentHost().
Answer ShowMessage(const char* text, const char* title, Icon icon, Buttons buttons = Buttons::kOk);
void ShowStatus(const char* text);

// Converts to and from the code page in force: one UTF-16 unit to one byte, '?' where none fits.
char NarrowUnit(char16_t unit);
std::string NarrowText(std::u16string_view wide);
std::u16string WidenText(std::string_view narrow);

// Encodings that lose nothing. A lone surrogate becomes U+FFFD in UTF-8.
std::string Utf8FromWide(std::u16string_view wide);
// Names may hold surrogates without their other halves. Here they are encoded like other units,
// which UTF-8 forbids: for writers that can say what they are (JSON Lines), all others take them
// for U+FFFD.
std::string GeneralUtf8FromWide(std::u16string_view wide);
// What lists show for a lone surrogate: "?{D83D}".
std::string LoneSurrogateText(char16_t unit);
// True for unit `at` (a byte number, even) of UTF-16 bytes when it is a surrogate without its half.
bool IsLoneSurrogate(const uint8_t* bytes, size_t size, size_t at);
std::u16string WideFromUtf8(std::string_view utf8);
// Code-page text as UTF-8.
std::string Utf8FromNarrow(std::string_view narrow);

}  // namespace hivequarry
