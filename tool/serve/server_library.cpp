#include "tool/serve/server_library.h"

#include <chrono>
#include <exception>
#include <thread>

#include "base/compiler.h"
#include "os/path_name.h"
#include "tool/serve/web_server.h"

namespace fmp4 {

// On Windows the linker exports it, as a library without a list of exports.
extern "C" VL_EXPORTED bool fmp4ServeFolder(const ServeRequest& request) {
  try {
    WebServer server(vlPath(request.media), vlPath(request.page), request.answer);
    const int port = server.start(request.port);
    request.listening(port, listRecordings(vlPath(request.media)));
    while (!request.endAsked()) std::this_thread::sleep_for(std::chrono::milliseconds(50));
    return true;
  } catch (const std::exception& error) {
    request.failed(error.what());
    return false;
  }
}

}  // namespace fmp4
