// The folder of real hives, for tests that are skipped without it.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

namespace hivequarry::testing {

// HIVEQUARRY_CORPUS, or the folder beside the project.
inline std::filesystem::path CorpusFolder() {
  const char* named = std::getenv("HIVEQUARRY_CORPUS");
  if (named != nullptr && *named != '\0') return named;
  return std::filesystem::path(HIVEQUARRY_SOURCE_DIR) / ".." / "shared" / "hives";
}
inline bool HasCorpus() { return std::filesystem::exists(CorpusFolder() / "FACTS.tsv"); }
inline std::string CorpusFile(const std::string& name) { return (CorpusFolder() / name).string(); }

}  // namespace hivequarry::testing
