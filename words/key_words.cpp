#include "words/key_words.h"

#include <span>

#include "host/number_text.h"

namespace hivequarry {
namespace {

struct BitWord {
  uint8_t bit;
  const char* word;
};

std::string BitWords(uint8_t bits, std::span<const BitWord> words) {
  std::string text = Concat({"0x", Hex(bits, 2), ":"});
  bool any = false;
  for (const BitWord& each : words) {
    if ((bits & each.bit) == 0) continue;
    text += std::string(any ? ", " : " ") + each.word;
    any = true;
  }
  return any ? text : text + " none";
}

constexpr BitWord kAccess[] = {{1, "opened before boot initialisation"},
                               {2, "opened after boot initialisation"}};
constexpr BitWord kUserFlags[] = {{1, "32-bit key"},           {2, "reflected"},
                                  {4, "not reflected"},        {0x20, "not virtualised"},
                                  {0x40, "no silent failure"}, {0x80, "also for subkeys"}};
}  // namespace

std::string AccessWords(uint8_t bits) { return BitWords(bits, kAccess); }
std::string UserFlagWords(uint8_t flags) { return BitWords(flags, kUserFlags); }

}  // namespace hivequarry
