#include "os/run_program.h"

#include <process.h>

#include <cstdint>

#include "os/win32/wide.h"

namespace fmp4::os {

namespace {

// An argument as CommandLineToArgvW takes it apart again: in quotes, with a backslash before each quote, and
// twice as many backslashes before a quote as there are.
std::wstring commandLineWord(const std::string& argument) {
  std::wstring word = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t c : wide(argument)) {
    if (c == L'"') word.append(backslashes + 1, L'\\');
    backslashes = c == L'\\' ? backslashes + 1 : 0;
    word += c;
  }
  return word.append(backslashes, L'\\') + L'"';
}

}  // namespace

std::optional<int> runProgram(const std::string& program, const std::vector<std::string>& arguments) {
  std::vector<std::wstring> words = {commandLineWord(program)};
  for (const std::string& argument : arguments) words.push_back(commandLineWord(argument));
  std::vector<const wchar_t*> pointers;
  for (const std::wstring& word : words) pointers.push_back(word.c_str());
  pointers.push_back(nullptr);
  const std::intptr_t result = _wspawnvp(_P_WAIT, wide(program).c_str(), pointers.data());
  if (result == -1) return std::nullopt;
  return static_cast<int>(result);
}

}  // namespace fmp4::os
