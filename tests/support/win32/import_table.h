// The functions that a loaded module has bound to those of others.
#pragma once

#include <windows.h>

#include <initializer_list>
#include <string_view>

#include "tests/support/places.h"

namespace fmp4 {

// Calls `visit(name, slot)` for each function that the module imports by name; `slot` is the address it
// calls.
template <class Visit>
void forEachImport(HMODULE module, Visit visit) {
  auto* const base = reinterpret_cast<unsigned char*>(module);
  const auto& dos = *reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto& headers = *reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos.e_lfanew);
  const DWORD place = headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
  for (auto* library = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + place); library->Name != 0;
       ++library) {
    auto* name = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + library->OriginalFirstThunk);
    auto* slot = reinterpret_cast<void**>(base + library->FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++slot) {
      if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
      visit(std::string_view(
                reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData)->Name),
            slot);
    }
  }
}

// Lets the module call `replacement` instead of the function of this name that it imports.
inline void redirectImport(HMODULE module, std::string_view name, void* replacement) {
  forEachImport(module, [&](std::string_view imported, void** slot) {
    if (imported != name) return;
    DWORD protection = 0;
    VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection);
    *slot = replacement;
    VirtualProtect(slot, sizeof *slot, protection, &protection);
  });
}

// A function, by the name under which modules import it, and what is called instead.
struct Redirection {
  template <class Function>
  Redirection(const char* imported, Function* called)
      : name(imported), replacement(reinterpret_cast<void*>(called)) {}

  const char* name;
  void* replacement;
};

// Redirects the imports of the program and of the plug-in, which stays loaded and so redirected.
inline void redirectOurImports(std::initializer_list<Redirection> all) {
  for (const HMODULE user : {GetModuleHandleA(nullptr), LoadLibraryA(VL_BIN_DIR "/vlx_fmp4.dll")}) {
    for (const auto& [name, replacement] : all) redirectImport(user, name, replacement);
  }
}

// The function that a loaded library exports by this name, whatever imports of it are redirected to.
template <class Function>
Function* exported(const char* library, const char* name) {
  return reinterpret_cast<Function*>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA(library), name)));
}

}  // namespace fmp4
