#include "tests/support/memory_registry.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "host/case.h"
#include "host/files.h"
#include "host/host.h"
#include "tests/support/memory_hives.h"
#include "words/value_text.h"

namespace hivequarry::testing {
namespace {

MemoryRegistry* in_force = nullptr;
constexpr int kMostLinks = 8;

bool SameName(std::u16string_view a, std::u16string_view b) {
  const auto same = [](char16_t x, char16_t y) { return CapitalOf(x) == CapitalOf(y); };
  return std::ranges::equal(a, b, same);
}

std::u16string_view TakeName(std::u16string_view& path) {
  const size_t end = path.find(u'\\');
  const std::u16string_view name = path.substr(0, end);
  path.remove_prefix(end == std::u16string_view::npos ? path.size() : end + 1);
  return name;
}

// The key that a handle stands for; null for a wrong one.
MemoryKey* KeyOf(RegistryKey key) {
  constexpr const char16_t* kNames[] = {u"HKCR", u"HKCU", u"HKLM", u"HKU", u"", u"HKCC"};
  if (key >= kClassesRoot && key <= kCurrentConfig) {
    return in_force->Find(kNames[key - kClassesRoot]);
  }
  const auto found = in_force->opened.find(key);
  return found == in_force->opened.end() ? nullptr : found->second;
}

MemoryKey* FindBelow(MemoryKey* key, std::u16string_view path, bool open_link, int links) {
  while (key != nullptr && !path.empty()) {
    key = key->Find(TakeName(path));
    const bool followed = key != nullptr && !key->link.empty() && !(open_link && path.empty());
    if (!followed) continue;
    if (links == kMostLinks) return nullptr;
    key = FindBelow(&in_force->roots, key->link, false, links + 1);
  }
  return key;
}

int32_t OpenFound(MemoryKey* found, uint32_t options, uint32_t access, RegistryKey* opened) {
  if (found == nullptr) return kRegistryNotFound;
  const bool by_privilege = (options & kRegistryForBackup) != 0 &&
                            in_force->enabled.contains(u"SeBackupPrivilege") &&
                            found->open_error == kRegistryDenied;
  if (found->open_error != kRegistryDone && !by_privilege) return found->open_error;
  const bool security = (access & kRegistrySystemSecurity) != 0;
  if (security && !in_force->enabled.contains(u"SeSecurityPrivilege")) return kPrivilegeNotHeld;
  *opened = in_force->next_handle++;
  in_force->opened[*opened] = found;
  return kRegistryDone;
}

int32_t Open(RegistryKey key, const char16_t* sub_key, uint32_t options, uint32_t access,
             RegistryKey* opened) {
  const bool open_link = (options & kRegistryOpenLink) != 0;
  return OpenFound(FindBelow(KeyOf(key), sub_key, open_link, 0), options, access, opened);
}

int32_t Close(RegistryKey key) { return in_force->opened.erase(key) != 0 ? kRegistryDone : 6; }

int32_t QueryInfo(RegistryKey key, KeyCounts* counts) {
  const MemoryKey& at = *KeyOf(key);
  *counts = KeyCounts();
  counts->subkeys = static_cast<uint32_t>(at.keys.size());
  counts->values = static_cast<uint32_t>(at.values.size());
  counts->last_write = at.last_write;
  return kRegistryDone;  // the longest names and data are only hints
}

int32_t CopyName(const std::u16string& text, char16_t* name, uint32_t* size) {
  if (text.size() >= *size) return kRegistryMoreData;
  std::copy_n(text.c_str(), text.size() + 1, name);
  *size = static_cast<uint32_t>(text.size());
  return kRegistryDone;
}

int32_t CopyBytes(const std::vector<uint8_t>& bytes, uint8_t* data, uint32_t* size) {
  const uint32_t room = *size;
  *size = static_cast<uint32_t>(bytes.size());
  if (data == nullptr) return kRegistryDone;
  if (bytes.size() > room) return kRegistryMoreData;
  if (!bytes.empty()) std::memcpy(data, bytes.data(), bytes.size());
  return kRegistryDone;
}

int32_t EnumKey(RegistryKey key, uint32_t index, char16_t* name, uint32_t* size,
                uint64_t* last_write) {
  const MemoryKey& at = *KeyOf(key);
  if (index >= at.keys.size()) return kRegistryNoMoreItems;
  *last_write = at.keys[index]->last_write;
  return CopyName(at.keys[index]->name, name, size);
}

int32_t EnumValue(RegistryKey key, uint32_t index, char16_t* name, uint32_t* size, uint32_t* type,
                  uint8_t* data, uint32_t* data_size) {
  const MemoryKey& at = *KeyOf(key);
  if (index >= at.values.size()) return kRegistryNoMoreItems;
  const MemoryValue& value = at.values[index];
  *type = value.type;
  const int32_t error = CopyName(value.name, name, size);
  return error != kRegistryDone ? error : CopyBytes(value.data, data, data_size);
}

int32_t QueryValue(RegistryKey key, const char16_t* name, uint32_t* type, uint8_t* data,
                   uint32_t* size) {
  for (const MemoryValue& value : KeyOf(key)->values) {
    if (!SameName(value.name, name)) continue;
    *type = value.type;
    return CopyBytes(value.data, data, size);
  }
  return kRegistryNotFound;
}

int32_t GetSecurity(RegistryKey key, uint32_t, uint8_t* descriptor, uint32_t* size) {
  return CopyBytes(KeyOf(key)->security, descriptor, size);
}

int32_t QueryClass(RegistryKey key, char16_t* name, uint32_t* size) {
  return CopyName(KeyOf(key)->class_name, name, size);
}

// The kernel's name of what is below `at`; empty when that does not hold the key.
std::u16string NameBelow(const MemoryKey& at, const std::u16string& name, const MemoryKey* key) {
  if (&at == key) return name;
  for (const std::unique_ptr<MemoryKey>& child : at.keys) {
    const std::u16string found = NameBelow(*child, name + u'\\' + child->name, key);
    if (!found.empty()) return found;
  }
  return {};
}

int32_t KeyName(RegistryKey key, std::u16string* name) {
  const MemoryKey* at = KeyOf(key);
  const MemoryKey& user = *in_force->Find(u"HKCU");
  *name = NameBelow(user, u"\\REGISTRY\\USER\\" + in_force->user, at);
  if (name->empty()) *name = NameBelow(*in_force->Find(u"HKU"), u"\\REGISTRY\\USER", at);
  if (name->empty()) *name = NameBelow(*in_force->Find(u"HKLM"), u"\\REGISTRY\\MACHINE", at);
  return name->empty() ? kRegistryBadHandle : kRegistryDone;
}

int32_t Create(RegistryKey key, const char16_t* sub_key, const char16_t* class_name,
               uint32_t options, uint32_t access, RegistryKey* opened) {
  MemoryKey* at = KeyOf(key);
  for (std::u16string_view path = sub_key; !path.empty();) {
    const std::u16string_view name = TakeName(path);
    if (at->Find(name) != nullptr) {
      at = FindBelow(at, name, false, 0);  // through a link
      if (at == nullptr) return kRegistryNotFound;
      continue;
    }
    if (at->write_error != kRegistryDone) return at->write_error;
    at = &at->Add(name);
    if (class_name != nullptr) at->class_name = class_name;
    at->is_link = (options & kRegistryCreateLink) != 0;
  }
  return OpenFound(at, options, access, opened);
}

// The path from a root of what a link names by the kernel's path.
std::u16string LinkTarget(const uint8_t* data, uint32_t size) {
  constexpr std::pair<std::u16string_view, const char16_t*> kPlaces[] = {
      {u"\\REGISTRY\\MACHINE", u"HKLM"}, {u"\\REGISTRY\\USER", u"HKU"}};
  std::u16string path(size / 2, u'\0');
  std::memcpy(path.data(), data, path.size() * 2);
  for (const auto& [place, root] : kPlaces) {
    if (SameName(std::u16string_view(path).substr(0, place.size()), place)) {
      return root + path.substr(place.size());
    }
  }
  return {};
}

int32_t SetValue(RegistryKey key, const char16_t* name, uint32_t type, const uint8_t* data,
                 uint32_t size) {
  MemoryKey& at = *KeyOf(key);
  if (at.write_error != kRegistryDone) return at.write_error;
  if (at.is_link && type == kRegLink) at.link = LinkTarget(data, size);
  at.Set(name, type, std::vector<uint8_t>(data, data + size));
  return kRegistryDone;
}

// The bytes of a self-relative descriptor, up to the end of its last part.
std::vector<uint8_t> DescriptorBytes(const uint8_t* bytes) {
  const auto u32 = [&](uint32_t at) {
    return bytes[at] | bytes[at + 1] << 8 | bytes[at + 2] << 16;
  };
  int end = 20;
  for (const uint32_t field : {4U, 8U}) {  // owner and group: SIDs
    const int sid = u32(field);
    if (sid != 0) end = std::max(end, sid + 8 + 4 * bytes[sid + 1]);
  }
  for (const uint32_t field : {12U, 16U}) {  // access lists know their size
    const int list = u32(field);
    if (list != 0) end = std::max(end, list + (bytes[list + 2] | bytes[list + 3] << 8));
  }
  return {bytes, bytes + end};
}

int32_t SetSecurity(RegistryKey key, uint32_t, const uint8_t* descriptor) {
  MemoryKey& at = *KeyOf(key);
  if (at.write_error == kRegistryDone) at.security = DescriptorBytes(descriptor);
  return at.write_error;
}

// The answer to force for a function, or that of a privilege that is missing.
int32_t Refusal(const char* function, const char16_t* privilege) {
  const auto forced = in_force->errors.find(function);
  if (forced != in_force->errors.end() && forced->second != kRegistryDone) return forced->second;
  return in_force->enabled.contains(privilege) ? kRegistryDone : kPrivilegeNotHeld;
}

bool IsThere(const std::string& file) {
  std::error_code error;
  return std::filesystem::exists(FilePath(file), error);
}

// As the system writes: to files that the program keeps from being written as well.
bool WriteBytes(const std::string& file, const Bytes& bytes) {
  std::ofstream stream(FilePath(file), std::ios::binary);
  stream.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
  stream.close();
  return stream.good();
}

Bytes ReadBytesOf(const std::string& file) {
  Bytes bytes;
  int error = 0;
  std::FILE* const stream = OpenFile(file, "rb", error);
  if (stream == nullptr) return bytes;
  bytes.resize(static_cast<size_t>(FileSize(stream)));
  SeekFile(stream, 0);
  bytes.resize(std::fread(bytes.data(), 1, bytes.size(), stream));
  std::fclose(stream);
  return bytes;
}

int32_t ProtectFileBy(const char16_t* file, const uint8_t* descriptor) {
  const std::string name = TextOfWide(file);
  if (!IsThere(name)) return kRegistryNotFound;
  const int32_t forced = in_force->errors["protect"];
  if (forced == kRegistryDone) in_force->protected_files[name] = DescriptorBytes(descriptor);
  return forced;
}

int32_t SaveBy(const char* function, RegistryKey key, const char16_t* file,
               const uint8_t* descriptor) {
  const int32_t refused = Refusal(function, u"SeBackupPrivilege");
  if (refused != kRegistryDone) return refused;
  const std::string name = TextOfWide(file);
  if (IsThere(name)) return kRegistryFileExists;
  const MemoryKey& branch = *KeyOf(key);
  if (branch.save_error != kRegistryDone) return branch.save_error;
  const std::u16string& root = branch.file.empty() ? branch.name : branch.file_root;
  if (!WriteBytes(name, HiveOfBranch(branch, root))) return 3;
  in_force->protected_files[name] = DescriptorBytes(descriptor);
  return kRegistryDone;
}

int32_t Save(RegistryKey key, const char16_t* file, const uint8_t* descriptor) {
  return SaveBy("save", key, file, descriptor);
}

int32_t SaveNatively(RegistryKey key, const char16_t* file, const uint8_t* descriptor) {
  return SaveBy("save_natively", key, file, descriptor);
}

int32_t Load(RegistryKey root, const char16_t* sub_key, const char16_t* file) {
  const int32_t refused = Refusal("load", u"SeRestorePrivilege");
  if (refused != kRegistryDone) return refused;
  const std::string name = TextOfWide(file);
  MemoryKey& parent = *KeyOf(root);
  if (!IsThere(name)) return kRegistryNotFound;
  if (parent.Find(sub_key) != nullptr) return kRegistryFileExists;
  const Bytes hive = ReadBytesOf(name);
  const int32_t error = CheckLoadable(hive);
  if (error != kRegistryDone) return error;
  MemoryKey& branch = parent.Add(sub_key);
  branch.file = name;
  branch.file_root = BranchFromHive(hive, branch);
  return WriteBytes(name + ".LOG", Bytes(512)) ? kRegistryDone : 3;
}

bool HoldsOpened(const MemoryKey& branch) {
  const auto is_branch = [&](const auto& opened) { return opened.second == &branch; };
  return std::ranges::any_of(in_force->opened, is_branch) ||
         std::ranges::any_of(branch.keys, [](const auto& key) { return HoldsOpened(*key); });
}

int32_t Unload(RegistryKey root, const char16_t* sub_key) {
  const int32_t refused = Refusal("unload", u"SeRestorePrivilege");
  if (refused != kRegistryDone) return refused;
  MemoryKey& parent = *KeyOf(root);
  const MemoryKey* const branch = parent.Find(sub_key);
  if (branch == nullptr) return kRegistryNotFound;
  if (branch->file.empty()) return 87;
  if (HoldsOpened(*branch)) return kRegistryDenied;
  Bytes hive = HiveOfBranch(*branch, branch->file_root);
  if (in_force->unloads_unsettled) ++hive[4];
  const bool written = WriteBytes(branch->file, hive);
  std::erase_if(parent.keys, [&](const auto& key) { return key.get() == branch; });
  return written ? kRegistryDone : 3;
}

int32_t Replace(RegistryKey root, const char16_t* sub_key, const char16_t* new_file,
                const char16_t* old_file) {
  const int32_t refused = Refusal("replace", u"SeRestorePrivilege");
  if (refused != kRegistryDone) return refused;
  const ReplacedHive noted = {KeyOf(root)->name + (*sub_key == 0 ? u"" : u"\\") + sub_key,
                              TextOfWide(new_file), TextOfWide(old_file)};
  if (!IsThere(noted.new_file)) return kRegistryNotFound;
  in_force->replaced.push_back(noted);
  return kRegistryDone;
}

int32_t SetPrivilege(const char16_t* name, bool enable, bool* was_enabled) {
  *was_enabled = in_force->enabled.contains(name);
  if (!in_force->privileges.contains(name)) return kPrivilegeNotHeld;
  if (enable) {
    in_force->enabled.insert(name);
  } else {
    in_force->enabled.erase(name);
  }
  return kRegistryDone;
}

}  // namespace

MemoryValue& MemoryKey::Set(std::u16string_view value, uint32_t value_type,
                            std::vector<uint8_t> bytes) {
  const auto named = [&](const MemoryValue& each) { return SameName(each.name, value); };
  auto found = std::ranges::find_if(values, named);
  if (found == values.end()) found = values.insert(found, {std::u16string(value), 0, {}});
  found->type = value_type;
  found->data = std::move(bytes);
  return *found;
}

MemoryValue& MemoryKey::SetText(std::u16string_view value, std::u16string_view text) {
  std::vector<uint8_t> bytes((text.size() + 1) * 2);
  std::memcpy(bytes.data(), text.data(), text.size() * 2);
  return Set(value, kRegSz, std::move(bytes));
}

MemoryKey& MemoryKey::Add(std::u16string_view key) {
  MemoryKey& added = *keys.emplace_back(std::make_unique<MemoryKey>());
  added.name = key;
  return added;
}

MemoryKey* MemoryKey::Find(std::u16string_view key) const {
  for (const std::unique_ptr<MemoryKey>& each : keys) {
    if (SameName(each->name, key)) return each.get();
  }
  return nullptr;
}

MemoryRegistry::MemoryRegistry() : before_(CurrentRegistry()) {
  in_force = this;
  for (const char16_t* root : {u"HKCR", u"HKCU", u"HKLM", u"HKU", u"HKCC"}) At(root);
  Registry table = PlatformRegistry();
  table.open = Open;
  table.close = Close;
  table.query_info = QueryInfo;
  table.enum_key = EnumKey;
  table.enum_value = EnumValue;
  table.query_value = QueryValue;
  table.get_security = GetSecurity;
  table.query_class = QueryClass;
  table.key_name = KeyName;
  table.create = Create;
  table.set_value = SetValue;
  table.set_security = SetSecurity;
  table.save = Save;
  table.save_natively = SaveNatively;
  table.protect_file = ProtectFileBy;
  table.load = Load;
  table.unload = Unload;
  table.replace = Replace;
  table.error_text = [](int32_t error) { return "error " + std::to_string(error); };
  table.set_privilege = SetPrivilege;
  SetRegistry(table);
}

MemoryRegistry::~MemoryRegistry() {
  SetRegistry(before_);
  in_force = nullptr;
}

void MemoryRegistry::ListHives(const std::vector<std::u16string>& paths) {
  MemoryKey& list = At(u"HKLM\\SYSTEM\\CurrentControlSet\\Control\\hivelist");
  for (const std::u16string& path : paths) list.SetText(path, u"");
}

MemoryKey& MemoryRegistry::At(std::u16string_view path) {
  MemoryKey* key = &roots;
  while (!path.empty()) {
    const std::u16string_view name = TakeName(path);
    MemoryKey* child = key->Find(name);
    key = child != nullptr ? child : &key->Add(name);
  }
  return *key;
}

MemoryKey* MemoryRegistry::Find(std::u16string_view path) {
  return FindBelow(&roots, path, false, 0);
}

}  // namespace hivequarry::testing
