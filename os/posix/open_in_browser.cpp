#include "os/open_in_browser.h"

#include <thread>
#include <utility>

#include "os/posix/child_program.h"

namespace fmp4::os {

std::future<bool> openInBrowser(const std::string& url) {
  std::packaged_task<bool()> task([url] { return runChild("xdg-open", {url}, ChildStreams::None) == 0; });
  std::future<bool> opened = task.get_future();
  std::thread(std::move(task)).detach();
  return opened;
}

}  // namespace fmp4::os
