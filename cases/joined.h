// What the hives of a machine say of one thing in different words: a device by its serial number, a
// volume by its GUID, letter or share, a user by SID or name, a program by its path.
//
// Things are one where their names are the same text, but for case and for what is named below;
// nothing else is taken for granted. Each row names the row of evidence that it rests on.
#pragma once

#include <span>

#include "cases/html_report.h"
#include "lists/output_list.h"

namespace hivequarry {

// Of lists of decoders, by the ids of their sections (the decoders' names), and of the section
// "files". Told is what two lists or two files say at least: a row each, sorted by what it is and
// its name, then in the order of the lists.
// - Of a serial number the instance after its last "&" is left out.
// Where live rows about one thing have different texts for what it has one of (a program's SHA-1
// and size, a user's folder), a row "contradiction" after them names each text with a row that says
// so.
// - Of a path "\??\" and quotes are left out, and what follows the ending ".exe", ".dll" or ".sys".
OutputListPtr JoinLists(std::span<const HtmlSection> sections);

}  // namespace hivequarry
