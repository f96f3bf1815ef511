// Data as text that a user types, and back: what the editors of values are made of. Texts are
// UTF-16, so that nothing is lost and positions in them are those of an edit control.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace hivequarry {

// Why a text is no data: where, and in a word or two what. The words are in value_input.cpp.
struct InputError {
  size_t position = 0;  // of the unit at fault; the text's length where something is missing
  const char* word = "";
};
using InputData = std::optional<std::vector<uint8_t>>;

// What a user types for data of a type.
enum class InputForm {
  kText,    // REG_SZ, REG_EXPAND_SZ: stored with a zero after it
  kLines,   // REG_MULTI_SZ: a string a line, none of them empty; a last line end is not needed
  kNumber,  // REG_DWORD, either byte order, and REG_QWORD: decimal, or hexadecimal after "0x"
  kBytes,   // all others: hexadecimal
};
InputForm FormOfType(uint32_t type);

// The data that a text in the type's form means. Empty after an error, which is then filled; data
// of kMaxValueData bytes or more are one.
// Numbers are stored in the type's byte order and length; one that does not fit is an error.
InputData DataOfInput(uint32_t type, std::u16string_view text, InputError& error);
// Hexadecimal bytes of two digits, a lone digit too; blanks, tabs, commas, semicolons and line ends
// may be between them, and nothing need.
InputData BytesOfInput(std::u16string_view text, InputError& error);

struct InputText {
  std::u16string text;
  // The text means just these data. False for data that the form can't say: a string without its
  // end zero or with zeros inside, a number of another length. They are whole as bytes only.
  bool exact = false;
};
// The text in the type's form for data; numbers are hexadecimal unless `decimal`. Of data that the
// form can't say as much as a user may read: a string up to its first zero, no number.
// With `exact` DataOfInput of the text gives the same bytes back.
InputText InputOfData(uint32_t type, std::span<const uint8_t> data, bool decimal = false);
// "0a ff 10", sixteen bytes a line ("\r\n" between lines).
std::u16string InputOfBytes(std::span<const uint8_t> data);

}  // namespace hivequarry
