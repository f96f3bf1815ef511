// Folders that have a GUID instead of a place.
#include "host/number_text.h"
#include "reports/shell_items.h"

namespace hivequarry {
namespace {

constexpr struct {
  std::string_view guid;
  const char* name;
} kFolders[] = {
    {"{018D5C66-4533-4307-9B53-224DE2ED1FE6}", "OneDrive"},
    {"{025A5937-A6BE-4686-A844-36FE4BEC8B6D}", "Power Options"},
    {"{031E4825-7B94-4DC3-B131-E946B44C8DD5}", "Libraries"},
    {"{04731B67-D933-450A-90E6-4ACD2E9408FE}", "Search Folder"},
    {"{05D7B0F4-2121-4EFF-BF6B-ED3F69B894D9}", "Notification Area Icons"},
    {"{088E3905-0323-4B02-9826-5D99428E115F}", "Downloads"},
    {"{0DB7E03F-FC29-4DC6-9020-FF41B59E513A}", "3D Objects"},
    {"{1CF1260C-4DD0-4EBB-811F-33C572699FDE}", "Music"},
    {"{20D04FE0-3AEA-1069-A2D8-08002B30309D}", "My Computer"},
    {"{208D2C60-3AEA-1069-A2D7-08002B30309D}", "My Network Places"},
    {"{2112AB0A-C86A-4FFE-A368-0DE96E47012E}", "Music Library"},
    {"{21EC2020-3AEA-1069-A2DD-08002B30309D}", "Control Panel"},
    {"{2227A280-3AEA-1069-A2DE-08002B30309D}", "Printers"},
    {"{22877A6D-37A1-461A-91B0-DBDA5AAEBC99}", "Recent Places"},
    {"{24AD3AD4-A569-4530-98E1-AB02F9417AA8}", "Pictures"},
    {"{2559A1F0-21D7-11D4-BDAF-00C04F60B9F0}", "Search"},
    {"{26EE0668-A00A-44D7-9371-BEB064C98683}", "Control Panel"},
    {"{323CA680-C24D-4099-B94D-446DD2D7249E}", "Favorites"},
    {"{36EEF7DB-88AD-4E81-AD49-0E313F0C35F8}", "Windows Update"},
    {"{374DE290-123F-4565-9164-39C4925E467B}", "Downloads"},
    {"{3ADD1653-EB32-4CB0-BBD7-DFA0ABB5ACCA}", "Pictures"},
    {"{3DFDF296-DBEC-4FB4-81D1-6A3438BCF4DE}", "Music"},
    {"{4336A54D-038B-4685-AB02-99BB52D3FB8B}", "Public"},
    {"{450D8FBA-AD25-11D0-98A8-0800361B1103}", "My Documents"},
    {"{491E922F-5643-4AF4-A7EB-4E7A138D8174}", "Videos Library"},
    {"{59031A47-3F72-44A7-89C5-5595FE6B30EE}", "User Files"},
    {"{60632754-C523-4B62-B45C-4172DA012619}", "User Accounts"},
    {"{645FF040-5081-101B-9F08-00AA002F954E}", "Recycle Bin"},
    {"{679F85CB-0220-4080-B29B-5540CC05AAB6}", "Quick Access"},
    {"{7007ACC7-3202-11D1-AAD2-00805FC1270E}", "Network Connections"},
    {"{74246BFC-4C96-11D0-ABEF-0020AF6B0B7A}", "Device Manager"},
    {"{7B0DB17D-9CD2-4A93-9733-46CC89022E7C}", "Documents Library"},
    {"{7B81BE6A-CE2B-4676-A29E-EB907A5126C5}", "Programs and Features"},
    {"{871C5380-42A0-1069-A2EA-08002B30309D}", "Internet Explorer"},
    {"{8E908FC9-BECC-40F6-915B-F4CA0E70D03D}", "Network and Sharing Center"},
    {"{9343812E-1C37-4A49-A12E-4B2D810D956B}", "Search Home"},
    {"{A0953C92-50DC-43BF-BE83-3742FED03C9C}", "Videos"},
    {"{A8CDFF1C-4878-43BE-B5FD-F8091C1C60D0}", "Documents"},
    {"{A990AE9F-A03B-4E80-94BC-9912D7504104}", "Pictures Library"},
    {"{B4BFCC3A-DB2C-424C-B029-7FE99A87C641}", "Desktop"},
    {"{B4FB3F98-C1EA-428D-A78A-D1F5659CBA93}", "Homegroup"},
    {"{BB06C0E4-D293-4F75-8A90-CB05B6477EEE}", "System"},
    {"{BD84B380-8CA2-1069-AB1D-08000948F534}", "Fonts"},
    {"{D20EA4E1-3957-11D2-A40B-0C5020524153}", "Administrative Tools"},
    {"{D3162B92-9365-467A-956B-92703ACA08AF}", "Documents"},
    {"{ED834ED6-4B5A-4BFE-8F11-A626DCB6A921}", "Personalization"},
    {"{F02C1A0D-BE21-4350-88B0-7367FC96EF3C}", "Network"},
    {"{F86FA3AB-70D2-4FC7-9C99-FCBF05467F3A}", "Videos"},
};

}  // namespace

std::string GuidText(std::span<const uint8_t, 16> guid) {
  // The first three groups are stored as little-endian numbers.
  constexpr int kOrder[] = {3, 2, 1, 0, -1, 5, 4, -1, 7, 6, -1, 8, 9, -1, 10, 11, 12, 13, 14, 15};
  std::string text = "{";
  for (const int index : kOrder) {
    if (index < 0) {
      text += '-';
      continue;
    }
    const uint8_t byte = guid[static_cast<size_t>(index)];
    text += {kUpperDigits[byte >> 4], kUpperDigits[byte & 15]};
  }
  return text + '}';
}

std::string FolderName(std::span<const uint8_t, 16> guid) {
  std::string text = GuidText(guid);
  for (const auto& [known, name] : kFolders) {
    if (known == text) return name;
  }
  return text;
}

}  // namespace hivequarry
