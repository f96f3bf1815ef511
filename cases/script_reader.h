// Registry scripts read: "REGEDIT4", text of the code page in force, and "Windows Registry Editor
// Version 5.00", UTF-16 with a mark (or plain text). What an import would do is handed on line by
// line, with nothing applied.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace hivequarry {

// True when a file that begins so is a registry script of one of the two forms.
bool IsScriptStart(std::string_view bytes);

enum class ScriptAct : uint8_t { kKey, kDeleteKey, kValue, kDeleteValue };
// One line, or several that belong together.
struct ScriptLine {
  ScriptAct act = ScriptAct::kKey;
  std::string name;           // path of the key, or name of the value; empty for the default value
  uint32_t type = 0;          // of a value
  std::vector<uint8_t> data;  // texts are UTF-16, as hives have them
};
struct ScriptRead {
  bool script = false;     // the first line is that of a script
  uint32_t bad_lines = 0;  // lines that say nothing that an import knows; passed over
  uint32_t first_bad = 0;  // number of the first of them, from 1
};
// Reads a whole file's bytes. Values before the first key are bad lines.
// `take` may move from what it gets. Linear in the bytes.
ScriptRead ReadScript(std::string_view bytes, const std::function<void(ScriptLine&)>& take);

}  // namespace hivequarry
