// SHA-256, for saying which bytes were looked at.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "bytes/byte_view.h"

namespace hivequarry {

// A hash under way.
struct Sha256 {
  std::array<uint32_t, 8> state = {0x6A09E667, 0xBB67AE85, 0x3C6EF372, 0xA54FF53A,
                                   0x510E527F, 0x9B05688C, 0x1F83D9AB, 0x5BE0CD19};
  std::array<uint8_t, 64> block{};  // begun
  uint64_t length = 0;              // bytes so far
};
// Bytes may come in pieces of any length; the hash is that of all of them in a row. One thread at a
// time for one hash.
void AddToSha256(Sha256& hash, ByteView bytes);
// The hash in 64 small hexadecimal digits; nothing may be added afterwards.
std::string EndSha256(Sha256& hash);
// The same of bytes that are all at hand.
std::string Sha256Text(ByteView bytes);

// Which way blocks are mixed: the processor's own instructions where it has them. The tests hold
// one against the other.
struct Sha256Ways {
  bool portable = false;  // not with those instructions
};
// Set by tests before any hash is under way; a change while another thread hashes is a race.
Sha256Ways& TheSha256Ways();

}  // namespace hivequarry
