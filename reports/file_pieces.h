// A file that holds more than one clean hive: the runs of blocks in it, its root cells, and cutting
// it into pieces.
#pragma once

#include <cstdint>
#include <string>

#include "hive/image.h"
#include "hive/key_tree.h"
#include "host/file_reading.h"
#include "lists/output_list.h"

namespace hivequarry {

// Runs of consecutive blocks in a file (UTF-8 name), whole, wherever they are: a row each with
// the positions in the file of its first and last byte, its size, and an empty file column. The
// list's source is the file. What the medium did not give is in `unread`. Null when the file can't
// be opened. Ends early when the user stops.
// - A block's header has a size and an offset of its own that are multiples of 4096, the size not
// 0.
// - A run goes on as long as each block ends where the next begins. A header inside a block that
//   nothing follows belongs to the run when both say the same of where they were; else the block
//   was cut off there and another run begins.
// - A block that begins a data area (its own offset is 0) begins a run.
// - A base block right before a run belongs to it.
OutputListPtr ListBlockRuns(const std::string& file, UnreadBytes& unread);

// Of the first that went wrong; nothing was written after it.
enum class SplitFault : uint8_t {
  kNone,
  kCannotOpen,    // the source
  kNoName,        // no series of names is left
  kCannotCreate,  // the piece `file`, at which the run ended
};
struct SplitResult {
  bool whole = false;  // pieces were written, all of them whole
  SplitFault fault = SplitFault::kNone;
  std::string file = {};  // UTF-8; with kCannotCreate alone
};
// Writes each row's range of the list's source into a file of its own, named after the source
// ("NAME.sp_01", or the next series of names of which none is taken), and fills in the rows' file
// column. What could not be read of it is zeros, and its piece not whole. What counts of a row are
// the decimal numbers in parentheses of its first two columns. With a `folder` (UTF-8) the pieces
// go there under the source's base name. No existing file is ever overwritten, and no piece is left
// that could not be written to its end. A row whose range can not be ends the run, pieces written
// before stay.
SplitResult SplitFile(OutputList& list, const std::string& folder = std::string());

// The root key cells that the image's buffer holds, a row each by position: the root of this tree,
// and every allocated cell with a root's flags and room for its name, also after the place where
// the image was cut because another hive begins there. A root is valid when its cell is a key's and
// the first of a block that begins a data area and, if it counts subkeys, a list is where, from
// that block on, its list should be. A row's datum is the image position of the cell.
OutputListPtr ListRootKeys(const HiveImage& hive, const KeyTree& tree);

}  // namespace hivequarry
