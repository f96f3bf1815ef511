#include "app/recent_keys.h"

#include <algorithm>

#include "app/key_paths.h"
#include "host/output_file.h"
#include "host/profile.h"

namespace hivequarry {
namespace {

constexpr const char* kSection = "RKS";

std::string KeyOf(size_t number) { return "RK" + std::to_string(number); }

bool Holds(const RecentKeys& keys, const std::string& path) {
  return std::ranges::any_of(keys,
                             [&path](const std::string& key) { return SameKeyPath(key, path); });
}

void AddBehind(RecentKeys& keys, const std::string& path) {
  const std::string clean = CleanKeyPath(path);
  if (!clean.empty() && keys.size() < kRecentKeys && !Holds(keys, clean)) keys.push_back(clean);
}

// A key that the file does not have reads as an empty text, so a number that was never used is not
// written.
bool Put(const std::string& file, size_t number, const std::string& text) {
  const std::string key = KeyOf(number);
  if (ReadProfile(file, kSection, key.c_str(), "", kMaxAsciiKeyPath) == text) return true;
  return WriteProfile(file, kSection, key.c_str(), text);
}

bool PutAll(const std::string& file, const RecentKeys& keys) {
  bool written = true;
  for (size_t number = 0; written && number < kRecentKeys; ++number) {
    written = Put(file, number, number < keys.size() ? AsciiKeyPath(keys[number]) : std::string());
  }
  return written;
}

}  // namespace

RecentKeys& TheRecentKeys() {
  static RecentKeys keys;
  return keys;
}

void AddRecentKey(RecentKeys& keys, const std::string& path) {
  const std::string clean = CleanKeyPath(path);
  if (clean.empty()) return;
  std::erase_if(keys, [&clean](const std::string& key) { return SameKeyPath(key, clean); });
  keys.insert(keys.begin(), clean);
  keys.resize(std::min(keys.size(), kRecentKeys));
}

void ReadRecentKeys(const std::string& file, RecentKeys& keys) {
  keys.clear();
  for (size_t number = 0; number < kRecentKeys; ++number) {
    AddBehind(keys, ReadProfile(file, kSection, KeyOf(number).c_str(), "", kMaxAsciiKeyPath));
  }
}

bool WriteRecentKeys(const std::string& file, const RecentKeys& keys) {
  RecentKeys stored;
  ReadRecentKeys(file, stored);
  RecentKeys all;
  for (const std::string& path : keys) AddBehind(all, path);
  for (const std::string& path : stored) AddBehind(all, path);
  if (all == stored) return true;
  return ChangeFile(file, [&all](const std::string& copy) { return PutAll(copy, all); });
}

}  // namespace hivequarry
