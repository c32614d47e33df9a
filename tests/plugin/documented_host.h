// The symbols that the documented host exports to plug-ins.
#pragma once

#include <cxxabi.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

namespace fmp4 {

// Functions of the host's libraries.
inline constexpr std::string_view kHostFunctions[] = {
    "mfCheck608708",
    // files
    "vlOSCreateFile", "vlOSReadFile", "vlOSWriteFile", "vlOSSeek", "vlOSTell", "vlOSGetFileSize",
    "vlOSCloseFile", "vlOSFileExists", "vlOSGetLastError",
    // paths
    "vlOSSplitPath", "vlOSMakePath", "ChangeFileExtension",
    // libraries
    "vlOSLoadLibrary", "vlOSGetProcAddress", "vlOSFreeLibrary",
    // locks
    "vlOSInitializeCriticalSection", "vlOSEnterCriticalSection", "vlOSLeaveCriticalSection",
    // time, memory, configuration, logging
    "vlOSGetDateTimeString", "vlOSCopyMemory", "CopyMemoryFast", "ZeroMemoryFast", "vlCFGValueDword",
    "vlCFGSave", "ErrOut", "ErrFmtOut", "ErrMsgOut", "fccIsCompressedAudio",
    // descriptions
    "qvrInfoSet", "qvrInfoDelete", "vidGetAspectRatio", "vidNormalizeRateScale", "totalChannels",
    "findChannel",
    // clock, codecs, timecode
    "vsyncGetCurMs", "fccGetDrFlagsVideo", "TCXlat"};

// Members of CAMediaFile; "reserved" means all its reserved entries.
inline constexpr std::string_view kMediaFileMembers[] = {"CAMediaFile",
                                                         "~CAMediaFile",
                                                         "Open",
                                                         "Close",
                                                         "GetFileInfo",
                                                         "SetFileInfo",
                                                         "SetSysInfo",
                                                         "SetMode",
                                                         "Write",
                                                         "Read",
                                                         "QueryCapability",
                                                         "GetTotalFrames",
                                                         "FindKeyFrame",
                                                         "EnumCodecs",
                                                         "GetCodecOptions",
                                                         "SetCodecOption",
                                                         "Channels",
                                                         "AudChan",
                                                         "VidChan",
                                                         "InfChan",
                                                         "GetSysInfo",
                                                         "GetActive",
                                                         "SetActive",
                                                         "WriteUnc",
                                                         "ReadUnc",
                                                         "GetOverlappedResult",
                                                         "Status",
                                                         "GetCurFrame",
                                                         "OpenCopyFileInfo",
                                                         "Rename",
                                                         "Move",
                                                         "Copy",
                                                         "Alias",
                                                         "Delete",
                                                         "GetItem",
                                                         "GetAudItem",
                                                         "SetItem",
                                                         "SetGraphicItem",
                                                         "SetAudioItem",
                                                         "InstanceData",
                                                         "forbid",
                                                         "permit",
                                                         "MFXCmd",
                                                         "GetPreferredAudType",
                                                         "SepAudOpen",
                                                         "SepAudRead",
                                                         "SepAudWrite",
                                                         "SepAudClose",
                                                         "ccOpenFile",
                                                         "ccCreateFile",
                                                         "ccReadFile",
                                                         "ccWriteFile",
                                                         "ccCloseFile",
                                                         "ccPluginCanWriteCC",
                                                         "tcOpenFile",
                                                         "tcCreateFile",
                                                         "tcReadFile",
                                                         "tcWriteFile",
                                                         "tcCloseFile",
                                                         "__Dump",
                                                         "reserved",
                                                         "m_GetOpenFlags",
                                                         "m_GetFileType",
                                                         "m_SetFileType",
                                                         "m_GetHandle",
                                                         "m_GetfccCodec",
                                                         "m_setOpen",
                                                         "m_setClose",
                                                         "m_fCreateFile",
                                                         "m_AllocAStream",
                                                         "m_fixQVRStruct",
                                                         "m_GetCodecPrivateData",
                                                         "m_SetCodecPrivateData"};

// Whether the documented host has the symbol of this linker name.
inline bool isOfTheDocumentedHost(const std::string& symbol) {
  const auto among = [](std::string_view name, const auto& names) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
  };
  if (among(symbol, kHostFunctions)) return true;
  const std::unique_ptr<char, decltype(&std::free)> demangled(
      abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, nullptr), &std::free);
  std::string_view name = demangled ? demangled.get() : "";
  if (name == "vtable for CAMediaFile" || name == "typeinfo for CAMediaFile") return true;
  constexpr std::string_view kClass = "CAMediaFile::";
  if (!name.starts_with(kClass)) return false;
  name = name.substr(kClass.size());
  name = name.substr(0, name.find('('));
  if (name.starts_with("reserved")) name = "reserved";
  return among(name, kMediaFileMembers);
}

}  // namespace fmp4
