#include "host/host.h"

#include "host/letter_order.h"
#include "host/number_text.h"

namespace hivequarry {
namespace {

struct HostState {
  Host host = NullHost();
};

HostState& State() {
  static HostState state;
  return state;
}

Answer NullMessage(void*, const char*, const char*, Icon, Buttons buttons) {
  if (buttons == Buttons::kOk) return Answer::kOk;
  return buttons == Buttons::kOkCancel ? Answer::kCancel : Answer::kNo;
}

// The 32 bytes in which Windows-1252 differs from Latin-1; 0 where it defines nothing.
constexpr char16_t kWesternHigh[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

CodePage MakeWesternCodePage() {
  CodePage page;
  for (int byte = 0; byte < 256; ++byte) page.wide_of_byte[byte] = static_cast<char16_t>(byte);
  // The five undefined bytes keep their own number, as the platform maps them.
  for (int i = 0; i < 32; ++i) {
    if (kWesternHigh[i] != 0) page.wide_of_byte[0x80 + i] = kWesternHigh[i];
  }
  CompleteCodePage(page);
  return page;
}

bool IsHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

void AppendUtf8(std::string& out, uint32_t code);

// Lone surrogates as they are, or as U+FFFD.
std::string EncodeUtf8(std::u16string_view wide, bool keep_lone) {
  std::string out;
  out.reserve(wide.size());
  for (size_t i = 0; i < wide.size(); ++i) {
    const char16_t unit = wide[i];
    if (IsHighSurrogate(unit) && i + 1 < wide.size() && IsLowSurrogate(wide[i + 1])) {
      AppendUtf8(out, 0x10000U + ((unit - 0xD800U) << 10) + (wide[++i] - 0xDC00U));
    } else {
      const bool lone = IsHighSurrogate(unit) || IsLowSurrogate(unit);
      AppendUtf8(out, lone && !keep_lone ? 0xFFFD : unit);
    }
  }
  return out;
}

void AppendUtf8(std::string& out, uint32_t code) {
  if (code < 0x80) {
    out.push_back(static_cast<char>(code));
    return;
  }
  if (code < 0x800) {
    out.push_back(static_cast<char>(0xC0 | code >> 6));
  } else {
    if (code < 0x10000) {
      out.push_back(static_cast<char>(0xE0 | code >> 12));
    } else {
      out.push_back(static_cast<char>(0xF0 | code >> 18));
      out.push_back(static_cast<char>(0x80 | (code >> 12 & 0x3F)));
    }
    out.push_back(static_cast<char>(0x80 | (code >> 6 & 0x3F)));
  }
  out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
}

// Decodes one character at `at`, which moves after it; U+FFFD for bytes that are no UTF-8.
uint32_t DecodeUtf8(std::string_view text, size_t& at) {
  const auto lead = static_cast<uint8_t>(text[at++]);
  if (lead < 0x80) return lead;
  const int more = lead >= 0xF0 && lead < 0xF8 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : 0;
  if (more == 0 || lead >= 0xF8) return 0xFFFD;
  constexpr uint32_t kLowest[4] = {0, 0x80, 0x800, 0x10000};
  uint32_t code = lead & (0x3FU >> more);
  for (int i = 0; i < more; ++i) {
    if (at >= text.size() || (static_cast<uint8_t>(text[at]) & 0xC0) != 0x80) return 0xFFFD;
    code = code << 6 | (static_cast<uint8_t>(text[at++]) & 0x3F);
  }
  const bool surrogate = code >= 0xD800 && code < 0xE000;
  return code < kLowest[more] || code > 0x10FFFF || surrogate ? 0xFFFD : code;
}

}  // namespace

Host NullHost() {
  Host host;
  host.message = NullMessage;
  host.status = [](void*, const char*) {};
  host.progress_range = [](void*, uint32_t) {};
  host.progress_position = [](void*, uint32_t) {};
  host.wait_cursor = [](void*, bool) {};
  host.beep = [](void*) {};
  host.hive_title = [](void*, const std::string&) {};
  host.clipboard = [](void*, std::string_view) { return false; };
  host.launch = [](void*, const std::string&) { return false; };
  host.local_time = [](void*, uint64_t utc) { return utc; };
  host.sort_key = [](void*, std::string_view text) { return WesternSortKey(text); };
  host.account = [](void*, std::span<const uint8_t>) { return AccountAnswer(); };
  host.code_page = &WesternCodePage();
  return host;
}

const Host& CurrentHost() { return State().host; }
void SetHost(const Host& host) { State().host = host; }

void CompleteCodePage(CodePage& page) {
  for (int byte = 255; byte > 0; --byte) {
    page.byte_of_wide[page.wide_of_byte[byte]] = static_cast<uint8_t>(byte);
  }
  page.byte_of_wide[0] = 0;
  page.ascii = true;
  for (size_t unit = 0; unit < 0x80; ++unit) {
    page.ascii = page.ascii && page.byte_of_wide[unit] == unit;
  }
}

const CodePage& WesternCodePage() {
  static const CodePage page = MakeWesternCodePage();
  return page;
}

Answer ShowMessage(const char* text, const char* title, Icon icon, Buttons buttons) {
  const Host& host = CurrentHost();
  return host.message(host.context, text, title, icon, buttons);
}

void ShowStatus(const char* text) {
  const Host& host = CurrentHost();
  host.status(host.context, text);
}

char NarrowUnit(char16_t unit) {
  const uint8_t byte = CurrentHost().code_page->byte_of_wide[unit];
  return byte == 0 && unit != 0 ? '?' : static_cast<char>(byte);
}

std::string NarrowText(std::u16string_view wide) {
  std::string text(wide.size(), '\0');
  for (size_t i = 0; i < wide.size(); ++i) text[i] = NarrowUnit(wide[i]);
  return text;
}

std::u16string WidenText(std::string_view narrow) {
  const CodePage& page = *CurrentHost().code_page;
  std::u16string wide(narrow.size(), u'\0');
  for (size_t i = 0; i < narrow.size(); ++i) {
    wide[i] = page.wide_of_byte[static_cast<uint8_t>(narrow[i])];
  }
  return wide;
}

std::string Utf8FromWide(std::u16string_view wide) { return EncodeUtf8(wide, false); }
std::string GeneralUtf8FromWide(std::u16string_view wide) { return EncodeUtf8(wide, true); }

std::string LoneSurrogateText(char16_t unit) { return Concat({"?{", Hex(unit, 4), "}"}); }

bool IsLoneSurrogate(const uint8_t* bytes, size_t size, size_t at) {
  const auto unit = [bytes](size_t i) {
    return static_cast<char16_t>(bytes[i] | bytes[i + 1] << 8);
  };
  if (IsHighSurrogate(unit(at))) return at + 3 >= size || !IsLowSurrogate(unit(at + 2));
  return IsLowSurrogate(unit(at)) && (at < 2 || !IsHighSurrogate(unit(at - 2)));
}

std::u16string WideFromUtf8(std::string_view utf8) {
  std::u16string out;
  out.reserve(utf8.size());
  for (size_t at = 0; at < utf8.size();) {
    const uint32_t code = DecodeUtf8(utf8, at);
    if (code < 0x10000) {
      out.push_back(static_cast<char16_t>(code));
    } else {
      out.push_back(static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF)));
    }
  }
  return out;
}

std::string Utf8FromNarrow(std::string_view narrow) {
  const CodePage& page = *CurrentHost().code_page;
  std::string out;
  out.reserve(narrow.size());
  for (const char c : narrow) AppendUtf8(out, page.wide_of_byte[static_cast<uint8_t>(c)]);
  return out;
}

}  // namespace hivequarry
