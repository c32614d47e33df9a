#include "file_in_use.h"

#include <windows.h>

#include "vlutil.h"

// Opening that shares the file with readers alone fails while somebody has it open for writing.
bool isBeingWritten(const std::string& path) {
  const VLHANDLE file = vlOSCreateFile(path.c_str(), VL_GENERIC_READ, FILE_SHARE_READ, nullptr,
                                       VL_OPEN_EXISTING, 0, VL_NO_HANDLE);
  if (file == VL_INVALID_HANDLE) return vlOSGetLastError() == ERROR_SHARING_VIOLATION;
  vlOSCloseFile(file);
  return false;
}
