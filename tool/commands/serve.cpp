#include <CLI/CLI.hpp>
#include <atomic>
#include <chrono>
#include <csignal>
#include <future>
#include <iostream>
#include <memory>
#include <vector>

#include "base/user_error.h"
#include "os/open_in_browser.h"
#include "os/path_name.h"
#include "tool/commands/commands.h"
#include "tool/serve/served_addresses.h"
#include "tool/serve/server_library.h"
#include "tool/terminal/messages.h"
#include "tool/terminal/program_folder.h"
#include "tool/viewer/media_answers.h"
#include "vlutil.h"

namespace fmp4 {

namespace {

struct ServeOptions {
  std::string folder;
  int port = 8000;
  bool open = false;
  bool json = false;
};

std::atomic<bool> endAsked = false;
static_assert(std::atomic<bool>::is_always_lock_free, "it is set in a signal handler");

void askForEnd(int) {
  endAsked = true;
}

// Opens the page in the user's browser; warns once when there is none.
class PageOpener {
 public:
  void open(const std::string& address) {
    address_ = address;
    opened_ = os::openInBrowser(address);
  }
  void check() {
    if (!opened_.valid() || opened_.wait_for(std::chrono::seconds(0)) != std::future_status::ready) return;
    if (!opened_.get()) warn("no browser could be started; open " + address_ + " in one");
  }

 private:
  std::string address_;
  std::future<bool> opened_;  // without a result once that is known
};

ServeFolder loadServer() {
  constexpr std::uint32_t kLoadBesideHostFirst = 2;
  void* const library = vlOSLoadLibrary(kServerLibrary, kLoadBesideHostFirst);
  void* const function = vlOSGetProcAddress(library, kServeFolder);
  if (function == nullptr)
    throw UserError(std::string("the library '") + kServerLibrary +
                    "' cannot be loaded; it is installed beside the program");
  return reinterpret_cast<ServeFolder>(function);
}

bool serve(const ServeOptions& options, const std::string& pluginName) {
  const Plugin plugin(pluginName);
  const MediaAnswers answers(plugin);
  const ServeFolder serveFolder = loadServer();
  std::string failure;
  PageOpener opener;
  const auto listening = [&](int port, const std::vector<FolderRecording>& recordings) {
    std::cout << (options.json ? servedJson : servedText)(options.folder, port, recordings) << std::flush;
    if (options.open) opener.open(pageAddress(port));
  };
  const auto ended = [&opener] {
    opener.check();
    return endAsked.load();
  };
  std::signal(SIGINT, askForEnd);
  std::signal(SIGTERM, askForEnd);
  const bool served =
      serveFolder({options.folder, vlName(programFolder() / "page"), options.port,
                   [&answers](const DataRequest& request) { return answers.answer(request); }, listening,
                   ended, [&failure](const std::string& reason) { failure = reason; }});
  if (!served) throw UserError(failure);
  return true;
}

}  // namespace

void addServeCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* const command = app.add_subcommand(
      "serve", "Serve a folder on the loopback address, with a page that plays its recordings");
  const auto options = std::make_shared<ServeOptions>();
  command->add_option("FOLDER", options->folder, "The folder with the recordings")->required();
  command->add_option("--port", options->port, "The port to listen on; 0 picks a free one")
      ->type_name("N")
      ->check(CLI::Range(0, 65535))
      ->capture_default_str();
  command->add_flag("--open", options->open, "Open the page in the browser");
  command->add_flag("-j,--json", options->json, "Print the addresses as JSON");
  command->callback([&invocation, options] {
    invocation.command = [&invocation, options] { return serve(*options, invocation.plugin); };
  });
}

}  // namespace fmp4
