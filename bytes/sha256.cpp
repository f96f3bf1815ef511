#include "bytes/sha256.h"

#include <algorithm>
#include <bit>
#include <cstring>

#if defined(__x86_64__)
#include <cpuid.h>
#include <immintrin.h>
#endif

namespace hivequarry {
namespace {

constexpr size_t kBlock = 64;

// The first 32 bits of the fractions of the cube roots of the first 64 primes.
alignas(16) constexpr uint32_t kRounds[64] = {
    0x428A2F98, 0x71374491, 0xB5C0FBCF, 0xE9B5DBA5, 0x3956C25B, 0x59F111F1, 0x923F82A4, 0xAB1C5ED5,
    0xD807AA98, 0x12835B01, 0x243185BE, 0x550C7DC3, 0x72BE5D74, 0x80DEB1FE, 0x9BDC06A7, 0xC19BF174,
    0xE49B69C1, 0xEFBE4786, 0x0FC19DC6, 0x240CA1CC, 0x2DE92C6F, 0x4A7484AA, 0x5CB0A9DC, 0x76F988DA,
    0x983E5152, 0xA831C66D, 0xB00327C8, 0xBF597FC7, 0xC6E00BF3, 0xD5A79147, 0x06CA6351, 0x14292967,
    0x27B70A85, 0x2E1B2138, 0x4D2C6DFC, 0x53380D13, 0x650A7354, 0x766A0ABB, 0x81C2C92E, 0x92722C85,
    0xA2BFE8A1, 0xA81A664B, 0xC24B8B70, 0xC76C51A3, 0xD192E819, 0xD6990624, 0xF40E3585, 0x106AA070,
    0x19A4C116, 0x1E376C08, 0x2748774C, 0x34B0BCB5, 0x391C0CB3, 0x4ED8AA4A, 0x5B9CCA4F, 0x682E6FF3,
    0x748F82EE, 0x78A5636F, 0x84C87814, 0x8CC70208, 0x90BEFFFA, 0xA4506CEB, 0xBEF9A3F7, 0xC67178F2};

using State = std::array<uint32_t, 8>;

// SHA-256 counts in words whose highest byte comes first.
uint32_t WordAt(const uint8_t* at) { return __builtin_bswap32(LoadU32(at)); }

// The compression function as FIPS 180-4 has it, over `count` blocks of 64 bytes.
void MixPortably(State& state, const uint8_t* blocks, size_t count) {
  for (; count > 0; --count, blocks += kBlock) {
    std::array<uint32_t, 64> words;
    for (size_t i = 0; i < 16; ++i) words[i] = WordAt(blocks + 4 * i);
    for (size_t i = 16; i < 64; ++i) {
      const uint32_t near = words[i - 2];
      const uint32_t far = words[i - 15];
      words[i] = words[i - 16] + words[i - 7] +
                 (std::rotr(near, 17) ^ std::rotr(near, 19) ^ near >> 10) +
                 (std::rotr(far, 7) ^ std::rotr(far, 18) ^ far >> 3);
    }
    State s = state;
    for (size_t i = 0; i < 64; ++i) {
      const uint32_t choice = (s[4] & s[5]) ^ (~s[4] & s[6]);
      const uint32_t majority = (s[0] & s[1]) ^ (s[0] & s[2]) ^ (s[1] & s[2]);
      const uint32_t one = s[7] + choice + kRounds[i] + words[i] +
                           (std::rotr(s[4], 6) ^ std::rotr(s[4], 11) ^ std::rotr(s[4], 25));
      const uint32_t two =
          majority + (std::rotr(s[0], 2) ^ std::rotr(s[0], 13) ^ std::rotr(s[0], 22));
      s = {one + two, s[0], s[1], s[2], s[3] + one, s[4], s[5], s[6]};
    }
    for (size_t i = 0; i < 8; ++i) state[i] += s[i];
  }
}

#if defined(__x86_64__)

// Leaf 1, ECX: bit 9 is SSSE3 and bit 19 SSE4.1, which the shuffles need; leaf 7, EBX: bit 29 is
// the SHA extensions.
bool HasInstructions() {
  unsigned a = 0;
  unsigned b = 0;
  unsigned c = 0;
  unsigned d = 0;
  constexpr unsigned kSsse3AndSse41 = 1U << 9 | 1U << 19;
  if (__get_cpuid(1, &a, &b, &c, &d) == 0 || (c & kSsse3AndSse41) != kSsse3AndSse41) return false;
  return __get_cpuid_count(7, 0, &a, &b, &c, &d) != 0 && (b & 1U << 29) != 0;
}

// The instructions hold the state as two halves, "ABEF" and "CDGH", highest word first, and do two
// rounds each.
__attribute__((target("sha,sse4.1"))) void MixByInstructions(State& state, const uint8_t* blocks,
                                                             size_t count) {
  const __m128i swap = _mm_set_epi8(12, 13, 14, 15, 8, 9, 10, 11, 4, 5, 6, 7, 0, 1, 2, 3);
  const auto load = [](const void* at) __attribute__((target("sha,sse4.1"))) {
    return _mm_loadu_si128(static_cast<const __m128i*>(at));
  };
  const auto word = [&state](size_t i) { return static_cast<int>(state[i]); };
  __m128i abef = _mm_set_epi32(word(0), word(1), word(4), word(5));
  __m128i cdgh = _mm_set_epi32(word(2), word(3), word(6), word(7));
  for (; count > 0; --count, blocks += kBlock) {
    const __m128i abef_before = abef;
    const __m128i cdgh_before = cdgh;
    __m128i words[4];  // the last sixteen
    for (size_t i = 0; i < 16; ++i) {
      __m128i& now = words[i % 4];
      if (i < 4) {
        now = _mm_shuffle_epi8(load(blocks + 16 * i), swap);
      } else {
        const __m128i last = words[(i + 3) % 4];
        const __m128i middle = _mm_alignr_epi8(last, words[(i + 2) % 4], 4);
        now = _mm_sha256msg1_epu32(now, words[(i + 1) % 4]);
        now = _mm_sha256msg2_epu32(_mm_add_epi32(now, middle), last);
      }
      __m128i rounds = _mm_add_epi32(now, load(kRounds + 4 * i));
      cdgh = _mm_sha256rnds2_epu32(cdgh, abef, rounds);
      rounds = _mm_shuffle_epi32(rounds, 0x0E);
      abef = _mm_sha256rnds2_epu32(abef, cdgh, rounds);
    }
    abef = _mm_add_epi32(abef, abef_before);
    cdgh = _mm_add_epi32(cdgh, cdgh_before);
  }
  alignas(16) uint32_t halves[8];
  _mm_store_si128(reinterpret_cast<__m128i*>(halves), abef);
  _mm_store_si128(reinterpret_cast<__m128i*>(halves + 4), cdgh);
  state = {halves[3], halves[2], halves[7], halves[6], halves[1], halves[0], halves[5], halves[4]};
}

#else

bool HasInstructions() { return false; }
void MixByInstructions(State& state, const uint8_t* blocks, size_t count) {
  MixPortably(state, blocks, count);
}

#endif

void MixBlocks(State& state, const uint8_t* blocks, size_t count) {
  static const bool instructions = HasInstructions();
  instructions && !TheSha256Ways().portable ? MixByInstructions(state, blocks, count)
                                            : MixPortably(state, blocks, count);
}

}  // namespace

Sha256Ways& TheSha256Ways() {
  static Sha256Ways ways;
  return ways;
}

void AddToSha256(Sha256& hash, ByteView bytes) {
  const size_t begun = hash.length % kBlock;
  hash.length += bytes.size();
  if (begun != 0) {
    const size_t part = std::min(kBlock - begun, bytes.size());
    std::copy_n(bytes.begin(), part, hash.block.begin() + static_cast<ptrdiff_t>(begun));
    bytes = bytes.subspan(part);
    if (begun + part < kBlock) return;
    MixBlocks(hash.state, hash.block.data(), 1);
  }
  const size_t whole = bytes.size() / kBlock;
  if (whole != 0) MixBlocks(hash.state, bytes.data(), whole);
  bytes = bytes.subspan(whole * kBlock);
  std::copy(bytes.begin(), bytes.end(), hash.block.begin());
}

std::string EndSha256(Sha256& hash) {
  constexpr char kDigits[] = "0123456789abcdef";
  const uint64_t bits = hash.length * 8;
  // The message ends with a 1 bit, zeros up to the last eight bytes of a block, and its length in
  // bits, highest byte first. The length is that before the padding.
  std::vector<uint8_t> end = {0x80};
  while ((hash.length + end.size()) % kBlock != kBlock - 8) end.push_back(0);
  for (int shift = 56; shift >= 0; shift -= 8) end.push_back(static_cast<uint8_t>(bits >> shift));
  AddToSha256(hash, end);
  std::string text;
  for (const uint32_t word : hash.state) {
    for (int shift = 28; shift >= 0; shift -= 4) text += kDigits[word >> shift & 15];
  }
  return text;
}

std::string Sha256Text(ByteView bytes) {
  Sha256 hash;
  AddToSha256(hash, bytes);
  return EndSha256(hash);
}

}  // namespace hivequarry
