#include "bytes/sha256.h"

#include <gtest/gtest.h>

namespace hivequarry {
namespace {

struct Case {
  std::string text;
  const char* hash;
};

// The vectors of the standard.
const Case kCases[] = {
    {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
    {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
    {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
     "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
    {"abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnopqklmnopqrlmno"
     "pqrsmnopqrstnopqrstu",
     "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1"},
    {std::string(1000000, 'a'), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
};

TEST(Sha256Test, VectorsBothWays) {
  for (const bool portable : {false, true}) {
    TheSha256Ways().portable = portable;
    for (const Case& each : kCases) {
      const ByteView bytes(reinterpret_cast<const uint8_t*>(each.text.data()), each.text.size());
      EXPECT_EQ(Sha256Text(bytes), each.hash) << portable;
      Sha256 pieces;  // of lengths that fit no block
      for (size_t at = 0; at < bytes.size(); at += 37) {
        AddToSha256(pieces, PartOf(bytes, static_cast<uint32_t>(at), 37));
      }
      EXPECT_EQ(EndSha256(pieces), each.hash) << portable;
    }
  }
  TheSha256Ways().portable = false;
}

}  // namespace
}  // namespace hivequarry
