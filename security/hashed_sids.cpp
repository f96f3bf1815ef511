// SIDs that are hashes of names: those of services, the SHA-1 of the name, and those of what
// packaged programs may do, the SHA-256. Names are hashed in capitals, as UTF-16.
#include <array>
#include <bit>
#include <string>
#include <unordered_map>
#include <vector>

#include "bytes/sha256.h"
#include "host/number_text.h"
#include "security/sid.h"

namespace hivequarry {
namespace {

constexpr const char* kServiceDomain = "NT SERVICE";
constexpr const char* kPackageDomain = "APPLICATION PACKAGE AUTHORITY";

// Services of Windows whose own SIDs are seen in hives.
// clang-format off
constexpr const char* kServices[] = {
    "AarSvc", "ALG", "AppHostSvc", "AppIDSvc", "Appinfo", "AppMgmt", "AppReadiness", "AppXSvc",
    "AssignedAccessManagerSvc", "AudioEndpointBuilder", "Audiosrv", "autotimesvc", "AxInstSV",
    "BDESVC", "BFE", "BITS", "Browser", "BthAvctpSvc", "bthserv", "camsvc", "CDPSvc",
    "CertPropSvc", "ClipSVC", "COMSysApp", "CoreMessagingRegistrar", "CryptSvc", "CscService",
    "DcomLaunch", "defragsvc", "DeviceAssociationService", "DeviceInstall", "Dhcp",
    "diagnosticshub.standardcollector.service", "diagsvc", "DiagTrack", "DispBrokerDesktopSvc",
    "DmEnrollmentSvc", "dmwappushservice", "Dnscache", "DoSvc", "dot3svc", "DPS", "DsmSvc",
    "DsSvc", "DusmSvc", "EapHost", "EFS", "embeddedmode", "EntAppSvc", "EventLog", "EventSystem",
    "Fax", "fdPHost", "FDResPub", "fhsvc", "FontCache", "FrameServer", "gpsvc", "GraphicsPerfSvc",
    "hidserv", "HomeGroupListener", "HomeGroupProvider", "HvHost", "icssvc", "IKEEXT",
    "InstallService", "iphlpsvc", "IpxlatCfgSvc", "KeyIso", "KtmRm", "LanmanServer",
    "LanmanWorkstation", "lfsvc", "LicenseManager", "lltdsvc", "lmhosts", "LSM", "LxpSvc",
    "MapsBroker", "MMCSS", "MpsSvc", "MSDTC", "MSiSCSI", "msiserver", "MSSQLSERVER", "NaturalAuthentication",
    "napagent", "NcaSvc", "NcbService", "NcdAutoSetup", "Netlogon", "Netman", "netprofm",
    "NetSetupSvc", "NetTcpPortSharing", "NgcCtnrSvc", "NgcSvc", "NlaSvc", "nsi", "p2pimsvc",
    "p2psvc", "PcaSvc", "PeerDistSvc", "perceptionsimulation", "PerfHost", "PhoneSvc", "pla",
    "PlugPlay", "PNRPAutoReg", "PNRPsvc", "PolicyAgent", "Power", "PrintNotify", "ProfSvc",
    "ProtectedStorage", "PushToInstall", "QWAVE", "RasAuto", "RasMan", "RemoteAccess",
    "RemoteRegistry", "RetailDemo", "RmSvc", "RpcEptMapper", "RpcLocator", "RpcSs", "SamSs",
    "SCardSvr", "ScDeviceEnum", "Schedule", "SCPolicySvc", "SDRSVC", "seclogon",
    "SecurityHealthService", "SEMgrSvc", "SENS", "Sense", "SensorDataService", "SensorService",
    "SensrSvc", "SessionEnv", "SgrmBroker", "SharedAccess", "SharedRealitySvc",
    "ShellHWDetection", "shpamsvc", "smphost", "SmsRouter", "SNMPTRAP", "spectrum", "Spooler",
    "sppsvc", "sppuinotify", "SSDPSRV", "ssh-agent", "SstpSvc", "StateRepository", "stisvc",
    "StorSvc", "svsvc", "swprv", "SysMain", "SystemEventsBroker", "TabletInputService", "TapiSrv",
    "TBS", "TermService", "Themes", "THREADORDER", "TieringEngineService", "TimeBrokerSvc",
    "TokenBroker", "TrkWks", "TroubleshootingSvc", "TrustedInstaller", "tzautoupdate", "UI0Detect",
    "UmRdpService", "upnphost", "UserManager", "UsoSvc", "UxSms", "VacSvc", "VaultSvc", "vds",
    "vmcompute", "vmicheartbeat", "vmms", "VSS", "W32Time", "W3SVC", "WaaSMedicSvc",
    "WalletService", "WarpJITSvc", "WAS", "wbengine", "WbioSrvc", "Wcmsvc", "wcncsvc",
    "WcsPlugInService", "WdiServiceHost", "WdiSystemHost", "WdNisSvc", "WebClient", "Wecsvc",
    "WEPHOSTSVC", "wercplsupport", "WerSvc", "WFDSConMgrSvc", "WiaRpc", "WinDefend",
    "WinHttpAutoProxySvc", "Winmgmt", "WinRM", "wisvc", "Wlansvc", "wlidsvc", "wlpasvc",
    "WManSvc", "wmiApSrv", "WMPNetworkSvc", "workfolderssvc", "WPCSvc", "WpcMonSvc",
    "WPDBusEnum", "WpnService", "wscsvc", "WSearch", "WSService", "wuauserv", "wudfsvc",
    "WwanSvc", "XblAuthManager", "XblGameSave", "XboxGipSvc", "XboxNetApiSvc"};

// What packaged programs may ask for, as far as their SIDs are seen in hives.
constexpr const char* kCapabilities[] = {
    "allJoyn", "appointments", "appointmentsSystem", "backgroundMediaPlayback", "bluetooth",
    "broadFileSystemAccess", "cellularDeviceControl", "chat", "codeGeneration", "contacts",
    "contactsSystem", "cortanaSettings", "documentsLibrary", "enterpriseAuthentication",
    "enterpriseDataPolicy", "extendedExecutionUnconfined", "globalMediaControl", "graphicsCapture",
    "inputForegroundObservation", "internetClient", "internetClientServer", "location",
    "lpacAppExperience", "lpacClipboard", "lpacCom", "lpacCryptoServices",
    "lpacDeviceAccess", "lpacEnterprisePolicyChangeNotifications", "lpacIdentityServices",
    "lpacIME", "lpacInstrumentation", "lpacMedia", "lpacPackageManagerOperation", "lpacPayments",
    "lpacPnPNotifications", "lpacPrinting", "lpacServicesManagement", "lpacSessionManagement",
    "lpacWebPlatform", "lpacWinInet", "microphone", "musicLibrary", "networkingVpnProvider",
    "objects3D", "oemDeployment", "packageManagement", "packageQuery", "phoneCall",
    "phoneCallHistory", "picturesLibrary", "privateNetworkClientServer", "proximity",
    "registryRead", "remoteSystem", "removableStorage", "runFullTrust", "sharedUserCertificates",
    "shellExperience", "spatialPerception", "systemManagement", "userAccountInformation",
    "userDataSystem", "userDataTasks", "userNotificationListener", "userSigninSupport",
    "videosLibrary", "voipCall", "webcam", "wiFiControl"};
// clang-format on

// --- SHA-1, of texts of a block or two -----------------------------------------------------------

using Words5 = std::array<uint32_t, 5>;

// One block of 64 bytes of SHA-1.
void AddBlock(Words5& state, const uint8_t* block) {
  std::array<uint32_t, 80> w{};
  for (size_t i = 0; i < 16; ++i) {
    w[i] = uint32_t{block[4 * i]} << 24 | uint32_t{block[4 * i + 1]} << 16 |
           uint32_t{block[4 * i + 2]} << 8 | block[4 * i + 3];
  }
  for (size_t i = 16; i < w.size(); ++i) {
    w[i] = std::rotl(w[i - 3] ^ w[i - 8] ^ w[i - 14] ^ w[i - 16], 1);
  }
  auto [a, b, c, d, e] = state;
  for (size_t i = 0; i < w.size(); ++i) {
    const uint32_t mixed = i < 20   ? (b & c) | (~b & d)
                           : i < 40 ? b ^ c ^ d
                           : i < 60 ? (b & c) | (b & d) | (c & d)
                                    : b ^ c ^ d;
    constexpr uint32_t kRounds[] = {0x5A827999, 0x6ED9EBA1, 0x8F1BBCDC, 0xCA62C1D6};
    const uint32_t next = std::rotl(a, 5) + mixed + e + kRounds[i / 20] + w[i];
    e = d;
    d = c;
    c = std::rotl(b, 30);
    b = a;
    a = next;
  }
  state = {state[0] + a, state[1] + b, state[2] + c, state[3] + d, state[4] + e};
}

Words5 Sha1Of(std::vector<uint8_t> bytes) {
  const uint64_t bits = 8 * uint64_t{bytes.size()};
  bytes.push_back(0x80);
  while (bytes.size() % 64 != 56) bytes.push_back(0);
  for (int shift = 56; shift >= 0; shift -= 8) bytes.push_back(static_cast<uint8_t>(bits >> shift));
  Words5 state = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};
  for (size_t at = 0; at < bytes.size(); at += 64) AddBlock(state, bytes.data() + at);
  return state;
}

// --- SIDs ----------------------------------------------------------------------------------------

// The name in capitals as UTF-16, which is what these SIDs are hashes of; names are ASCII.
std::vector<uint8_t> HashedBytes(std::string_view name) {
  std::vector<uint8_t> bytes;
  for (const char unit : name) {
    const bool small = unit >= 'a' && unit <= 'z';
    bytes.push_back(static_cast<uint8_t>(small ? unit - 'a' + 'A' : unit));
    bytes.push_back(0);
  }
  return bytes;
}

// A SID's numbers have their lowest byte first, where the hash has its first.
uint32_t Swapped(uint32_t number) {
  return number >> 24 | (number >> 8 & 0xFF00) | (number << 8 & 0xFF0000) | number << 24;
}

// SHA-256 of the name as eight sub-authorities, each with its lowest byte first.
std::string CapabilitySid(std::string_view name) {
  const std::string digits = Sha256Text(HashedBytes(name));
  std::string text = "S-1-15-3-1024";
  for (size_t at = 0; at + 8 <= digits.size(); at += 8) {
    uint32_t number = 0;
    for (size_t i = 0; i < 8; ++i)
      number = number << 4 | DigitOf(static_cast<char32_t>(digits[at + i]));
    text += '-' + std::to_string(Swapped(number));
  }
  return text;
}

std::unordered_map<std::string, HashedName> MakeTable() {
  std::unordered_map<std::string, HashedName> table;
  for (const char* service : kServices) table[ServiceSid(service)] = {kServiceDomain, service};
  for (const char* name : kCapabilities) table[CapabilitySid(name)] = {kPackageDomain, name};
  return table;
}

}  // namespace

std::string ServiceSid(std::string_view service) {
  std::string text = "S-1-5-80";
  for (const uint32_t word : Sha1Of(HashedBytes(service))) {
    text += '-' + std::to_string(Swapped(word));
  }
  return text;
}

HashedName LookupHashedSid(std::string_view text) {
  if (!text.starts_with("S-1-5-80-") && !text.starts_with("S-1-15-3-1024-")) return {};
  static const std::unordered_map<std::string, HashedName> table = MakeTable();
  const auto found = table.find(std::string(text));
  return found == table.end() ? HashedName() : found->second;
}

}  // namespace hivequarry
