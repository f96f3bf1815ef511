// Lists of several files as one output.
#pragma once

#include <string>
#include <string_view>

#include "cli/print_list.h"

namespace hivequarry {

// Adds the file's name to each row of what was printed of a file, as its first cell: "File", or
// "Hive File" where the list has files in its rows. `printing` and `sink` must live as long.
class FileLabels {
 public:
  FileLabels(const Printing& printing, const TextSink& sink) : printing_(printing), sink_(sink) {}

  // Around what was printed of one file: its name, in UTF-8, is that of all rows up to the end. End
  // hands on what is left; false when the sink refused.
  void Begin(const std::string& file);
  // The next piece of the file's output. False when the sink refused.
  bool Add(std::string_view text);
  bool End();

 private:
  // What is printed is taken apart as it comes, piece by piece: lines of text and of CSV, of which
  // a field in quotes may have line ends, and objects of JSON Lines.
  bool Flush();
  void AddCharacter(char c);
  void EndLine();
  void EndRecord();
  void EndObject();
  void EndText();
  std::string FileCell() const;

  const Printing& printing_;
  const TextSink& sink_;
  std::string file_;
  std::string line_;    // not yet complete
  std::string out_;     // not yet handed on
  std::string titles_;  // of CSV, those that were written last
  bool in_quotes_ = false;
  bool in_row_ = false;  // of text
  bool rows_ = false;    // of text: the lines before them are over
  bool titled_ = false;  // of CSV: the line of titles is over
  bool said_ = false;    // any run did say something
  bool apart_ = false;   // an empty line comes before what is next
};

}  // namespace hivequarry
