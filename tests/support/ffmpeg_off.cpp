// Linked into every test program: switches FFmpeg off for it and its child processes, so that results do not
// depend on the machine, and keeps them away from the user's configuration store.
#include <unistd.h>

#include <string>

#include "tests/support/environment.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

class FFmpegOff {
 public:
  FFmpegOff() {
    const std::string text = "Framewright\\Codecs\\FFMPEG\\AllowFFMPEG=0\n";
    writeFile(folder_->file("vlhost.conf"), {text.begin(), text.end()});
    setEnvironment("VLHOST_CONFIG", folder_->file("vlhost.conf").c_str());
  }
  // The folder remains when a child of the test program ends.
  ~FFmpegOff() {
    if (getpid() == process_) delete folder_;
  }
  FFmpegOff(const FFmpegOff&) = delete;
  FFmpegOff& operator=(const FFmpegOff&) = delete;

 private:
  pid_t process_ = getpid();
  TempFolder* folder_ = new TempFolder;
};

const FFmpegOff ffmpegOff;

}  // namespace

}  // namespace fmp4
