// Imitates a full disk where the system limits the size of files.
#pragma once

#include <signal.h>
#include <sys/resource.h>

#include <cstdint>

namespace fmp4 {

// No file grows beyond `bytes` during its lifetime: a write past the limit is truncated.
class FullDisk {
 public:
  explicit FullDisk(std::uint64_t bytes) {
    signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &old_);
    rlimit small = old_;
    small.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &small);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &old_);
    signal(SIGXFSZ, SIG_DFL);
  }

 private:
  rlimit old_ = {};
};

}  // namespace fmp4
