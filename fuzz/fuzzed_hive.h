// A fuzzer's input as a hive: opened, with its tree, for as long as the object lives. Targets built
// with it also get a mutator that knows where the fields of a hive are.
#pragma once

#include <cstddef>
#include <cstdint>

#include "hive/image.h"
#include "hive/key_tree.h"
#include "recovery/image_tree.h"

namespace hivequarry::fuzzing {

// Ends the run with a finding.
void Require(bool holds);

class FuzzedHive {
 public:
  FuzzedHive(const uint8_t* data, size_t size, const BuildOptions& options = {});
  ~FuzzedHive();
  FuzzedHive(const FuzzedHive&) = delete;
  FuzzedHive& operator=(const FuzzedHive&) = delete;

 private:
  int slot_;

 public:
  HiveImage& hive;
  KeyTree tree;
  ImageSummary summary;
};

}  // namespace hivequarry::fuzzing
