// The operations that none of our formats needs: they keep their slots and return "unsupported".
#include "mediafile.h"

// clang-format off
std::uint32_t CAMediaFile::WriteUnc(std::uint32_t, const void*, std::uint32_t) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::ReadUnc(std::uint32_t, void*, std::uint32_t) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::GetOverlappedResult(std::uint32_t) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::OpenCopyFileInfo(CAMediaFile*) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::Rename(const char*) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::Move(const char*) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::Copy(const char*) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::Alias(const char*) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::Delete() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::GetItem(std::uint32_t, void*) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::GetAudItem(std::uint32_t, void*) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::SetItem(std::uint32_t, const void*) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::SetGraphicItem(std::uint32_t, const void*) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::SetAudioItem(std::uint32_t, const void*) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::InstanceData(void*) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::forbid() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::permit() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::GetPreferredAudType() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::SepAudOpen(const char*) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::SepAudRead(std::uint32_t, DFRAME*) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::SepAudWrite(std::uint32_t, DFRAME*) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::SepAudClose() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::ccOpenFile(const char*) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::ccCreateFile(const char*) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::ccReadFile(std::uint32_t, DFRAME*) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::ccWriteFile(std::uint32_t, const DFRAME*) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::ccCloseFile() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::ccPluginCanWriteCC() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::tcOpenFile(const char*) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::tcCreateFile(const char*) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::tcReadFile(std::uint32_t, DFRAME*) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::tcWriteFile(std::uint32_t, const DFRAME*) { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::tcCloseFile() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::__Dump() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::reserved60() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::reserved61() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::reserved62() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::reserved63() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::reserved64() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::reserved65() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::reserved66() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::reserved67() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::reserved68() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::reserved69() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::reserved70() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::reserved71() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::reserved72() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::reserved73() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::reserved74() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::reserved75() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::reserved76() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::reserved77() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::reserved78() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::reserved79() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::reserved80() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::reserved81() { return VL_E_NOT_SUPPORTED; }
std::uint32_t CAMediaFile::reserved82() { return VL_E_NOT_SUPPORTED; }
