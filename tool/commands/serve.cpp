#include <CLI/CLI.hpp>
#include <atomic>
#include <csignal>
#include <iostream>
#include <memory>

#include "base/json_text.h"
#include "base/user_error.h"
#include "os/path_name.h"
#include "tool/commands/commands.h"
#include "tool/serve/server_library.h"
#include "tool/terminal/program_folder.h"
#include "vlutil.h"

namespace fmp4 {

namespace {

struct ServeOptions {
  std::string folder;
  int port = 8000;
  bool json = false;
};

std::atomic<bool> endAsked = false;
static_assert(std::atomic<bool>::is_always_lock_free, "it is set in a signal handler");

void askForEnd(int) {
  endAsked = true;
}

void announce(const ServeOptions& options, int port) {
  const std::string address = "http://127.0.0.1:" + std::to_string(port) + "/";
  if (options.json)
    std::cout << "{\"folder\": " << jsonText(options.folder) << ", \"address\": " << jsonText(address)
              << ", \"port\": " << port << "}\n";
  else
    std::cout << "serving '" << options.folder << "' at " << address << " until interrupted\n";
  std::cout.flush();
}

ServeFolder loadServer() {
  constexpr std::uint32_t kLoadBesideHostFirst = 2;
  void* const library = vlOSLoadLibrary(kServerLibrary, kLoadBesideHostFirst);
  void* const function = vlOSGetProcAddress(library, kServeFolder);
  if (function == nullptr)
    throw UserError(std::string("the library '") + kServerLibrary +
                    "' cannot be loaded; it is installed beside the program");
  return reinterpret_cast<ServeFolder>(function);
}

bool serve(const ServeOptions& options) {
  const ServeFolder serveFolder = loadServer();
  std::string failure;
  std::signal(SIGINT, askForEnd);
  std::signal(SIGTERM, askForEnd);
  const bool served =
      serveFolder({options.folder, vlName(programFolder() / "page"), options.port,
                   [&options](int port) { announce(options, port); }, [] { return endAsked.load(); },
                   [&failure](const std::string& reason) { failure = reason; }});
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
  command->add_flag("-j,--json", options->json, "Print the address as JSON");
  command->callback([&invocation, options] { invocation.command = [options] { return serve(*options); }; });
}

}  // namespace fmp4
