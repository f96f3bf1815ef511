// The registry of Windows.

#include <windows.h>

#include <algorithm>
#include <iterator>
#include <vector>

#include "host/text.h"
#include "live/registry.h"

namespace hivequarry {
namespace {

static_assert(sizeof(wchar_t) == sizeof(char16_t));
const wchar_t* Wide(const char16_t* text) { return reinterpret_cast<const wchar_t*>(text); }
wchar_t* Wide(char16_t* text) { return reinterpret_cast<wchar_t*>(text); }

// The predefined roots are 32-bit numbers that the platform extends with their sign.
HKEY HandleOf(RegistryKey key) {
  const bool predefined = key >= kClassesRoot && key <= kClassesRoot + 0xFFFF;
  const auto extended = static_cast<intptr_t>(static_cast<int32_t>(static_cast<uint32_t>(key)));
  return reinterpret_cast<HKEY>(predefined ? extended : static_cast<intptr_t>(key));
}

uint64_t TimeOf(const FILETIME& time) {
  return time.dwLowDateTime | uint64_t{time.dwHighDateTime} << 32;
}

// Functions of the table in live/registry.h: each gives the system's own error code, and fills what
// it was asked for whatever that is. Sizes of names are characters, those of data bytes.
int32_t Open(RegistryKey key, const char16_t* sub_key, uint32_t options, uint32_t access,
             RegistryKey* opened) {
  HKEY handle = nullptr;
  const LSTATUS status = RegOpenKeyExW(HandleOf(key), Wide(sub_key), options, access, &handle);
  *opened = reinterpret_cast<RegistryKey>(handle);
  return status;
}

int32_t Close(RegistryKey key) { return RegCloseKey(HandleOf(key)); }

int32_t QueryInfo(RegistryKey key, KeyCounts* counts) {
  DWORD subkeys = 0, longest_subkey = 0, values = 0, longest_name = 0, longest_data = 0;
  FILETIME time = {};
  const LSTATUS status =
      RegQueryInfoKeyW(HandleOf(key), nullptr, nullptr, nullptr, &subkeys, &longest_subkey, nullptr,
                       &values, &longest_name, &longest_data, nullptr, &time);
  *counts = {subkeys, longest_subkey, values, longest_name, longest_data, TimeOf(time)};
  return status;
}

// A FILETIME is two 32-bit halves, the platform's own sizes are DWORDs: each call goes through
// variables of its types, and what they hold afterwards counts on failure too (kRegistryMoreData).
int32_t EnumKey(RegistryKey key, uint32_t index, char16_t* name, uint32_t* size,
                uint64_t* last_write) {
  DWORD length = *size;
  FILETIME time = {};
  const LSTATUS status =
      RegEnumKeyExW(HandleOf(key), index, Wide(name), &length, nullptr, nullptr, nullptr, &time);
  *size = length;
  *last_write = TimeOf(time);
  return status;
}

int32_t EnumValue(RegistryKey key, uint32_t index, char16_t* name, uint32_t* size, uint32_t* type,
                  uint8_t* data, uint32_t* data_size) {
  DWORD length = *size, kind = 0, bytes = *data_size;
  const LSTATUS status =
      RegEnumValueW(HandleOf(key), index, Wide(name), &length, nullptr, &kind, data, &bytes);
  *size = length;
  *type = kind;
  *data_size = bytes;
  return status;
}

int32_t QueryValue(RegistryKey key, const char16_t* name, uint32_t* type, uint8_t* data,
                   uint32_t* size) {
  DWORD kind = 0, bytes = *size;
  const LSTATUS status = RegQueryValueExW(HandleOf(key), Wide(name), nullptr, &kind, data, &bytes);
  *type = kind;
  *size = bytes;
  return status;
}

// This call alone has an error of its own for too little room.
int32_t GetSecurity(RegistryKey key, uint32_t parts, uint8_t* descriptor, uint32_t* size) {
  DWORD bytes = *size;
  const LSTATUS status = RegGetKeySecurity(HandleOf(key), parts, descriptor, &bytes);
  *size = bytes;
  return status == ERROR_INSUFFICIENT_BUFFER ? kRegistryMoreData : status;
}

int32_t QueryClass(RegistryKey key, char16_t* name, uint32_t* size) {
  DWORD length = *size;
  const LSTATUS status =
      RegQueryInfoKeyW(HandleOf(key), Wide(name), &length, nullptr, nullptr, nullptr, nullptr,
                       nullptr, nullptr, nullptr, nullptr, nullptr);
  *size = length;
  return status;
}

int32_t Create(RegistryKey key, const char16_t* sub_key, const char16_t* class_name,
               uint32_t options, uint32_t access, RegistryKey* opened) {
  HKEY handle = nullptr;
  const LSTATUS status =
      RegCreateKeyExW(HandleOf(key), Wide(sub_key), 0, const_cast<wchar_t*>(Wide(class_name)),
                      options, access, nullptr, &handle, nullptr);
  *opened = reinterpret_cast<RegistryKey>(handle);
  return status;
}

int32_t SetValue(RegistryKey key, const char16_t* name, uint32_t type, const uint8_t* data,
                 uint32_t size) {
  return RegSetValueExW(HandleOf(key), Wide(name), 0, type, data, size);
}

int32_t SetSecurity(RegistryKey key, uint32_t parts, const uint8_t* descriptor) {
  return RegSetKeySecurity(HandleOf(key), parts, const_cast<uint8_t*>(descriptor));
}

// `descriptor` must outlive the result. The platform does not write to it.
SECURITY_ATTRIBUTES AttributesOf(const uint8_t* descriptor) {
  return {sizeof(SECURITY_ATTRIBUTES), const_cast<uint8_t*>(descriptor), FALSE};
}

int32_t Save(RegistryKey key, const char16_t* file, const uint8_t* descriptor) {
  SECURITY_ATTRIBUTES attributes = AttributesOf(descriptor);
  const LSTATUS status = RegSaveKeyW(HandleOf(key), Wide(file), &attributes);
  // Where the call knows no descriptors the file gets it afterwards (ProtectFile).
  const bool refused = status == ERROR_UNKNOWN_REVISION || status == ERROR_INVALID_SECURITY_DESCR;
  return refused ? RegSaveKeyW(HandleOf(key), Wide(file), nullptr) : status;
}

// The kernel's calls are looked up by name, as no import library has them.
template <typename Call>
Call KernelCall(const char* name) {
  const HMODULE library = GetModuleHandleW(L"ntdll.dll");
  return reinterpret_cast<Call>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

// A status of the kernel as an error code of the registry's functions; warnings, which are negative
// too, are errors.
int32_t ErrorOfStatus(LONG status) {
  static const auto error = KernelCall<ULONG(WINAPI*)(LONG)>("RtlNtStatusToDosError");
  if (status >= 0) return kRegistryDone;
  return error == nullptr ? ERROR_PROC_NOT_FOUND : static_cast<int32_t>(error(status));
}

// A key as the kernel knows it, which has no predefined roots. Of these, one alone is a hive.
struct KernelKey {
  explicit KernelKey(RegistryKey key) : handle(HandleOf(key)), own(handle == HKEY_CURRENT_USER) {
    if (own && RegOpenCurrentUser(KEY_READ, &handle) != ERROR_SUCCESS)
      own = false, handle = nullptr;
  }
  ~KernelKey() {
    if (own) RegCloseKey(handle);
  }
  KernelKey(const KernelKey&) = delete;
  KernelKey& operator=(const KernelKey&) = delete;

  HKEY handle;  // null: not opened
  bool own;     // opened here
};

// Into a file that is open for writing, from its start; it stays open.
int32_t SaveInto(RegistryKey key, HANDLE file) {
  const auto save = KernelCall<LONG(WINAPI*)(HANDLE, HANDLE)>("ZwSaveKey");
  if (save == nullptr) return ERROR_PROC_NOT_FOUND;
  const KernelKey saved(key);
  return saved.handle == nullptr ? kRegistryBadHandle : ErrorOfStatus(save(saved.handle, file));
}

int32_t KeyName(RegistryKey key, std::u16string* name) {
  // The kernel's number of that question.
  constexpr int kNameInformation = 3;
  constexpr ULONG kMostBytes = 0x10000;
  const auto query = KernelCall<LONG(WINAPI*)(HANDLE, int, void*, ULONG, ULONG*)>("NtQueryKey");
  if (query == nullptr) return ERROR_PROC_NOT_FOUND;
  const KernelKey asked(key);
  if (asked.handle == nullptr) return kRegistryBadHandle;
  std::vector<uint32_t> answer(kMostBytes / 4);  // a length in bytes, then the name
  ULONG size = 0;
  const LONG status = query(asked.handle, kNameInformation, answer.data(), kMostBytes, &size);
  if (status != 0) return ErrorOfStatus(status);
  const auto* text = reinterpret_cast<const char16_t*>(answer.data() + 1);
  name->assign(text, std::min<ULONG>(answer[0], kMostBytes - 4) / 2);
  return kRegistryDone;
}

// CREATE_NEW: what has come to the name meanwhile is never written over.
int32_t SaveNatively(RegistryKey key, const char16_t* file, const uint8_t* descriptor) {
  SECURITY_ATTRIBUTES attributes = AttributesOf(descriptor);
  const HANDLE made = CreateFileW(Wide(file), GENERIC_READ | GENERIC_WRITE, 0, &attributes,
                                  CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (made == INVALID_HANDLE_VALUE) return static_cast<int32_t>(GetLastError());
  const int32_t error = SaveInto(key, made);
  CloseHandle(made);
  if (error != kRegistryDone) DeleteFileW(Wide(file));
  return error;
}

// Protected: what the folder would hand down later does not reach the file either.
int32_t ProtectFileBy(const char16_t* file, const uint8_t* descriptor) {
  constexpr SECURITY_INFORMATION kProtectedList =
      DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION;
  const BOOL done = SetFileSecurityW(Wide(file), kProtectedList, const_cast<uint8_t*>(descriptor));
  return done ? kRegistryDone : static_cast<int32_t>(GetLastError());
}

int32_t Load(RegistryKey root, const char16_t* sub_key, const char16_t* file) {
  return RegLoadKeyW(HandleOf(root), Wide(sub_key), Wide(file));
}

int32_t Unload(RegistryKey root, const char16_t* sub_key) {
  return RegUnLoadKeyW(HandleOf(root), Wide(sub_key));
}

int32_t Replace(RegistryKey root, const char16_t* sub_key, const char16_t* new_file,
                const char16_t* old_file) {
  return RegReplaceKeyW(HandleOf(root), Wide(sub_key), Wide(new_file), Wide(old_file));
}

// With that mask the text is one line, but with a blank where its line end was.
std::string ErrorText(int32_t error) {
  wchar_t text[512] = L"";
  const DWORD length = FormatMessageW(
      FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
      nullptr, static_cast<DWORD>(error), 0, text, static_cast<DWORD>(std::size(text)), nullptr);
  std::u16string wide(text, text + length);
  while (!wide.empty() && wide.back() == u' ') wide.pop_back();
  return TextOfWide(wide);
}

// By the rules of file systems, which the registry shares; no language's own.
std::u16string CapitalName(std::u16string_view name) {
  std::u16string capitals(name);
  const int length = static_cast<int>(name.size());
  LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, Wide(name.data()), length,
                Wide(capitals.data()), length, nullptr, nullptr, 0);
  return capitals;
}

bool Has32BitView() {
  // Native: a 32-bit program asks what the system is, not what it is shown.
  SYSTEM_INFO info = {};
  GetNativeSystemInfo(&info);
  return info.wProcessorArchitecture == PROCESSOR_ARCHITECTURE_AMD64 ||
         info.wProcessorArchitecture == PROCESSOR_ARCHITECTURE_ARM64;
}

int32_t Adjust(HANDLE token, const char16_t* name, bool enable, bool* was_enabled) {
  TOKEN_PRIVILEGES wanted = {};
  wanted.PrivilegeCount = 1;
  wanted.Privileges[0].Attributes = enable ? SE_PRIVILEGE_ENABLED : 0;
  if (!LookupPrivilegeValueW(nullptr, Wide(name), &wanted.Privileges[0].Luid)) {
    return static_cast<int32_t>(GetLastError());
  }
  TOKEN_PRIVILEGES before = {};
  DWORD size = sizeof before;
  AdjustTokenPrivileges(token, FALSE, &wanted, sizeof before, &before, &size);
  // Alone tells: the call succeeds also for a privilege that the process does not have.
  const DWORD error = GetLastError();
  // Only what changed comes back.
  const bool changed = before.PrivilegeCount != 0;
  *was_enabled = changed ? (before.Privileges[0].Attributes & SE_PRIVILEGE_ENABLED) != 0 : enable;
  return error == ERROR_NOT_ALL_ASSIGNED ? kPrivilegeNotHeld : static_cast<int32_t>(error);
}

// Of the process, not of a thread.
int32_t SetPrivilege(const char16_t* name, bool enable, bool* was_enabled) {
  HANDLE token = nullptr;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token)) {
    return static_cast<int32_t>(GetLastError());
  }
  const int32_t error = Adjust(token, name, enable, was_enabled);
  CloseHandle(token);
  return error;
}

}  // namespace

Registry PlatformRegistry() {
  return {Open,        Close,        QueryInfo,     EnumKey,     EnumValue, QueryValue,
          GetSecurity, QueryClass,   KeyName,       Create,      SetValue,  SetSecurity,
          Save,        SaveNatively, ProtectFileBy, Load,        Unload,    Replace,
          ErrorText,   CapitalName,  Has32BitView,  SetPrivilege};
}

}  // namespace hivequarry
