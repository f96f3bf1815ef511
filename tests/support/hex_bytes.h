// What tests of the hex edit's model and of its control share.
#pragma once

#include <ostream>

#include "tests/support/hive_builder.h"
#include "view/hex_view.h"

namespace hivequarry {

inline void PrintTo(const HexCaret& caret, std::ostream* out) {
  *out << caret.position << (caret.low ? " low, from " : ", from ") << caret.anchor;
}
inline void PrintTo(const HexRange& range, std::ostream* out) {
  *out << range.start << "-" << range.end;
}

namespace testing {

// The bytes 00, 01, 02, ..., after FF from 00 again.
inline Bytes Counting(size_t count) {
  Bytes bytes(count);
  for (size_t i = 0; i < count; ++i) bytes[i] = static_cast<uint8_t>(i);
  return bytes;
}

}  // namespace testing
}  // namespace hivequarry
