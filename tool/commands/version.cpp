#include <CLI/CLI.hpp>
#include <iostream>

#include "base/text.h"
#include "tool/commands/commands.h"
#include "tool/host/plugin_host.h"

namespace fmp4 {

namespace {

bool version(const Invocation& invocation) {
  const Plugin plugin(invocation.plugin);
  std::cout << "program version: " << programVersion() << '\n'
            << "interface version: " << plugin.interfaceVersion() << '\n'
            << "format records: " << plugin.formatCount() << '\n';
  for (std::uint32_t index = 0; index < plugin.formatCount(); ++index) {
    const FormatRecord record = plugin.formatRecord(index);
    std::cout << "file type: " << record.fileType << '\n'
              << "patterns: " << record.patterns << '\n'
              << "short description: " << record.shortDescription << '\n'
              << "long description: " << record.longDescription << '\n'
              << "capability flags: " << statusText(record.capabilities) << '\n'
              << "further flags: " << statusText(record.furtherFlags) << '\n';
  }
  return true;
}

}  // namespace

std::string programVersion() {
  return FMP4_VERSION;
}

void addVersionCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* const command = app.add_subcommand(
      "version", "Print the program's version, and the plug-in's interface version and format record");
  command->callback([&invocation] { invocation.command = [&invocation] { return version(invocation); }; });
}

}  // namespace fmp4
