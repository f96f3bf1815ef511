// Printing an Output List in one of the console program's formats.
#pragma once

#include <functional>
#include <string>

#include "lists/list_writers.h"
#include "lists/output_list.h"

namespace hivequarry {

// Text, CSV and JSON Lines are UTF-8. A Report List is in the code page where all of it fits, else
// UTF-8 with a mark.
enum class Format { kText, kCsv, kJsonLines, kReport };

// One line on stderr, under the program's name.
void Complain(const std::string& text);

// Where to, and how. A file appears only when it is whole.
struct Printing {
  Format format = Format::kText;
  std::string file;                 // UTF-8; empty: stdout
  bool force = false;               // an existing file may be replaced
  bool raw_text = false;            // without escapes of control characters
  bool csv_safe = false;            // no cell of CSV is a formula
  const HiveImage* hive = nullptr;  // that the rows speak of, if any
};

// On failure false after a message, and the file holds what it held before.
bool PrintList(const OutputList& list, const Printing& printing);

// The same for a list that is empty and gets its rows from `make`: none is kept, but for a Report
// List.
bool PrintMadeList(OutputList& list, const RowMaker& make, const Printing& printing);

// The same for a text as it is.
bool PrintText(const std::string& text, const Printing& printing);
// The same for what `write` hands to the sink, piece by piece; it returns false when that is not to
// be kept.
bool PrintPieces(const std::function<bool(const TextSink& sink)>& write, const Printing& printing);

// False after a message where the file would be refused, so that nobody waits for that.
bool MayPrint(const Printing& printing);

}  // namespace hivequarry
