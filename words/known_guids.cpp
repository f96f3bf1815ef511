#include "words/known_guids.h"

#include <algorithm>

#include "bytes/byte_view.h"
#include "host/number_text.h"

namespace hivequarry {
namespace {

constexpr size_t kGuidLength = 36;  // without braces
// Where the digits of each byte begin, the bytes in the order of the text.
constexpr size_t kDigits[] = {0, 2, 4, 6, 9, 11, 14, 16, 19, 21, 24, 26, 28, 30, 32, 34};

constexpr char32_t Widened(char c) { return static_cast<unsigned char>(c); }

// `text` without braces; nothing when it is no GUID.
constexpr std::optional<Guid> ReadGuid(std::string_view text) {
  if (text.size() != kGuidLength) return std::nullopt;
  for (const size_t dash : {8, 13, 18, 23}) {
    if (text[dash] != '-') return std::nullopt;
  }
  std::array<uint8_t, 16> bytes{};
  for (size_t index = 0; index < bytes.size(); ++index) {
    const uint32_t high = DigitOf(Widened(text[kDigits[index]]));
    const uint32_t low = DigitOf(Widened(text[kDigits[index] + 1]));
    if (high > 15 || low > 15) return std::nullopt;
    bytes[index] = static_cast<uint8_t>(high << 4 | low);
  }
  Guid guid{.first = uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 |
                     bytes[3],
            .second = static_cast<uint16_t>(bytes[4] << 8 | bytes[5]),
            .third = static_cast<uint16_t>(bytes[6] << 8 | bytes[7])};
  std::copy(bytes.begin() + 8, bytes.end(), guid.rest.begin());
  return guid;
}

// A GUID of the tables below; one that is mistyped does not compile.
struct TableGuid : Guid {
  consteval TableGuid(const char* text) : Guid(ReadGuid(text).value()) {}
};

// A known folder: what it is called, and where it is.
struct FolderRow {
  TableGuid guid;
  std::string_view name;
  std::string_view place;
};

struct ClassRow {
  TableGuid guid;
  std::string_view name;
};

// A property: the GUID of its set, its number in it.
struct PropertyRow {
  TableGuid guid;
  uint32_t number;
  std::string_view name;
};

// All tables are in ascending order.
constexpr FolderRow kFolders[] = {
    {"008CA0B1-55B4-4C56-B8A8-4DE4B299D3BE", "AccountPictures",
     R"(%APPDATA%\Microsoft\Windows\AccountPictures)"},
    {"00BCFC5A-ED94-4E48-96A1-3F6217F21990", "RoamingTiles",
     R"(%LOCALAPPDATA%\Microsoft\Windows\RoamingTiles)"},
    {"0139D44E-6AFE-49F2-8690-3DAFCAE6FFB8", "CommonPrograms",
     R"(%ALLUSERSPROFILE%\Microsoft\Windows\Start Menu\Programs)"},
    {"0482AF6C-08F1-4C34-8C90-E17EC98B1E17", "PublicUserTiles", R"(%PUBLIC%\AccountPictures)"},
    {"054FAE61-4DD8-4787-80B6-090220C4B700", "GameTasks",
     R"(%LOCALAPPDATA%\Microsoft\Windows\GameExplorer)"},
    {"0762D272-C50A-4BB0-A382-697DCD729B80", "UserProfiles", R"(%SystemDrive%\Users)"},
    {"0AC0837C-BBF8-452A-850D-79D08E667CA7", "ComputerFolder", ""},
    {"0D4C3DB6-03A3-462F-A0E6-08924C41B5D4", "SearchHistory",
     R"(%LOCALAPPDATA%\Microsoft\Windows\ConnectedSearch\History)"},
    {"0DDD015D-B06C-45D5-8C4C-F59713854639", "LocalPictures", ""},
    {"0F214138-B1D3-4A90-BBA9-27CBC0C5389A", "SyncSetupFolder", ""},
    {"12D4C69E-24AD-4923-BE19-31321C43A767", "RetailDemo", ""},
    {"15CA69B3-30EE-49C1-ACE1-6B5EC372AFB5", "SamplePlaylists",
     R"(%PUBLIC%\Music\Sample Playlists)"},
    {"1777F761-68AD-4D8A-87BD-30B759FA33DD", "Favorites", R"(%USERPROFILE%\Favorites)"},
    {"18989B1D-99B5-455B-841C-AB7C74E4DDFC", "Videos", R"(%USERPROFILE%\Videos)"},
    {"190337D1-B8CA-4121-A639-6D472D16972A", "SearchHome", ""},
    {"1A6FDBA2-F42D-4358-A798-B74D745926C5", "RecordedTVLibrary",
     R"(%PUBLIC%\Libraries\RecordedTV.library-ms)"},
    {"1AC14E77-02E7-4E5D-B744-2EB1AE5198B7", "System32", R"(%windir%\system32)"},
    {"1B3EA5DC-B587-4786-B4EF-BD1DC332AEAE", "Libraries",
     R"(%APPDATA%\Microsoft\Windows\Libraries)"},
    {"1C2AC1DC-4358-4B6C-9733-AF21156576F0", "Device", ""},
    {"1E87508D-89C2-42F0-8A7E-645A0F50CA58", "AppsFolder", ""},
    {"2112AB0A-C86A-4FFE-A368-0DE96E47012E", "MusicLibrary",
     R"(%APPDATA%\Microsoft\Windows\Libraries\Music.library-ms)"},
    {"2400183A-6185-49FB-A2D8-4A392A602BA3", "PublicVideos", R"(%PUBLIC%\Videos)"},
    {"24D89E24-2F19-4534-9DDE-6A6671FBB8FE", "SkyDriveDocuments",
     R"(%USERPROFILE%\OneDrive\Documents)"},
    {"289A9A43-BE44-4057-A41B-587A76D7E7F9", "SyncResultsFolder", ""},
    {"2A00375E-224C-49DE-B8D1-440DF7EF3DDC", "LocalizedResourcesDir", R"(%windir%\resources\0409)"},
    {"2B0F765D-C0E9-4171-908E-08A611B84FF6", "Cookies", R"(%APPDATA%\Microsoft\Windows\Cookies)"},
    {"2B20DF75-1EDA-4039-8097-38798227D5B7", "CameraRollLibrary", ""},
    {"2C36C0AA-5812-4B87-BFD0-4CD0DFB19B39", "OriginalImages",
     R"(%LOCALAPPDATA%\Microsoft\Windows Photo Gallery\Original Images)"},
    {"2F8B40C2-83ED-48EE-B383-A1F157EC6F9A", "RecordedCalls", ""},
    {"31C0DD25-9439-4F12-BF41-7FF4EDA38722", "Objects3D", R"(%USERPROFILE%\3D Objects)"},
    {"3214FAB5-9757-4298-BB61-92A9DEAA44FF", "PublicMusic", R"(%PUBLIC%\Music)"},
    {"339719B5-8C47-4894-94C2-D8F77ADD44A6", "SkyDrivePictures",
     R"(%USERPROFILE%\OneDrive\Pictures)"},
    {"33E28130-4E1E-4676-835A-98395C3BC3BB", "Pictures", R"(%USERPROFILE%\Pictures)"},
    {"352481E8-33BE-4251-BA85-6007CAEDCF9D", "InternetCache",
     R"(%LOCALAPPDATA%\Microsoft\Windows\Temporary Internet Files)"},
    {"35286A68-3C57-41A1-BBB1-0EAE73D76C95", "LocalVideos", ""},
    {"374DE290-123F-4565-9164-39C4925E467B", "Downloads", R"(%USERPROFILE%\Downloads)"},
    {"3B193882-D3AD-4EAB-965A-69829D1FB59F", "SavedPictures",
     R"(%USERPROFILE%\Pictures\Saved Pictures)"},
    {"3D644C9B-1FB8-4F30-9B45-F670235F79C0", "PublicDownloads", R"(%PUBLIC%\Downloads)"},
    {"3DB40B20-2A30-4DBE-917E-771DD21DD099", "CurrentAppMods", ""},
    {"3EB685DB-65F9-4CF6-A03A-E3EF65729F3D", "RoamingAppData", R"(%APPDATA%)"},
    {"43668BF8-C14E-49B2-97C9-747784D784B7", "SyncManagerFolder", ""},
    {"48DAF80B-E6CF-4F4E-B800-0E69D84EE384", "PublicLibraries", R"(%PUBLIC%\Libraries)"},
    {"491E922F-5643-4AF4-A7EB-4E7A138D8174", "VideosLibrary",
     R"(%APPDATA%\Microsoft\Windows\Libraries\Videos.library-ms)"},
    {"4BD8D571-6D19-48D3-BE97-422220080E43", "Music", R"(%USERPROFILE%\Music)"},
    {"4BFEFB45-347D-4006-A5BE-AC0CB0567192", "ConflictFolder", ""},
    {"4C5C32FF-BB9D-43B0-B5B4-2D72E54EAAA4", "SavedGames", R"(%USERPROFILE%\Saved Games)"},
    {"4D9F7874-4E0C-4904-967B-40B0D20C3E4B", "InternetFolder", ""},
    {"52528A6B-B9E3-4ADD-B60D-588C2DBA842D", "HomeGroup", ""},
    {"52A4F021-7B75-48A9-9F6B-4B87A210BC8F", "QuickLaunch",
     R"(%APPDATA%\Microsoft\Internet Explorer\Quick Launch)"},
    {"559D40A3-A036-40FA-AF61-84CB430A4D34", "AppDataProgramData", ""},
    {"56784854-C6CB-462B-8169-88E350ACB882", "Contacts", R"(%USERPROFILE%\Contacts)"},
    {"5CD7AEE2-2219-4A67-B85D-6C9CE15660CB", "UserProgramFiles", R"(%LOCALAPPDATA%\Programs)"},
    {"5CE4A5E9-E4EB-479D-B89F-130C02886155", "DeviceMetadataStore",
     R"(%ALLUSERSPROFILE%\Microsoft\Windows\DeviceMetadataStore)"},
    {"5E6C858F-0E22-4760-9AFE-EA3317B67173", "Profile", R"(%USERPROFILE%)"},
    {"625B53C3-AB48-4EC1-BA1F-A1EF4146FC19", "StartMenu",
     R"(%APPDATA%\Microsoft\Windows\Start Menu)"},
    {"62AB5D82-FDC1-4DC3-A9DD-070D1D495D97", "ProgramData", R"(%ALLUSERSPROFILE%)"},
    {"6365D5A7-0F0D-45E5-87F6-0DA56B6A4F7D", "ProgramFilesCommonX64",
     R"(%ProgramFiles%\Common Files)"},
    {"69D2CF90-FC33-4FB7-9A0C-EBB0F0FCB43C", "PhotoAlbums",
     R"(%USERPROFILE%\Pictures\Slide Shows)"},
    {"6D809377-6AF0-444B-8957-A3773F02200E", "ProgramFilesX64", R"(%ProgramFiles%)"},
    {"6F0CD92B-2E97-45D1-88FF-B0D186B8DEDD", "ConnectionsFolder", ""},
    {"724EF170-A42D-4FEF-9F26-B60E846FBA4F", "AdminTools",
     R"(%APPDATA%\Microsoft\Windows\Start Menu\Programs\Administrative Tools)"},
    {"767E6811-49CB-4273-87C2-20F355E1085B", "SkyDriveCameraRoll",
     R"(%USERPROFILE%\OneDrive\Pictures\Camera Roll)"},
    {"76FC4E2D-D6AD-4519-A663-37BD56068185", "PrintersFolder", ""},
    {"7AD67899-66AF-43BA-9156-6AAD42E6C596", "AllAppMods", ""},
    {"7B0DB17D-9CD2-4A93-9733-46CC89022E7C", "DocumentsLibrary",
     R"(%APPDATA%\Microsoft\Windows\Libraries\Documents.library-ms)"},
    {"7B396E54-9EC5-4300-BE0A-2482EBAE1A26", "SidebarDefaultParts",
     R"(%ProgramFiles%\Windows Sidebar\Gadgets)"},
    {"7BE16610-1F7F-44AC-BFF0-83E15F2FFCA1", "AppDataDocuments", ""},
    {"7C5A40EF-A0FB-4BFC-874A-C0F2E0B9FA8E", "ProgramFilesX86", R"(%ProgramFiles(x86)%)"},
    {"7CFBEFBC-DE1F-45AA-B843-A542AC536CC9", "AppDataFavorites", ""},
    {"7D1D3A04-DEBB-4115-95CF-2F29DA2920DA", "SavedSearches", R"(%USERPROFILE%\Searches)"},
    {"7D83EE9B-2244-4E70-B1F5-5393042AF1E4", "LocalDownloads", ""},
    {"7E636BFE-DFA9-4D5E-B456-D7B39851D8A9", "SearchTemplates",
     R"(%LOCALAPPDATA%\Microsoft\Windows\ConnectedSearch\Templates)"},
    {"82A5EA35-D9CD-47C5-9629-E15D2F714E6E", "CommonStartup",
     R"(%ALLUSERSPROFILE%\Microsoft\Windows\Start Menu\Programs\StartUp)"},
    {"82A74AEB-AEB4-465C-A014-D097EE346D63", "ControlPanelFolder", ""},
    {"859EAD94-2E85-48AD-A71A-0969CB56A6CD", "SampleVideos", R"(%PUBLIC%\Videos\Sample Videos)"},
    {"8983036C-27C0-404B-8F08-102D10DCFD74", "SendTo", R"(%APPDATA%\Microsoft\Windows\SendTo)"},
    {"8AD10C31-2ADB-4296-A8F7-E4701232C972", "ResourceDir", R"(%windir%\Resources)"},
    {"905E63B6-C1BF-494E-B29C-65B732D3D21A", "ProgramFiles", R"(%ProgramFiles%)"},
    {"9274BD8D-CFD1-41C3-B35E-B13F55A758F4", "PrintHood",
     R"(%APPDATA%\Microsoft\Windows\Printer Shortcuts)"},
    {"98EC0E18-2098-4D44-8644-66979315A281", "SEARCH_MAPI", ""},
    {"9B74B6A3-0DFD-4F11-9E78-5F7800F2E772", "HomeGroupCurrentUser", ""},
    {"9E3995AB-1F9C-4F13-B827-48B24B6C7174", "UserPinned",
     R"(%APPDATA%\Microsoft\Internet Explorer\Quick Launch\User Pinned)"},
    {"9E52AB10-F80D-49DF-ACB8-4330F5687855", "CDBurning",
     R"(%LOCALAPPDATA%\Microsoft\Windows\Burn\Burn)"},
    {"A0C69A99-21C8-4671-8703-7934162FCF1D", "LocalMusic", ""},
    {"A302545D-DEFF-464B-ABE8-61C8648D939B", "UsersLibraries", ""},
    {"A305CE99-F527-492B-8B1A-7E76FA98D6E4", "AppUpdates", ""},
    {"A3918781-E5F2-4890-B3D9-A7E54332328C", "ApplicationShortcuts",
     R"(%LOCALAPPDATA%\Microsoft\Windows\Application Shortcuts)"},
    {"A4115719-D62E-491D-AA7C-E74B8BE3B067", "CommonStartMenu",
     R"(%ALLUSERSPROFILE%\Microsoft\Windows\Start Menu)"},
    {"A440879F-87A0-4F7D-B700-0207B966194A", "CommonStartMenuPlaces", ""},
    {"A520A1A4-1780-4FF6-BD18-167343C5AF16", "LocalAppDataLow",
     R"(%USERPROFILE%\AppData\LocalLow)"},
    {"A52BBA46-E9E1-435F-B3D9-28DAA648C0F6", "OneDrive", R"(%USERPROFILE%\OneDrive)"},
    {"A63293E8-664E-48DB-A079-DF759E0509F7", "Templates",
     R"(%APPDATA%\Microsoft\Windows\Templates)"},
    {"A75D362E-50FC-4FB7-AC2C-A8BEAA314493", "SidebarParts",
     R"(%LOCALAPPDATA%\Microsoft\Windows Sidebar\Gadgets)"},
    {"A77F5D77-2E2B-44C3-A6A2-ABA601054A51", "Programs",
     R"(%APPDATA%\Microsoft\Windows\Start Menu\Programs)"},
    {"A990AE9F-A03B-4E80-94BC-9912D7504104", "PicturesLibrary",
     R"(%APPDATA%\Microsoft\Windows\Libraries\Pictures.library-ms)"},
    {"AAA8D5A5-F1D6-4259-BAA8-78E7EF60835E", "RoamedTileImages",
     R"(%LOCALAPPDATA%\Microsoft\Windows\RoamedTileImages)"},
    {"AB5FB87B-7CE2-4F83-915D-550846C9537B", "CameraRoll", R"(%USERPROFILE%\Pictures\Camera Roll)"},
    {"AE50C081-EBD2-438A-8655-8A092E34987A", "Recent", R"(%APPDATA%\Microsoft\Windows\Recent)"},
    {"B250C668-F57D-4EE1-A63C-290EE7D1AA1F", "SampleMusic", R"(%PUBLIC%\Music\Sample Music)"},
    {"B2C5E279-7ADD-439F-B28C-C41FE1BBF672", "AppDataDesktop", ""},
    {"B4BFCC3A-DB2C-424C-B029-7FE99A87C641", "Desktop", R"(%USERPROFILE%\Desktop)"},
    {"B6EBFB86-6907-413C-9AF7-4FC2ABF07CC5", "PublicPictures", R"(%PUBLIC%\Pictures)"},
    {"B7534046-3ECB-4C18-BE4E-64CD4CB7D6AC", "RecycleBinFolder", ""},
    {"B7BEDE81-DF94-4682-A7D8-57A52620B86F", "Screenshots",
     R"(%USERPROFILE%\Pictures\Screenshots)"},
    {"B94237E7-57AC-4347-9151-B08C6C32D1F7", "CommonTemplates",
     R"(%ALLUSERSPROFILE%\Microsoft\Windows\Templates)"},
    {"B97D20BB-F46A-4C97-BA10-5E3608430854", "Startup",
     R"(%APPDATA%\Microsoft\Windows\Start Menu\Programs\StartUp)"},
    {"BCB5256F-79F6-4CEE-B725-DC34E402FD46", "ImplicitAppShortcuts",
     R"(%APPDATA%\Microsoft\Internet Explorer\Quick Launch\User Pinned\ImplicitAppShortcuts)"},
    {"BCBD3057-CA5C-4622-B42D-BC56DB0AE516", "UserProgramFilesCommon",
     R"(%LOCALAPPDATA%\Programs\Common)"},
    {"BFB9D5E0-C6A9-404C-B2B2-AE6DB6AF4968", "Links", R"(%USERPROFILE%\Links)"},
    {"C1BAE2D0-10DF-4334-BEDD-7AA20B227A9D", "CommonOEMLinks", R"(%ALLUSERSPROFILE%\OEM Links)"},
    {"C3F2459E-80D6-45DC-BFEF-1F769F2BE730", "SkyDriveMusic", R"(%USERPROFILE%\OneDrive\Music)"},
    {"C4900540-2379-4C75-844B-64E6FAF8716B", "SamplePictures",
     R"(%PUBLIC%\Pictures\Sample Pictures)"},
    {"C4AA340D-F20F-4863-AFEF-F87EF2E6BA25", "PublicDesktop", R"(%PUBLIC%\Desktop)"},
    {"C5ABBF53-E17F-4121-8900-86626FC2C973", "NetHood",
     R"(%APPDATA%\Microsoft\Windows\Network Shortcuts)"},
    {"C870044B-F49E-4126-A9C3-B52A1FF411E8", "Ringtones",
     R"(%LOCALAPPDATA%\Microsoft\Windows\Ringtones)"},
    {"CAC52C1A-B53D-4EDC-92D7-6B2E8AC19434", "Games", ""},
    {"D0384E7D-BAC3-4797-8F14-CBA229B392B5", "CommonAdminTools",
     R"(%ALLUSERSPROFILE%\Microsoft\Windows\Start Menu\Programs\Administrative Tools)"},
    {"D20BEEC4-5CA8-4905-AE3B-BF251EA09B53", "NetworkFolder", ""},
    {"D65231B0-B2F1-4857-A4CE-A8E7C6EA7D27", "SystemX86", R"(%windir%\SysWOW64)"},
    {"D9DC8A3B-B784-432E-A781-5A1130A75963", "History",
     R"(%LOCALAPPDATA%\Microsoft\Windows\History)"},
    {"DBE8E08E-3053-4BBC-B183-2A7B2B191E59", "DevelopmentFiles", ""},
    {"DE61D971-5EBC-4F02-A3A9-6C82895E5C04", "AddNewPrograms", ""},
    {"DE92C1C7-837F-4F69-A3BB-86E631204A23", "Playlists", R"(%USERPROFILE%\Music\Playlists)"},
    {"DE974D24-D9C6-4D3E-BF91-F4455120B917", "ProgramFilesCommonX86",
     R"(%ProgramFiles(x86)%\Common Files)"},
    {"DEBF2536-E1A8-4C59-B6A2-414586476AEA", "PublicGameTasks",
     R"(%ALLUSERSPROFILE%\Microsoft\Windows\GameExplorer)"},
    {"DF7266AC-9274-4867-8D55-3BD661DE872D", "ChangeRemovePrograms", ""},
    {"DFDF76A2-C82A-4D63-906A-5644AC457385", "Public", R"(%PUBLIC%)"},
    {"E25B5812-BE88-4BD9-94B0-29233477B6C3", "SavedPicturesLibrary", ""},
    {"E555AB60-153B-4D17-9F04-A5FE99FC15EC", "PublicRingtones",
     R"(%ALLUSERSPROFILE%\Microsoft\Windows\Ringtones)"},
    {"ED4824AF-DCE4-45A8-81E2-FC7965083634", "PublicDocuments", R"(%PUBLIC%\Documents)"},
    {"EDC0FE71-98D8-4F4A-B920-C8DC133CB165", "AppCaptures", ""},
    {"EE32E446-31CA-4ABA-814F-A5EBD2FD6D5E", "SEARCH_CSC", ""},
    {"F1B32785-6FBA-4FCF-9D55-7B8E7F157091", "LocalAppData", R"(%LOCALAPPDATA%)"},
    {"F26305EF-6948-40B9-B255-81453D09C785", "StartMenuAllPrograms", ""},
    {"F38BF404-1D43-42F2-9305-67DE0B28FC23", "Windows", R"(%windir%)"},
    {"F3CE0F7C-4901-4ACC-8648-D5D44B04EF8F", "UsersFiles", ""},
    {"F42EE2D3-909F-4907-8871-4C22FC0BF756", "LocalDocuments", ""},
    {"F7F1ED05-9F6D-47A2-AAAE-29D317C6F066", "ProgramFilesCommon",
     R"(%ProgramFiles%\Common Files)"},
    {"FD228CB7-AE11-4AE3-864C-16F3910AB8FE", "Fonts", R"(%windir%\Fonts)"},
    {"FDD39AD0-238F-46AF-ADB4-6C85480369C7", "Documents", R"(%USERPROFILE%\Documents)"},
};

constexpr ClassRow kClasses[] = {
    {"00020D75-0000-0000-C000-000000000046", "Inbox"},
    {"00F2886F-CD64-4FC9-8EC5-30EF6CDBE8C3", "Scanners and Cameras"},
    {"0142E4D0-FB7A-11DC-BA4A-000FFE7AB428", "Biometric Devices"},
    {"018D5C66-4533-4307-9B53-224DE2ED1FE6", "OneDrive"},
    {"025A5937-A6BE-4686-A844-36FE4BEC8B6D", "Power Options"},
    {"031E4825-7B94-4DC3-B131-E946B44C8DD5", "Libraries"},
    {"04731B67-D933-450A-90E6-4ACD2E9408FE", "Search Folder"},
    {"05D7B0F4-2121-4EFF-BF6B-ED3F69B894D9", "Notification Area Icons"},
    {"088E3905-0323-4B02-9826-5D99428E115F", "Downloads"},
    {"0AFACED1-E828-11D1-9187-B532F1E9575D", "Folder Shortcut"},
    {"0DB7E03F-FC29-4DC6-9020-FF41B59E513A", "3D Objects"},
    {"1206F5F1-0569-412C-8FEC-3204630DFB70", "Credential Manager"},
    {"13E7F612-F261-4391-BEA2-39DF4F3FA311", "Windows Desktop Search"},
    {"15EAE92E-F17A-4431-9F28-805E482DAFD4", "Install New Programs"},
    {"17CD9488-1228-4B2F-88CE-4298E93E0966", "Default Programs"},
    {"1A9BA3A0-143A-11CF-8350-444553540000", "Shell Favorite Folder"},
    {"1CF1260C-4DD0-4EBB-811F-33C572699FDE", "Music"},
    {"1D2680C9-0E2A-469D-B787-065558BC7D43", "Fusion Cache"},
    {"1FA9085F-25A2-489B-85D4-86326EEDCD87", "Manage Wireless Networks"},
    {"208D2C60-3AEA-1069-A2D7-08002B30309D", "My Network Places"},
    {"20D04FE0-3AEA-1069-A2D8-08002B30309D", "My Computer"},
    {"2112AB0A-C86A-4FFE-A368-0DE96E47012E", "Music Library"},
    {"21EC2020-3AEA-1069-A2DD-08002B30309D", "Control Panel"},
    {"2227A280-3AEA-1069-A2DE-08002B30309D", "Printers"},
    {"22877A6D-37A1-461A-91B0-DBDA5AAEBC99", "Recent Places"},
    {"241D7C96-F8BF-4F85-B01F-E2B043341A4B", "RemoteApp and Desktop Connections"},
    {"24AD3AD4-A569-4530-98E1-AB02F9417AA8", "Pictures"},
    {"2559A1F0-21D7-11D4-BDAF-00C04F60B9F0", "Search"},
    {"2559A1F1-21D7-11D4-BDAF-00C04F60B9F0", "Help and Support"},
    {"2559A1F3-21D7-11D4-BDAF-00C04F60B9F0", "Run"},
    {"2559A1F4-21D7-11D4-BDAF-00C04F60B9F0", "Internet"},
    {"2559A1F5-21D7-11D4-BDAF-00C04F60B9F0", "E-mail"},
    {"2559A1F7-21D7-11D4-BDAF-00C04F60B9F0", "Set Program Access and Defaults"},
    {"2559A1F8-21D7-11D4-BDAF-00C04F60B9F0", "Search"},
    {"26EE0668-A00A-44D7-9371-BEB064C98683", "Control Panel"},
    {"28803F59-3A75-4058-995F-4EE5503B023C", "Bluetooth Devices"},
    {"289978AC-A101-4341-A817-21EBA7FD046D", "Sync Center Conflict Folder"},
    {"289AF617-1CC3-42A6-926C-E6A863F0E3BA", "Media Servers"},
    {"2965E715-EB66-4719-B53F-1672673BBEFA", "Results Folder"},
    {"2E9E59C0-B437-4981-A647-9C34B9B90891", "Sync Setup Folder"},
    {"2F6CE85C-F9EE-43CA-90C7-8A9BD53A2467", "File History Data Source"},
    {"3080F90D-D7AD-11D9-BD98-0000947B0257", "Show Desktop"},
    {"3080F90E-D7AD-11D9-BD98-0000947B0257", "Window Switcher"},
    {"3134EF9C-6B18-4996-AD04-ED5912E00EB5", "Recent Files"},
    {"323CA680-C24D-4099-B94D-446DD2D7249E", "Favorites"},
    {"35786D3C-B075-49B9-88DD-029876E11C01", "Portable Devices"},
    {"36EEF7DB-88AD-4E81-AD49-0E313F0C35F8", "Windows Update"},
    {"374DE290-123F-4565-9164-39C4925E467B", "Downloads"},
    {"37EFD44D-EF8D-41B1-940D-96973A50E9E0", "Desktop Gadgets"},
    {"38A98528-6CBF-4CA9-8DC0-B1E1D10F7B1B", "Connect To"},
    {"3936E9E4-D92C-4EEE-A85A-BC16D5EA0819", "Frequent Folders"},
    {"3ADD1653-EB32-4CB0-BBD7-DFA0ABB5ACCA", "Pictures"},
    {"3DFDF296-DBEC-4FB4-81D1-6A3438BCF4DE", "Music"},
    {"3F6BC534-DFA1-4AB4-AE54-EF25A74E0107", "System Restore"},
    {"4026492F-2F69-46B8-B9BF-5654FC07E423", "Windows Firewall"},
    {"418C8B64-5463-461D-88E0-75E2AFA3C6FA", "Explorer Browser Results Folder"},
    {"4336A54D-038B-4685-AB02-99BB52D3FB8B", "Public"},
    {"437FF9C0-A07F-4FA0-AF80-84B6C6440A16", "Command Folder"},
    {"450D8FBA-AD25-11D0-98A8-0800361B1103", "My Documents"},
    {"4564B25E-30CD-4787-82BA-39E73A750B14", "Recent Items"},
    {"48E7CAAB-B918-4E58-A94D-505519C795DC", "Start Menu Folder"},
    {"491E922F-5643-4AF4-A7EB-4E7A138D8174", "Videos Library"},
    {"52205FD8-5DFB-447D-801A-D0B52F2E83E1", "File Explorer"},
    {"5224F545-A443-4859-BA23-7B5A95BDC8EF", "People Near Me"},
    {"58E3C745-D971-4081-9034-86E34B30836A", "Speech Recognition"},
    {"59031A47-3F72-44A7-89C5-5595FE6B30EE", "User Files"},
    {"5B934B42-522B-4C34-BBFE-37A3EF7B9C90", "This Device"},
    {"5EA4F148-308C-46D7-98A9-49041B1DD468", "Windows Mobility Center"},
    {"60632754-C523-4B62-B45C-4172DA012619", "User Accounts"},
    {"63DA6EC0-2E98-11CF-8D82-444553540000", "FTP Folders"},
    {"640167B4-59B0-47A6-B335-A6B3C0695AEA", "Portable Media Devices"},
    {"645FF040-5081-101B-9F08-00AA002F954E", "Recycle Bin"},
    {"67718415-C450-4F3C-BF8A-B487642DC39B", "Windows Features"},
    {"6785BFAC-9D2D-4BE5-B7E2-59937E8FB80A", "Other Users Folder"},
    {"679F85CB-0220-4080-B29B-5540CC05AAB6", "Quick Access"},
    {"67CA7650-96E6-4FDD-BB43-A8E774F73A57", "Homegroup Settings"},
    {"692F0339-CBAA-47E6-B5B5-3B84DB604E87", "Extensions Manager Folder"},
    {"6DFD7C5C-2451-11D3-A299-00C04F8EF6AF", "Folder Options"},
    {"7007ACC7-3202-11D1-AAD2-00805FC1270E", "Network Connections"},
    {"71D99464-3B6B-475C-B241-E15883207529", "Sync Results Folder"},
    {"72B36E70-8700-42D6-A7F7-C9AB3323EE51", "Search Connector Folder"},
    {"74246BFC-4C96-11D0-ABEF-0020AF6B0B7A", "Device Manager"},
    {"78CB147A-98EA-4AA6-B0DF-C8681F69341C", "CardSpace"},
    {"78F3955E-3B90-4184-BD14-5397C15F1EFC", "Performance Information and Tools"},
    {"7A9D77BD-5403-11D2-8785-2E0420524153", "User Accounts"},
    {"7B0DB17D-9CD2-4A93-9733-46CC89022E7C", "Documents Library"},
    {"7B81BE6A-CE2B-4676-A29E-EB907A5126C5", "Programs and Features"},
    {"7BD29E00-76C1-11CF-9DD0-00A0C9034933", "Temporary Internet Files"},
    {"7BE9D83C-A729-4D97-B5A7-1B7313C39E0A", "Programs Folder"},
    {"85BBD920-42A0-1069-A2E4-08002B30309D", "Briefcase"},
    {"865E5E76-AD83-4DCA-A109-50DC2113CE9A", "Programs Folder and Fast Items"},
    {"871C5380-42A0-1069-A2EA-08002B30309D", "Internet Explorer"},
    {"877CA5AC-CB41-4842-9C69-9136E42D47E2", "File Backup Index"},
    {"88C6C381-2E85-11D0-94DE-444553540000", "ActiveX Cache Folder"},
    {"896664F7-12E1-490F-8782-C0835AFD98FC", "Libraries Delegate Folder"},
    {"8E74D236-7F35-4720-B138-1FED0B85EA75", "OneDrive"},
    {"8E908FC9-BECC-40F6-915B-F4CA0E70D03D", "Network and Sharing Center"},
    {"8FD8B88D-30E1-4F25-AC2B-553D3D65F0EA", "DXP"},
    {"93412589-74D4-4E4E-AD0E-E0CB621440FD", "Font Settings"},
    {"9343812E-1C37-4A49-A12E-4B2D810D956B", "Search Home"},
    {"9C60DE1E-E5FC-40F4-A487-460851A8D915", "AutoPlay"},
    {"9C73F5E5-7AE7-4E32-A8E8-8D23B85255BF", "Sync Center"},
    {"9DB7A13C-F208-4981-8353-73CC61AE2783", "Previous Versions"},
    {"9E52AB10-F80D-49DF-ACB8-4330F5687855", "Temporary Burn Folder"},
    {"9FE63AFD-59CF-4419-9775-ABCC3849F861", "Recovery"},
    {"A0953C92-50DC-43BF-BE83-3742FED03C9C", "Videos"},
    {"A304259D-52B8-4526-8B1A-A1D6CECC8243", "iSCSI Initiator"},
    {"A3DD4F92-658A-410F-84FD-6FBBBEF2FFFE", "Internet Options"},
    {"A6482830-08EB-41E2-84C1-73920C2BADB9", "Removable Storage Devices"},
    {"A8A91A66-3A7D-4424-8D24-04E180695C7A", "Devices and Printers"},
    {"A8CDFF1C-4878-43BE-B5FD-F8091C1C60D0", "Documents"},
    {"A990AE9F-A03B-4E80-94BC-9912D7504104", "Pictures Library"},
    {"AEE2420F-D50E-405C-8784-363C582BF45A", "Device Pairing Folder"},
    {"AFDB1F70-2A4C-11D2-9039-00C04F8EEB3E", "Offline Files Folder"},
    {"B155BDF8-02F0-451E-9A26-AE317CFD7779", "Network Shortcuts Delegate Folder"},
    {"B28AA736-876B-46DA-B3A8-84C5E30BA492", "Web Sites"},
    {"B2C761C6-29BC-4F19-9251-E6195265BAF1", "Color Management"},
    {"B4BFCC3A-DB2C-424C-B029-7FE99A87C641", "Desktop"},
    {"B4FB3F98-C1EA-428D-A78A-D1F5659CBA93", "Homegroup"},
    {"B98A2BEA-7D42-4558-8BD1-832F41BAC6FD", "Backup and Restore"},
    {"BB06C0E4-D293-4F75-8A90-CB05B6477EEE", "System"},
    {"BB64F8A7-BEE7-4E1A-AB8D-7D8273F7FDB6", "Action Center"},
    {"BD7A2E7B-21CB-41B2-A086-B309680C6B7E", "Offline Files Folder"},
    {"BD84B380-8CA2-1069-AB1D-08000948F534", "Fonts"},
    {"BDEADF00-C265-11D0-BCED-00A0C90AB50F", "Web Folders"},
    {"BE122A0E-4503-11DA-8BDE-F66BAD1E3F3A", "Windows Anytime Upgrade"},
    {"BF782CC9-5A52-4A17-806C-2A894FFEEAC5", "Language Settings"},
    {"C555438B-3C23-4769-A71F-B6D3D9B6053A", "Display"},
    {"C58C4893-3BE0-4B45-ABB5-A63E4B8C8651", "Troubleshooting"},
    {"CB1B7F8C-C50A-4176-B604-9E24DEE8D4D1", "Getting Started"},
    {"D17D1D6D-CC3F-4815-8FE3-607E7D5D10B3", "Text to Speech"},
    {"D20EA4E1-3957-11D2-A40B-0C5020524153", "Administrative Tools"},
    {"D24F75AA-4F2B-4D07-A3C4-469B3D9030C4", "Offline Files"},
    {"D3162B92-9365-467A-956B-92703ACA08AF", "Documents"},
    {"D34A6CA6-62C2-4C34-8A7C-14709C1AD938", "Common Places Folder"},
    {"D450A8A1-9568-45C7-9C0E-B4F9FB4537BD", "Installed Updates"},
    {"D555645E-D4F8-4C29-A827-D93C859C4F2A", "Ease of Access"},
    {"D6277990-4C6A-11CF-8D87-00AA0060F5BF", "Scheduled Tasks"},
    {"D8559EB9-20C0-410E-BEDA-7ED416AECC2A", "Windows Defender"},
    {"D9EF8727-CAC2-4E60-809E-86F80A666C91", "BitLocker Drive Encryption"},
    {"DFFACDC5-679F-4156-8947-C5C76BC0B67F", "User Files Delegate Folder"},
    {"E17D4FC0-5564-11D1-83F2-00A0C90DC849", "Search Results Folder"},
    {"E211B736-43FD-11D1-9EFB-0000F8757FCD", "Scanners and Cameras"},
    {"E2E7934B-DCE5-43C4-9576-7FE4F75E7480", "Date and Time"},
    {"E57CE731-33E8-4C51-8354-BB4DE9D215D1", "UPnP Devices"},
    {"E7DE9B1A-7533-4556-9484-B26FB486475E", "Network Map"},
    {"E88865EA-0E1C-4E20-9AA6-EDCD0212C87C", "Gallery"},
    {"E95A4861-D57A-4BE1-AD0F-35267E261739", "Windows SideShow"},
    {"E9950154-C418-419E-A90A-20C5287AE24B", "Location and Other Sensors"},
    {"ECDB0924-4208-451E-8EE0-373C0956DE16", "Work Folders"},
    {"ED228FDF-9EA8-4870-83B1-96B02CFE0D52", "Games"},
    {"ED50FC29-B964-48A9-AFB3-15EBB9B97F36", "Printer Shortcuts Delegate Folder"},
    {"ED834ED6-4B5A-4BFE-8F11-A626DCB6A921", "Personalization"},
    {"F02C1A0D-BE21-4350-88B0-7367FC96EF3C", "Network"},
    {"F2DDFC82-8F12-4CDD-B7DC-D4FE1425AA4D", "Sound"},
    {"F5FB2C77-0E2F-4A16-A381-3E560C68BC83", "Removable Drives"},
    {"F6B6E965-E9B2-444B-9286-10C9152EDBC5", "File History"},
    {"F82DF8F7-8B9F-442E-A48C-818EA735FF9B", "Pen and Touch"},
    {"F86FA3AB-70D2-4FC7-9C99-FCBF05467F3A", "Videos"},
    {"F874310E-B6B7-47DC-BC84-B9E6B38F5903", "Home"},
    {"F8C2AB3B-17BC-41DA-9758-339D7DBF2D88", "Previous Versions Results Folder"},
    {"F90C627B-7280-45DB-BC26-CCE7BDD620A4", "All Tasks"},
    {"F942C606-0914-47AB-BE56-1321B8035096", "Storage Spaces"},
    {"FBB3477E-C9E4-4B3B-A2BA-D3F5D3CD46F9", "Documents Library"},
    {"FCFEECAE-EE1B-4849-AE50-685DCF7717EC", "Problem Reports and Solutions"},
    {"FE1290F0-CFBD-11CF-A330-00AA00C16E65", "Directory"},
    {"FF393560-C2A7-11CF-BFF4-444553540000", "History"},
};

constexpr PropertyRow kProperties[] = {
    {"026E516E-B814-414B-83CD-856D6FEF4822", 2, "DeviceInterfaceFriendlyName"},
    {"026E516E-B814-414B-83CD-856D6FEF4822", 3, "DeviceInterfaceEnabled"},
    {"026E516E-B814-414B-83CD-856D6FEF4822", 4, "DeviceInterfaceClassGuid"},
    {"026E516E-B814-414B-83CD-856D6FEF4822", 5, "DeviceInterfaceReferenceString"},
    {"026E516E-B814-414B-83CD-856D6FEF4822", 6, "DeviceInterfaceRestricted"},
    {"026E516E-B814-414B-83CD-856D6FEF4822", 8, "DeviceInterfaceUnrestrictedAppCapabilities"},
    {"026E516E-B814-414B-83CD-856D6FEF4822", 9, "DeviceInterfaceSchematicName"},
    {"14C83A99-0B3F-44B7-BE4C-A178D3990564", 2, "DeviceInterfaceClassDefaultInterface"},
    {"14C83A99-0B3F-44B7-BE4C-A178D3990564", 3, "DeviceInterfaceClassName"},
    {"4340A6C5-93FA-4706-972C-7B648008A5A7", 2, "DevNodeStatus"},
    {"4340A6C5-93FA-4706-972C-7B648008A5A7", 3, "ProblemCode"},
    {"4340A6C5-93FA-4706-972C-7B648008A5A7", 4, "EjectionRelations"},
    {"4340A6C5-93FA-4706-972C-7B648008A5A7", 5, "RemovalRelations"},
    {"4340A6C5-93FA-4706-972C-7B648008A5A7", 6, "PowerRelations"},
    {"4340A6C5-93FA-4706-972C-7B648008A5A7", 7, "BusRelations"},
    {"4340A6C5-93FA-4706-972C-7B648008A5A7", 8, "Parent"},
    {"4340A6C5-93FA-4706-972C-7B648008A5A7", 9, "Children"},
    {"4340A6C5-93FA-4706-972C-7B648008A5A7", 10, "Siblings"},
    {"4340A6C5-93FA-4706-972C-7B648008A5A7", 11, "TransportRelations"},
    {"4340A6C5-93FA-4706-972C-7B648008A5A7", 12, "ProblemStatus"},
    {"540B947E-8B40-45BC-A8A2-6A0B894CBDA2", 1, "NumaProximityDomain"},
    {"540B947E-8B40-45BC-A8A2-6A0B894CBDA2", 2, "DHPRebalancePolicy"},
    {"540B947E-8B40-45BC-A8A2-6A0B894CBDA2", 3, "NumaNode"},
    {"540B947E-8B40-45BC-A8A2-6A0B894CBDA2", 4, "BusReportedDeviceDesc"},
    {"540B947E-8B40-45BC-A8A2-6A0B894CBDA2", 5, "IsPresent"},
    {"540B947E-8B40-45BC-A8A2-6A0B894CBDA2", 6, "HasProblem"},
    {"540B947E-8B40-45BC-A8A2-6A0B894CBDA2", 7, "ConfigurationId"},
    {"540B947E-8B40-45BC-A8A2-6A0B894CBDA2", 8, "ReportedDeviceIdsHash"},
    {"540B947E-8B40-45BC-A8A2-6A0B894CBDA2", 9, "PhysicalDeviceLocation"},
    {"540B947E-8B40-45BC-A8A2-6A0B894CBDA2", 10, "BiosDeviceName"},
    {"540B947E-8B40-45BC-A8A2-6A0B894CBDA2", 11, "DriverProblemDesc"},
    {"540B947E-8B40-45BC-A8A2-6A0B894CBDA2", 12, "DebuggerSafe"},
    {"540B947E-8B40-45BC-A8A2-6A0B894CBDA2", 13, "PostInstallInProgress"},
    {"540B947E-8B40-45BC-A8A2-6A0B894CBDA2", 14, "Stack"},
    {"540B947E-8B40-45BC-A8A2-6A0B894CBDA2", 15, "ExtendedConfigurationIds"},
    {"540B947E-8B40-45BC-A8A2-6A0B894CBDA2", 16, "IsRebootRequired"},
    {"540B947E-8B40-45BC-A8A2-6A0B894CBDA2", 17, "FirmwareDate"},
    {"540B947E-8B40-45BC-A8A2-6A0B894CBDA2", 18, "FirmwareVersion"},
    {"540B947E-8B40-45BC-A8A2-6A0B894CBDA2", 19, "FirmwareRevision"},
    {"540B947E-8B40-45BC-A8A2-6A0B894CBDA2", 20, "DependencyProviders"},
    {"540B947E-8B40-45BC-A8A2-6A0B894CBDA2", 21, "DependencyDependents"},
    {"540B947E-8B40-45BC-A8A2-6A0B894CBDA2", 22, "SoftRestartSupported"},
    {"540B947E-8B40-45BC-A8A2-6A0B894CBDA2", 23, "ExtendedAddress"},
    {"656A3BB3-ECC0-43FD-8477-4AE0404A96CD", 8192, "DeviceContainerManufacturer"},
    {"656A3BB3-ECC0-43FD-8477-4AE0404A96CD", 8194, "DeviceContainerModelName"},
    {"656A3BB3-ECC0-43FD-8477-4AE0404A96CD", 8195, "DeviceContainerModelNumber"},
    {"656A3BB3-ECC0-43FD-8477-4AE0404A96CD", 12288, "DeviceContainerFriendlyName"},
    {"78C34FC8-104A-4ACA-9EA4-524D52996E57", 39, "Model"},
    {"78C34FC8-104A-4ACA-9EA4-524D52996E57", 51, "DeviceContainerAddress"},
    {"78C34FC8-104A-4ACA-9EA4-524D52996E57", 66, "DeviceContainerLastSeen"},
    {"78C34FC8-104A-4ACA-9EA4-524D52996E57", 67, "DeviceContainerLastConnected"},
    {"78C34FC8-104A-4ACA-9EA4-524D52996E57", 256, "InstanceId"},
    {"80497100-8C73-48B9-AAD9-CE387E19C56E", 2, "Reported"},
    {"80497100-8C73-48B9-AAD9-CE387E19C56E", 3, "Legacy"},
    {"80D81EA6-7473-4B0C-8216-EFC11A2C4C8B", 2, "ModelId"},
    {"80D81EA6-7473-4B0C-8216-EFC11A2C4C8B", 3, "FriendlyNameAttributes"},
    {"80D81EA6-7473-4B0C-8216-EFC11A2C4C8B", 4, "ManufacturerAttributes"},
    {"80D81EA6-7473-4B0C-8216-EFC11A2C4C8B", 5, "PresenceNotForDevice"},
    {"80D81EA6-7473-4B0C-8216-EFC11A2C4C8B", 6, "SignalStrength"},
    {"80D81EA6-7473-4B0C-8216-EFC11A2C4C8B", 7, "IsAssociateableByUserAction"},
    {"80D81EA6-7473-4B0C-8216-EFC11A2C4C8B", 8, "ShowInUninstallUI"},
    {"83DA6326-97A6-4088-9453-A1923F573B29", 6, "SessionId"},
    {"83DA6326-97A6-4088-9453-A1923F573B29", 9, "DeviceContainerInstallInProgress"},
    {"83DA6326-97A6-4088-9453-A1923F573B29", 100, "InstallDate"},
    {"83DA6326-97A6-4088-9453-A1923F573B29", 101, "FirstInstallDate"},
    {"83DA6326-97A6-4088-9453-A1923F573B29", 102, "LastArrivalDate"},
    {"83DA6326-97A6-4088-9453-A1923F573B29", 103, "LastRemovalDate"},
    {"8C7ED206-3F8A-4827-B3AB-AE9E1FAEFC6C", 2, "ContainerId"},
    {"8C7ED206-3F8A-4827-B3AB-AE9E1FAEFC6C", 4, "InLocalMachineContainer"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 2, "DeviceDesc"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 3, "HardwareIds"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 4, "CompatibleIds"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 6, "Service"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 9, "Class"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 10, "ClassGuid"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 11, "Driver"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 12, "ConfigFlags"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 13, "Manufacturer"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 14, "FriendlyName"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 15, "LocationInfo"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 16, "PDOName"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 17, "Capabilities"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 18, "UINumber"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 19, "UpperFilters"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 20, "LowerFilters"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 21, "BusTypeGuid"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 22, "LegacyBusType"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 23, "BusNumber"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 24, "EnumeratorName"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 25, "Security"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 26, "SecuritySDS"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 27, "DevType"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 28, "Exclusive"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 29, "Characteristics"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 30, "Address"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 31, "UINumberDescFormat"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 32, "PowerData"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 33, "RemovalPolicy"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 34, "RemovalPolicyDefault"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 35, "RemovalPolicyOverride"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 36, "InstallState"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 37, "LocationPaths"},
    {"A45C254E-DF1C-4EFD-8020-67D146A850E0", 38, "BaseContainerId"},
    {"A8B865DD-2E3D-4094-AD97-E593A70C75D6", 2, "DriverDate"},
    {"A8B865DD-2E3D-4094-AD97-E593A70C75D6", 3, "DriverVersion"},
    {"A8B865DD-2E3D-4094-AD97-E593A70C75D6", 4, "DriverDesc"},
    {"A8B865DD-2E3D-4094-AD97-E593A70C75D6", 5, "DriverInfPath"},
    {"A8B865DD-2E3D-4094-AD97-E593A70C75D6", 6, "DriverInfSection"},
    {"A8B865DD-2E3D-4094-AD97-E593A70C75D6", 7, "DriverInfSectionExt"},
    {"A8B865DD-2E3D-4094-AD97-E593A70C75D6", 8, "MatchingDeviceId"},
    {"A8B865DD-2E3D-4094-AD97-E593A70C75D6", 9, "DriverProvider"},
    {"A8B865DD-2E3D-4094-AD97-E593A70C75D6", 10, "DriverPropPageProvider"},
    {"A8B865DD-2E3D-4094-AD97-E593A70C75D6", 11, "DriverCoInstallers"},
    {"A8B865DD-2E3D-4094-AD97-E593A70C75D6", 12, "ResourcePickerTags"},
    {"A8B865DD-2E3D-4094-AD97-E593A70C75D6", 13, "ResourcePickerExceptions"},
    {"A8B865DD-2E3D-4094-AD97-E593A70C75D6", 14, "DriverRank"},
    {"A8B865DD-2E3D-4094-AD97-E593A70C75D6", 15, "DriverLogoLevel"},
    {"A8B865DD-2E3D-4094-AD97-E593A70C75D6", 17, "NoConnectSound"},
    {"A8B865DD-2E3D-4094-AD97-E593A70C75D6", 18, "GenericDriverInstalled"},
    {"A8B865DD-2E3D-4094-AD97-E593A70C75D6", 19, "AdditionalSoftwareRequested"},
    {"AFD97640-86A3-4210-B67C-289C41AABE55", 2, "SafeRemovalRequired"},
    {"AFD97640-86A3-4210-B67C-289C41AABE55", 3, "SafeRemovalRequiredOverride"},
    {"B725F130-47EF-101A-A5F1-02608C9EEBAC", 10, "Name"},
};

// Tables are searched by halves, so their rows ascend: a row in a wrong place does not compile.
constexpr auto kByGuid = [](const auto& row) -> Guid { return row.guid; };
constexpr auto PropertyKey(const PropertyRow& row) {
  return std::pair<Guid, uint32_t>(row.guid, row.number);
}

template <typename Rows, typename Key>
constexpr bool IsAscending(const Rows& rows, Key key) {
  return std::ranges::adjacent_find(rows, std::ranges::greater_equal(), key) == std::end(rows);
}
static_assert(IsAscending(kFolders, kByGuid));
static_assert(IsAscending(kClasses, kByGuid));
static_assert(IsAscending(kProperties, PropertyKey));

// Null when there is none.
template <typename Rows, typename Key, typename Wanted>
auto FindRow(const Rows& rows, const Wanted& wanted, Key key) {
  const auto row = std::ranges::lower_bound(rows, wanted, {}, key);
  return row != std::end(rows) && key(*row) == wanted ? row : nullptr;
}

}  // namespace

Guid GuidOfBytes(std::span<const uint8_t, 16> bytes) {
  Guid guid{.first = LoadU32(bytes.data()),
            .second = LoadU16(bytes.data() + 4),
            .third = LoadU16(bytes.data() + 6)};
  std::copy(bytes.begin() + 8, bytes.end(), guid.rest.begin());
  return guid;
}

std::optional<Guid> ParseGuid(std::string_view text) {
  if (text.size() > 2 && text.front() == '{' && text.back() == '}') {
    text = text.substr(1, text.size() - 2);
  }
  return ReadGuid(text);
}

std::string GuidText(const Guid& guid) {
  std::string text =
      Concat({"{", Hex(guid.first, 8), "-", Hex(guid.second, 4), "-", Hex(guid.third, 4), "-"});
  for (size_t index = 0; index < guid.rest.size(); ++index) {
    if (index == 2) text += '-';
    text += {kUpperDigits[guid.rest[index] >> 4], kUpperDigits[guid.rest[index] & 15]};
  }
  return text + '}';
}

std::string_view KnownFolderName(const Guid& guid) {
  const FolderRow* row = FindRow(kFolders, guid, kByGuid);
  return row != nullptr ? row->name : std::string_view();
}

std::string_view KnownFolderPlace(const Guid& guid) {
  const FolderRow* row = FindRow(kFolders, guid, kByGuid);
  return row != nullptr ? row->place : std::string_view();
}

std::string_view ClassIdName(const Guid& guid) {
  const ClassRow* row = FindRow(kClasses, guid, kByGuid);
  return row != nullptr ? row->name : std::string_view();
}

std::string_view DevicePropertyName(const Guid& guid, uint32_t number) {
  const PropertyRow* row = FindRow(kProperties, std::pair(guid, number), PropertyKey);
  return row != nullptr ? row->name : std::string_view();
}

}  // namespace hivequarry
