#include "host/letter_order.h"

#include <array>

#include "host/case.h"
#include "host/host.h"

namespace hivequarry {
namespace {

constexpr uint8_t kFirstDigit = 0xB0;
constexpr uint8_t kFirstLetter = 0xC0;
constexpr char kPlain = 1;  // accent of a letter without one

// A byte's place in the order, never 0, which ends each level of a key.
struct Weight {
  uint8_t place;
  char accent;
  bool capital;
};

// The letter A to Z that a capital sorts with; 0 for what is no letter.
char BaseLetter(char16_t capital) {
  constexpr char kLatin[] = "AAAAAAACEEEEIIIIDNOOOOO\0OUUUUYTS";  // of U+00C0 to U+00DF
  if (capital >= u'A' && capital <= u'Z') return static_cast<char>(capital);
  if (capital >= 0xC0 && capital <= 0xDF) return kLatin[capital - 0xC0];
  switch (capital) {
    case 0x152:
      return 'O';
    case 0x160:
      return 'S';
    case 0x178:
      return 'Y';
    case 0x17D:
      return 'Z';
    default:
      return 0;
  }
}

std::array<Weight, 256> MakeWeights() {
  std::array<Weight, 256> weights{};
  uint8_t next_sign = 1;
  for (size_t byte = 0; byte < weights.size(); ++byte) {
    const char16_t unit = WesternCodePage().wide_of_byte[byte];
    const char16_t capital = CapitalOf(unit);
    const char base = BaseLetter(capital);
    Weight& weight = weights[byte];
    weight = {0, kPlain, false};
    if (base != 0) {
      weight.place = static_cast<uint8_t>(kFirstLetter + base - 'A');
      if (capital > u'Z') weight.accent = static_cast<char>(capital | 0x80);
      weight.capital = capital == unit;
    } else if (unit >= u'0' && unit <= u'9') {
      weight.place = static_cast<uint8_t>(kFirstDigit + unit - u'0');
    } else {
      weight.place = next_sign++;
    }
  }
  return weights;
}

const Weight& WeightOf(char character) {
  static const std::array<Weight, 256> weights = MakeWeights();
  return weights[static_cast<uint8_t>(character)];
}

}  // namespace

std::string WesternSortKey(std::string_view text) {
  std::string key(text.size() + 1, '\0');
  std::string accents;
  std::string capitals;  // a bit each, the first the highest
  for (size_t i = 0; i < text.size(); ++i) {
    const Weight& weight = WeightOf(text[i]);
    key[i] = static_cast<char>(weight.place);
    if (weight.accent != kPlain) {
      accents.resize(i, kPlain);
      accents.push_back(weight.accent);
    }
    if (weight.capital) {
      capitals.resize(i / 8 + 1, '\0');
      capitals[i / 8] = static_cast<char>(capitals[i / 8] | 0x80 >> i % 8);
    }
  }
  return key + accents + '\0' + capitals;
}

}  // namespace hivequarry
