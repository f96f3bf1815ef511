#include "cli/build_words.h"

#include <string_view>

#include "host/number_text.h"

namespace hivequarry {
namespace {

// What the compiler says of its target, not what the machine is that the program runs on.
#if defined(_WIN32)
constexpr std::string_view kSystem = "Windows";
#else
constexpr std::string_view kSystem = "Linux";
#endif
#if defined(__x86_64__)
constexpr std::string_view kProcessor = "x86_64";
#elif defined(__aarch64__)
constexpr std::string_view kProcessor = "aarch64";
#else
constexpr std::string_view kProcessor = "another processor";
#endif
#if defined(__clang__)
constexpr std::string_view kCompiler = __VERSION__;  // has its name
#else
constexpr std::string_view kCompiler = "GCC " __VERSION__;
#endif

}  // namespace

std::string BuildWords() {
  constexpr std::string_view kCommit = HIVEQUARRY_COMMIT;
  return Concat({HIVEQUARRY_VERSION, "\nbuilt of ",
                 kCommit.empty() ? "sources without a history" : "commit ", kCommit, ", by ",
                 kCompiler, ", for ", kSystem, " on ", kProcessor});
}

}  // namespace hivequarry
