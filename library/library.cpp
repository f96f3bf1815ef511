// The functions of library/hivequarry.h over the rooms below. Numbers from outside are checked here
// (IsKey), a lack of memory ends here (WithMemory), and what goes out is copied: nobody outside
// holds anything of the rooms.
#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "app/opening_words.h"
#include "app/shortfall_words.h"
#include "hive/file_place.h"
#include "hive/hive_table.h"
#include "hive/key_tree.h"
#include "hive/keys.h"
#include "hive/values.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/shortfalls.h"
#include "library/hivequarry.h"
#include "lists/list_rows.h"
#include "recovery/image_tree.h"
#include "replay/hive_logs.h"
#include "reports/check_list.h"
#include "reports/hive_state.h"
#include "words/value_text.h"

using namespace hivequarry;

// Owns a slot of the table of hives (hive/hive_table.h), which has the image. The value list of the
// key that was asked for last is kept: values are asked for one by one.
struct hq_hive {
  int slot = -1;
  KeyTree tree;
  ImageSummary summary;
  std::string notices;  // of the opening
  hq_key listed = HQ_NO_KEY;
  std::vector<uint32_t> values;  // positions, of that key
};

namespace {

// What the opening under way has said, a line each. Process-wide, since what is asked of the host
// has no hive to go by; that is why only one thread at a time may be in here.
struct LibraryState {
  std::string said;
  int open_error = 0;
};
LibraryState& TheLibrary() {
  static LibraryState state;
  return state;
}

// The host's message box: its text becomes a line of the notices. Questions are answered as if
// nobody were there: what would only be confirmed goes on, what could be declined is.
Answer Note(void*, const char* text, const char*, Icon, Buttons buttons) {
  std::string line;
  for (const char c : std::string_view(text)) {
    if (c != '\r') line += c == '\n' ? ' ' : c;
  }
  TheLibrary().said += line + '\n';
  return buttons == Buttons::kOk || buttons == Buttons::kOkCancel ? Answer::kOk : Answer::kNo;
}

const HiveImage& ImageOf(const hq_hive& hive) { return HiveOfSlot(hive.slot); }

// Every function that takes a key asks this first, so numbers from outside never index the tree.
bool IsKey(const hq_hive* hive, hq_key key) {
  return hive != nullptr && key < hive->tree.items.size();
}

// As the header promises of texts: the length of all of it, though less was copied; a cut may be in
// the middle of a character.
size_t FillText(std::string_view text, char* out, size_t size) {
  if (out != nullptr && size != 0) {
    const size_t length = std::min(text.size(), size - 1);
    std::memcpy(out, text.data(), length);
    out[length] = 0;
  }
  return text.size();
}

uint64_t FilePlace(const HiveImage& hive, uint32_t position) {
  return position == kNoOffset ? HQ_NO_POSITION : FilePositionOf(hive, position);
}

// Room for what the functions make: what fails for want of memory is as if it were not there.
template <typename Result, typename Work>
Result WithMemory(Result without, const Work& work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return without;
  }
}

// Valid until another key is asked for. What is listed is noted last, so that want of memory on the
// way leaves nothing half-made to be believed.
const std::vector<uint32_t>& ValuesOf(hq_hive& hive, hq_key key) {
  if (hive.listed == key) return hive.values;
  hive.listed = HQ_NO_KEY;
  hive.values.clear();
  if (HasKeyCell(hive.tree, key)) {
    ReadWholeValueList(ImageOf(hive), hive.tree.items[key].position, hive.values);
  }
  hive.listed = key;
  return hive.values;
}

// kNoOffset for none.
uint32_t ValueAt(hq_hive* hive, hq_key key, uint32_t index) {
  if (!IsKey(hive, key)) return kNoOffset;
  const std::vector<uint32_t>& values = ValuesOf(*hive, key);
  return index < values.size() ? values[index] : kNoOffset;
}

// An operation that ends however its work ends.
struct OperationTurn {
  OperationTurn() { BeginOperation(kOperationLoad); }
  ~OperationTurn() { EndOperation(); }
  OperationTurn(const OperationTurn&) = delete;
  OperationTurn& operator=(const OperationTurn&) = delete;
};

// What was opened so far is in `hive` whatever the result; hq_close frees it. The table's range and
// choice of logs are those of the next opening and so are set anew each time.
hq_status OpenInto(const char* file_name, hq_logs logs, hq_hive& hive) {
  const OperationTurn turn;
  HiveLog log;
  if (IsLogFile(file_name, log)) return HQ_IS_LOG;
  HiveTable& table = TheHiveTable();
  table.start_offset = table.end_offset = 0;
  table.logs = {};
  table.logs.mode = logs == HQ_LOGS_NONE ? LogMode::kNone : LogMode::kAuto;
  OpenFailure failure;
  hive.slot = OpenHive(file_name, failure);
  if (hive.slot < 0) {
    if (failure.fault == OpenFault::kTableFull) return HQ_TOO_MANY;
    if (failure.fault == OpenFault::kNoMemory) return HQ_NO_MEMORY;
    TheLibrary().open_error = failure.error;
    return HQ_CANNOT_OPEN;
  }
  HiveImage& image = HiveOfSlot(hive.slot);
  TellOfUnread(file_name, image.unread);
  hive.summary = BuildImageTree(image, {}, hive.tree);
  if (FoundNothing(hive.summary)) return HQ_NO_HIVE;
  for (const std::string& words :
       {MissingWords(image), UndoneWords(image), LogsWords(image), ShortfallWords()}) {
    if (!words.empty()) TheLibrary().said += words + '\n';
  }
  hive.notices = TheLibrary().said;
  return HQ_OK;
}

// All levels, no bound, by position: so row and finding of a number are about the same.
CheckedHive CheckAll(const HiveImage& image) {
  CheckListOptions options;
  options.least = CheckLevel::kNote;
  const OperationTurn turn;
  return CheckOpenedHive(image, CheckedState::kFile, options);
}

}  // namespace

const char* hq_version(void) { return HIVEQUARRY_VERSION; }

hq_status hq_open(const char* file_name, hq_logs logs, hq_hive** hive) {
  *hive = nullptr;
  TheLibrary().said.clear();
  Host host = NullHost();
  host.message = Note;
  SetHost(host);
  auto* opened = new (std::nothrow) hq_hive;
  const hq_status status = opened == nullptr ? HQ_NO_MEMORY : WithMemory(HQ_NO_MEMORY, [&] {
    return OpenInto(file_name, logs, *opened);
  });
  if (status != HQ_OK) {
    hq_close(opened);
  } else {
    *hive = opened;
  }
  return status;
}

int hq_open_error(void) { return TheLibrary().open_error; }

void hq_close(hq_hive* hive) {
  if (hive == nullptr) return;
  if (hive->slot >= 0) FreeHiveSlot(hive->slot);
  delete hive;
}

void hq_summarize(const hq_hive* hive, hq_summary* summary) {
  const HiveImage& image = ImageOf(*hive);
  *summary = {};
  summary->keys = hive->summary.keys;
  summary->connected_keys = hive->summary.connected_keys;
  summary->disconnected_keys = hive->summary.disconnected_keys;
  summary->values = hive->summary.values;
  summary->begin = image.base_offset;
  summary->length = LengthInFile(image);
  summary->unread = image.unread.count;
  summary->dirty = image.logs != nullptr && image.logs->hive.dirty();
  summary->replayed = image.logs != nullptr && image.logs->state == ReplayState::kReplayed;
  summary->sound_tree = hive->summary.tree_sound;
}

size_t hq_notices(const hq_hive* hive, char* out, size_t size) {
  return FillText(hive->notices, out, size);
}

// --- keys ----------------------------------------------------------------------------------------

uint32_t hq_key_count(const hq_hive* hive) {
  return static_cast<uint32_t>(hive->tree.items.size());
}

hq_key hq_first_child(const hq_hive* hive, hq_key key) {
  return IsKey(hive, key) ? FirstChild(hive->tree, key) : HQ_NO_KEY;
}

hq_key hq_next_sibling(const hq_hive* hive, hq_key key) {
  return IsKey(hive, key) ? NextSibling(hive->tree, key) : HQ_NO_KEY;
}

hq_key hq_parent(const hq_hive* hive, hq_key key) {
  return IsKey(hive, key) ? hive->tree.items[key].parent : HQ_NO_KEY;
}

hq_key hq_find(const hq_hive* hive, const char* path) {
  return WithMemory(HQ_NO_KEY, [&] {
    const std::string_view name = path;
    const hq_key found = FindItemByPath(ImageOf(*hive), hive->tree, name);
    if (found != kNoItem || name.starts_with('\\')) return found;
    return FindItemByPath(ImageOf(*hive), hive->tree, "\\" + std::string(name));
  });
}

int hq_key_info_of(const hq_hive* hive, hq_key key, hq_key_info* info) {
  *info = {HQ_NO_POSITION, 0, 0, 0};
  if (!IsKey(hive, key)) return 0;
  const KeyItem& item = hive->tree.items[key];
  const bool folder =
      item.kind == ItemKind::kDisconnectedKeys || item.kind == ItemKind::kDisconnectedValues;
  if (folder) {
    info->flags = HQ_KEY_FOLDER;
    return 1;
  }
  const HiveImage& image = ImageOf(*hive);
  if (IsRecovered(hive->tree, key)) info->flags |= HQ_KEY_RECOVERED;
  if ((item.marks & kVirtualMarks) != 0) info->flags |= HQ_KEY_MADE;
  if (item.kind == ItemKind::kPathCopy) info->flags |= HQ_KEY_COPY;
  if (!HasKeyCell(hive->tree, key)) return 1;
  info->position = FilePlace(image, item.position);
  info->last_write = LastWriteOf(image, hive->tree, key);
  // Not by ValuesOf: what is kept there would change a hive that is const here.
  info->values = WithMemory(0U, [&] {
    std::vector<uint32_t> values;
    ReadWholeValueList(image, item.position, values);
    return static_cast<uint32_t>(values.size());
  });
  return 1;
}

size_t hq_key_name(const hq_hive* hive, hq_key key, char* out, size_t size) {
  if (!IsKey(hive, key)) return FillText("", out, size);
  return WithMemory(size_t{0}, [&] {
    return FillText(StoredItemName(ImageOf(*hive), hive->tree, key), out, size);
  });
}

size_t hq_key_path(const hq_hive* hive, hq_key key, char* out, size_t size) {
  if (!IsKey(hive, key)) return FillText("", out, size);
  return WithMemory(size_t{0}, [&] {
    return FillText(LongItemPath(ImageOf(*hive), hive->tree, key), out, size);
  });
}

size_t hq_key_status(const hq_hive* hive, hq_key key, char* out, size_t size) {
  if (!IsKey(hive, key)) return FillText("", out, size);
  return WithMemory(size_t{0},
                    [&] { return FillText(StatusText(hive->tree.items[key].marks), out, size); });
}

// --- values --------------------------------------------------------------------------------------

int hq_value_info_of(hq_hive* hive, hq_key key, uint32_t index, hq_value_info* info) {
  *info = {HQ_NO_POSITION, HQ_NO_POSITION, 0, 0, 0};
  return WithMemory(0, [&] {
    if (!IsKey(hive, key) || index >= ValuesOf(*hive, key).size()) return 0;
    const uint32_t position = ValueAt(hive, key, index);
    if (position == kNoOffset) return 1;
    const HiveImage& image = ImageOf(*hive);
    std::vector<uint8_t> data;
    // With the data, as only reading them tells whether they can be.
    const ValueKey value = ReadValueKey(image, position, ValueRead::kData, kMaxValueData, &data);
    info->position = FilePlace(image, position);
    info->type = value.type;
    info->size = value.data_length;
    info->readable = value.status == ValueStatus::kRead;
    if (info->readable) info->data_position = FilePlace(image, value.data_position);
    return 1;
  });
}

size_t hq_value_name(hq_hive* hive, hq_key key, uint32_t index, char* out, size_t size) {
  return WithMemory(size_t{0}, [&] {
    const uint32_t position = ValueAt(hive, key, index);
    if (position == kNoOffset) return FillText("", out, size);
    const WholeReading whole;
    return FillText(ReadValueKey(ImageOf(*hive), position, ValueRead::kName, 0, nullptr).name, out,
                    size);
  });
}

size_t hq_value_data(hq_hive* hive, hq_key key, uint32_t index, void* out, size_t size) {
  return WithMemory(size_t{0}, [&] {
    const uint32_t position = ValueAt(hive, key, index);
    if (position == kNoOffset) return size_t{0};
    std::vector<uint8_t> data;
    ReadValueKey(ImageOf(*hive), position, ValueRead::kData, kMaxValueData, &data);
    if (out != nullptr && !data.empty()) std::memcpy(out, data.data(), std::min(size, data.size()));
    return data.size();
  });
}

// --- bytes and structure -------------------------------------------------------------------------

size_t hq_bytes(const hq_hive* hive, uint64_t position, void* out, size_t size) {
  const HiveImage& image = ImageOf(*hive);
  auto* const bytes = static_cast<uint8_t*>(out);
  size_t done = 0;
  // Byte by byte only where moved bytes were put back: elsewhere file and image go side by side.
  const bool plain = image.places.pieces.empty() && image.places.returns.empty();
  const uint64_t end = uint64_t{image.base_offset} + LengthInFile(image);
  while (done < size && position >= image.base_offset && position < end) {
    const uint32_t at = PositionOfPlace(image, static_cast<uint32_t>(position - image.base_offset));
    const auto count =
        static_cast<uint32_t>(plain ? std::min<uint64_t>(size - done, end - position) : 1);
    const ByteView part = PartOf(ImageBytes(image), at, count);
    // Bytes of the file that the image does not have.
    if (part.size() < count) break;
    std::memcpy(bytes + done, part.data(), count);
    done += count;
    position += count;
  }
  return done;
}

int hq_check(const hq_hive* hive, int (*each)(void* context, const hq_finding* finding),
             void* context) {
  return WithMemory(-2, [&] {
    const CheckedHive checked = CheckAll(ImageOf(*hive));
    constexpr int kPath = 3;
    int worst = -1;
    bool wanted = each != nullptr;
    for (uint32_t row = 0; row < checked.result.findings.size(); ++row) {
      const CheckFinding& finding = checked.result.findings[row];
      const CheckCodeInfo& info = InfoOf(finding.code);
      const std::string key(CellText(*checked.list, row, kPath));
      const int level = static_cast<int>(finding.level);
      worst = std::max(worst, level);
      const hq_finding found = {level,
                                uint64_t{ImageOf(*hive).base_offset} + finding.position,
                                info.name,
                                info.text,
                                key.c_str(),
                                finding.found.c_str(),
                                finding.expected.c_str()};
      wanted = wanted && each(context, &found) != 0;
    }
    return worst;
  });
}
