#include "host/launch.h"

#include "host/number_text.h"

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
  return Concat({"-soff=", Decimal(start), " -eoff=", Decimal(end), " \"", file, "\""});
}

std::string KeyArguments(const std::string& file, uint32_t start, uint32_t end, uint32_t key) {
  return "-key=" + std::to_string(key) + ' ' + RangeArguments(file, start, end);
}

}  // namespace hivequarry
