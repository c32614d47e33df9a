#include "host/reference/file_watch.h"

#include "vlhost.h"

namespace vlhost {

namespace {

thread_local const VLFILEWATCH* watch = nullptr;

}  // namespace

void fileOpened(const char* path, VLHANDLE file) {
  if (watch) watch->opened(watch->context, path, file);
}

void fileRead(VLHANDLE file, std::int64_t offset, const void* bytes, std::uint32_t count) {
  if (watch) watch->read(watch->context, file, static_cast<std::uint64_t>(offset), bytes, count);
}

}  // namespace vlhost

void vlWatchFiles(const VLFILEWATCH* watch) {
  vlhost::watch = watch;
}
