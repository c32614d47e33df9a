// Implements run.h for tests that run under Wine: our programs are started as Windows starts them, Linux
// programs through a script that Wine can start but not wait for.
#pragma once

#include <windows.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "os/path_name.h"
#include "tests/support/places.h"
#include "tests/support/run.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace run_details {

// One argument of a command line, as CommandLineToArgvW parses it.
inline std::wstring quoted(const std::wstring& argument) {
  std::wstring text = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t c : argument) {
    if (c == L'"') text.append(backslashes + 1, L'\\');
    backslashes = c == L'\\' ? backslashes + 1 : 0;
    text += c;
  }
  return text.append(backslashes, L'\\') + L'"';
}

inline std::wstring commandLine(const std::vector<std::string>& command) {
  std::wstring line;
  for (const std::string& argument : command) line += quoted(vlPath(argument).native()) + L' ';
  return line;
}

inline std::string contentOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// A new file, or NUL for reading, that a program inherits as one of its standard streams.
inline HANDLE inheritable(const wchar_t* path, DWORD access) {
  SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
  return CreateFileW(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                     access == GENERIC_READ ? OPEN_EXISTING : CREATE_ALWAYS, 0, nullptr);
}

inline PROCESS_INFORMATION start(const std::vector<std::string>& command, STARTUPINFOW& startup,
                                 DWORD flags = 0) {
  std::wstring line = commandLine(command);
  PROCESS_INFORMATION process = {};
  if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, flags, nullptr, nullptr, &startup,
                      &process))
    throw std::runtime_error("cannot start " + command[0] + ": " + std::to_string(GetLastError()));
  return process;
}

inline RunResult runOurs(const std::vector<std::string>& command, const TempFolder& folder) {
  const std::filesystem::path out = folder.path() / "out", err = folder.path() / "err";
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = inheritable(L"NUL", GENERIC_READ);
  startup.hStdOutput = inheritable(out.c_str(), GENERIC_WRITE);
  startup.hStdError = inheritable(err.c_str(), GENERIC_WRITE);
  const PROCESS_INFORMATION process = start(command, startup);
  for (const HANDLE handle : {startup.hStdInput, startup.hStdOutput, startup.hStdError}) CloseHandle(handle);
  WaitForSingleObject(process.hProcess, INFINITE);
  DWORD code = 0;
  GetExitCodeProcess(process.hProcess, &code);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return {static_cast<int>(code), contentOf(out), contentOf(err)};
}

inline RunResult runLinux(const std::vector<std::string>& command, const TempFolder& folder) {
  std::vector<std::string> bridged = {VL_LINUX_PROGRAM, vlName(folder.path())};
  bridged.insert(bridged.end(), command.begin(), command.end());
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  start(bridged, startup);
  const std::filesystem::path code = folder.path() / "code";  // exists once the program has ended
  const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(5);
  while (!std::filesystem::exists(code)) {
    if (std::chrono::steady_clock::now() > end) throw std::runtime_error(command[0] + " does not end");
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return {std::stoi(contentOf(code)), contentOf(folder.path() / "out"), contentOf(folder.path() / "err")};
}

}  // namespace run_details

inline RunResult run(const std::vector<std::string>& command) {
  const TempFolder folder;
  const bool isOurs = command.at(0).find_first_of("/\\") != std::string::npos;
  return isOurs ? run_details::runOurs(command, folder) : run_details::runLinux(command, folder);
}

}  // namespace fmp4
