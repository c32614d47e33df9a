// The manual page, the completion and the README list the commands and options that the program has.
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "tests/docs/document.h"
#include "tests/support/run.h"

namespace fmp4 {

namespace {

// The options of each command by its name, without --help; those of the program itself have none.
using Commands = std::map<std::string, std::set<std::string>>;

std::vector<std::string> linesOfText(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::set<std::string> optionsIn(const std::string& text) {
  static const std::regex kOption("--[a-z][a-z0-9-]*");
  std::set<std::string> options;
  for (std::sregex_iterator match(text.begin(), text.end(), kOption), end; match != end; ++match)
    options.insert(match->str());
  options.erase("--help");
  return options;
}

std::string helpOf(const std::vector<std::string>& command) {
  std::vector<std::string> words = {VL_BIN_DIR "/fmp4"};
  words.insert(words.end(), command.begin(), command.end());
  words.push_back("--help");
  return runOrThrow(words).out;
}

// The first words of the indented lines: listed options and names of commands.
std::vector<std::string> entriesOf(const std::string& help) {
  std::vector<std::string> entries;
  for (const std::string& line : linesOfText(help)) {
    std::string entry;
    if (line.starts_with("  ") && std::istringstream(line) >> entry) entries.push_back(entry);
  }
  return entries;
}

const Commands& programsCommands() {
  static const Commands commands = [] {
    Commands result;
    const std::string help = helpOf({});
    const std::size_t list = help.find("Subcommands:");
    for (const std::string& entry : entriesOf(help.substr(0, list))) result[""].merge(optionsIn(entry));
    for (const std::string& name : entriesOf(help.substr(list))) {
      result[name] = {};
      for (const std::string& entry : entriesOf(helpOf({name})))
        if (entry.starts_with("-")) result[name].merge(optionsIn(entry));
    }
    return result;
  }();
  return commands;
}

TEST(CommandDocuments, TheProgramHasCommandsWithOptions) {
  EXPECT_EQ(programsCommands().at("frames"),
            (std::set<std::string>{"--count", "--from", "--json", "--random", "--to"}));
  EXPECT_EQ(programsCommands().at(""),
            (std::set<std::string>{"--no-progress", "--plugin", "--quiet", "--version"}));
  EXPECT_TRUE(programsCommands().at("probe").empty());
}

TEST(CommandDocuments, TheManualPageListsThem) {
  Commands listed;
  bool title = false;
  for (std::string line : linesOfFile(kTree / "packaging/fmp4.1")) {
    // Without font markup, and with plain hyphens.
    line = std::regex_replace(line, std::regex(R"(\\f[BIR]|")"), "");
    line = std::regex_replace(line, std::regex(R"(\\-)"), "-");
    std::istringstream words(line);
    std::string macro, name;
    words >> macro >> name;
    if (title && name.starts_with("-"))
      listed[""].merge(optionsIn(line));
    else if (title && programsCommands().contains(name))
      listed[name] = optionsIn(line);
    title = line == ".TP";
  }
  EXPECT_EQ(listed, programsCommands());
}

TEST(CommandDocuments, TheReadmeListsThem) {
  Commands listed = {{"", programsCommands().at("")}};
  for (const std::string& line : linesOfFile(kTree / "README.md")) {
    const std::vector<std::string> cells = cellsOf(line);
    const std::string usage = cells.empty() ? "" : codeIn(cells[0]);
    if (const std::string name = usage.substr(0, usage.find(' '));
        !name.empty() && programsCommands().contains(name))
      listed[name] = optionsIn(usage);
  }
  EXPECT_EQ(listed, programsCommands());
}

// What the completion offers for a line that ends with `last`.
std::set<std::string> completionsOf(const std::string& words, const std::string& last) {
  const std::string script = "source '" + (kTree / "packaging/fmp4.bash").string() + "'; COMP_WORDS=(fmp4 " +
                             words + " '" + last + "') COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _fmp4; " +
                             "printf '%s\\n' \"${COMPREPLY[@]}\"";
  const std::vector<std::string> lines = linesOfText(runOrThrow({"bash", "-c", script}).out);
  return {lines.begin(), lines.end()};
}

TEST(CommandDocuments, TheCompletionOffersThem) {
  std::set<std::string> names;
  for (const auto& [name, options] : programsCommands()) {
    if (!name.empty()) names.insert(name);
    // The program's own options are accepted after a command as well.
    std::set<std::string> expected = programsCommands().at("");
    if (!name.empty()) expected.erase("--version");
    expected.insert(options.begin(), options.end());
    expected.insert("--help");
    EXPECT_EQ(completionsOf(name, "--"), expected) << name;
  }
  EXPECT_EQ(completionsOf("", ""), names);
}

}  // namespace

}  // namespace fmp4
