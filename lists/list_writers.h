// An Output List as text, CSV and JSON Lines. Text is "\r\n"-ended code-page text; CSV (RFC 4180
// with a header line) and JSON Lines are UTF-8.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "lists/output_list.h"

namespace hivequarry {

// Takes the next piece of output; false ends the writing.
using TextSink = std::function<bool(std::string_view)>;

// The whole list. Nothing is written for a list without columns or rows. False when the sink
// refused or the user stopped.
bool WriteListText(const OutputList& list, const TextSink& sink);
bool WriteListCsv(const OutputList& list, const TextSink& sink);
// One object a row: the column titles as keys, then "Offset", "LastWrite", "Path", "Name" and
// "Bytes" as far as the row has them.
bool WriteListJsonLines(const OutputList& list, const TextSink& sink);

// A UTF-8 text as a JSON string, with its quotes. Bytes that are no UTF-8 become U+FFFD.
std::string JsonString(std::string_view utf8);

}  // namespace hivequarry
