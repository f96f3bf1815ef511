// A host that writes down what the user would have seen, for as long as the object lives.
#pragma once

#include <map>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/host.h"

namespace hivequarry::testing {

struct ShownMessage {
  std::string text;
  std::string title;
  Icon icon = Icon::kNone;
  Buttons buttons = Buttons::kOk;
  bool operator==(const ShownMessage&) const = default;
};

class HostRecorder {
 public:
  HostRecorder() : before_(CurrentHost()) {
    Host host = NullHost();
    host.context = this;
    host.message = [](void* context, const char* text, const char* title, Icon icon,
                      Buttons buttons) {
      HostRecorder& self = *static_cast<HostRecorder*>(context);
      const std::lock_guard lock(self.mutex_);
      self.messages.push_back({text, title, icon, buttons});
      return buttons == Buttons::kOk ? Answer::kOk : self.answer;
    };
    host.status = [](void* context, const char* text) {
      HostRecorder& self = *static_cast<HostRecorder*>(context);
      const std::lock_guard lock(self.mutex_);
      // Counters come by the thousand; the phases are what a test wants to see.
      if (self.statuses.size() < 10000) self.statuses.emplace_back(text);
      if (self.on_status != nullptr) self.on_status(text);
    };
    host.progress_range = [](void* context, uint32_t steps) {
      static_cast<HostRecorder*>(context)->progress_ranges.push_back(steps);
    };
    host.progress_position = [](void* context, uint32_t position) {
      static_cast<HostRecorder*>(context)->progress_positions.push_back(position);
    };
    host.beep = [](void* context) { ++static_cast<HostRecorder*>(context)->beeps; };
    host.wait_cursor = [](void* context, bool on) {
      static_cast<HostRecorder*>(context)->waiting += on ? 1 : -1;
    };
    host.hive_title = [](void* context, const std::string& name) {
      static_cast<HostRecorder*>(context)->titles.push_back(name);
    };
    host.clipboard = [](void* context, std::string_view text) {
      static_cast<HostRecorder*>(context)->clipboard = text;
      return true;
    };
    host.launch = [](void* context, const std::string& arguments) {
      static_cast<HostRecorder*>(context)->launches.push_back(arguments);
      return true;
    };
    host.account = [](void* context, std::span<const uint8_t> sid) {
      HostRecorder& self = *static_cast<HostRecorder*>(context);
      const std::lock_guard lock(self.mutex_);
      ++self.accounts_asked;
      const auto known = self.accounts.find({sid.begin(), sid.end()});
      return known == self.accounts.end() ? AccountAnswer() : known->second;
    };
    SetHost(host);
  }
  ~HostRecorder() { SetHost(before_); }
  HostRecorder(const HostRecorder&) = delete;
  HostRecorder& operator=(const HostRecorder&) = delete;

  // True when a status text begins with `start`.
  bool Showed(std::string_view start) const {
    for (const std::string& text : statuses) {
      if (text.starts_with(start)) return true;
    }
    return false;
  }

  Answer answer = Answer::kNo;  // to every question
  void (*on_status)(const char* text) = nullptr;
  std::vector<ShownMessage> messages;
  std::vector<std::string> statuses;
  std::vector<uint32_t> progress_ranges;
  std::vector<uint32_t> progress_positions;
  std::vector<std::string> titles;
  std::vector<std::string> launches;
  std::string clipboard;
  std::map<std::vector<uint8_t>, AccountAnswer> accounts;  // by binary SID; others are unknown
  int accounts_asked = 0;
  int beeps = 0;
  int waiting = 0;  // wait cursors shown and not taken back

 private:
  Host before_;
  std::mutex mutex_;
};

}  // namespace hivequarry::testing
