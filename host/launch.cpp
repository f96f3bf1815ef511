#include "host/launch.h"

#include <cinttypes>
#include <cstdio>

namespace hivequarry {
namespace {

const char* SwitchOf(int mode) {
  switch (mode) {
    case kLaunchUser:
      return "/U ";
    case kLaunchReplace:
      return "/R ";
    case kLaunchSystem:
      return "/S ";
    case kLaunchPlain:
      return "";
    default:
      return "/C ";
  }
}

}  // namespace

bool LaunchSelf(const std::string& arguments, int mode) {
  const Host& host = CurrentHost();
  return host.launch(host.context, SwitchOf(mode) + arguments);
}

std::string RangeArguments(const std::string& file, uint32_t start, uint32_t end) {
  char range[48];
  std::snprintf(range, sizeof range, "-soff=%" PRIu32 " -eoff=%" PRIu32 " \"", start, end);
  return range + file + '"';
}

std::string KeyArguments(const std::string& file, uint32_t start, uint32_t end, uint32_t key) {
  return "-key=" + std::to_string(key) + ' ' + RangeArguments(file, start, end);
}

}  // namespace hivequarry
