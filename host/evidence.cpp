#include "host/evidence.h"

#include <algorithm>
#include <mutex>
#include <system_error>
#include <vector>

#include "host/files.h"

namespace hivequarry {
namespace {

struct EvidenceFiles {
  std::mutex mutex;
  std::vector<std::string> names;  // whole paths
};

EvidenceFiles& TheEvidence() {
  static EvidenceFiles files;
  return files;
}

}  // namespace

void KeepEvidence(const std::string& name) {
  EvidenceFiles& files = TheEvidence();
  const std::scoped_lock lock(files.mutex);
  files.names.push_back(FullName(name));
}

void ReleaseEvidence(const std::string& name) {
  EvidenceFiles& files = TheEvidence();
  const std::scoped_lock lock(files.mutex);
  const auto at = std::ranges::find(files.names, FullName(name));
  if (at != files.names.end()) files.names.erase(at);
}

bool IsEvidence(const std::string& name) {
  EvidenceFiles& files = TheEvidence();
  const std::scoped_lock lock(files.mutex);
  return std::ranges::any_of(files.names, [&name](const std::string& kept) {
    std::error_code ignored;
    return std::filesystem::equivalent(FilePath(kept), FilePath(name), ignored);
  });
}

}  // namespace hivequarry
