// What app packages keep in their "settings.dat": values below "LocalState", "RoamingState" and
// "TemporaryState", of types of their own (words/property_values.h). Each has the time of its last
// change, which keys have for all of their values together alone. From Windows 8 on.
#include "evidence/decode.h"
#include "host/long_operation.h"
#include "words/property_values.h"

namespace hivequarry {
namespace {

// The value is of a setting's type. A row without type, text and time where its data can't be read.
void AddSetting(EvidenceRun& run, EvidenceKey key, const EvidenceValue& value) {
  EvidenceRow row;
  if (!HasData(value, 0, row)) {
    AddEvidence(run, std::move(row.Empty(3)), key, &value);
    return;
  }
  PropertyValue setting = ReadPropertyValue(value.type, value.data);
  row.Text(std::move(setting.type)).Text(std::move(setting.text)).Time(setting.written);
  if (!setting.fault.empty()) row.Note(setting.fault);
  AddEvidence(run, std::move(row), key, &value);
}

}  // namespace

// The keys as they are nested, with a stack, in the tree's order.
void DecodeAppSettings(EvidenceRun& run, Places places) {
  std::vector<EvidenceKey> open;
  for (auto place = places.rbegin(); place != places.rend(); ++place) open.push_back(place->key);
  while (!open.empty() && !StopRequested()) {
    const EvidenceKey key = open.back();
    open.pop_back();
    for (const EvidenceValue& value : run.keys.ValuesOf(key)) {
      if (IsAppSetting(value.type)) AddSetting(run, key, value);
    }
    const std::vector<EvidenceKey> children = run.keys.ChildrenOf(key);
    open.insert(open.end(), children.rbegin(), children.rend());
  }
}

void DecodeLooseAppSettings(EvidenceRun& run, std::span<const EvidenceValue> values) {
  for (const EvidenceValue& value : values) {
    if (IsAppSetting(value.type)) AddSetting(run, kNoEvidenceKey, value);
  }
}

}  // namespace hivequarry
