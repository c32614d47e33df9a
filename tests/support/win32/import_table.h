// The functions that a loaded module has bound to those of others.
#pragma once

#include <windows.h>

#include <string_view>

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

}  // namespace fmp4
