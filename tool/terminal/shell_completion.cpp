#include "tool/terminal/shell_completion.h"

#include <CLI/CLI.hpp>
#include <map>
#include <string_view>
#include <vector>

namespace fmp4 {

namespace {

// What an option takes, by the name that its help gives the value.
enum class Values { None, Words, Numbers, Files };

const std::map<std::string, std::string, std::less<>>& wordsOfTypes() {
  static const std::map<std::string, std::string, std::less<>> words = {{"CC", "CC1 CC2 CC3 CC4"},
                                                                        {"SOURCE", "auto track sei none"},
                                                                        {"WHEN", "auto always never"},
                                                                        {"SHELL", "bash zsh fish"}};
  return words;
}

struct OptionWords {
  std::vector<std::string> names;  // "--from", "-o"
  std::string description;
  std::string type;
  Values values = Values::None;

  std::string words() const { return values == Values::Words ? wordsOfTypes().at(type) : ""; }
};

struct CommandWords {
  std::string name;  // empty: the program itself
  std::string description;
  std::vector<OptionWords> options;
  std::string argumentWords;  // instead of file names
};

// The name of an option's value in its help, without what is checked of it ("N" of "N:POSITIVE").
std::string typeOf(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  return type.substr(0, type.find(':'));
}

Values valuesOf(const CLI::Option& option) {
  if (option.get_items_expected_max() == 0) return Values::None;
  const std::string type = typeOf(option);
  if (wordsOfTypes().contains(type)) return Values::Words;
  return type == "N" || type == "PLACE" || type == "SEED" || type == "BOX" ? Values::Numbers : Values::Files;
}

OptionWords optionWords(const CLI::Option& option) {
  OptionWords words{{}, option.get_description(), typeOf(option), valuesOf(option)};
  for (const std::string& name : option.get_snames()) words.names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) words.names.push_back("--" + name);
  return words;
}

CommandWords commandWords(const CLI::App& app, const std::string& name) {
  CommandWords command{name, app.get_description(), {}, {}};
  for (const CLI::Option* option : app.get_options()) {
    if (!option->get_positional())
      command.options.push_back(optionWords(*option));
    else if (const auto words = wordsOfTypes().find(option->get_name()); words != wordsOfTypes().end())
      command.argumentWords = words->second;
  }
  // Options of groups are listed with their group.
  for (const CLI::App* group :
       app.get_subcommands([](const CLI::App* sub) { return sub->get_name().empty(); }))
    for (const CLI::Option* option : group->get_options())
      if (option != group->get_help_ptr()) command.options.push_back(optionWords(*option));
  return command;
}

// The program itself first. Its options are accepted after a command as well.
std::vector<CommandWords> commandsIn(const CLI::App& app) {
  std::vector<CommandWords> commands = {commandWords(app, "")};
  for (const CLI::App* sub :
       app.get_subcommands([](const CLI::App* each) { return !each->get_name().empty(); })) {
    CommandWords command = commandWords(*sub, sub->get_name());
    for (const OptionWords& option : commands.front().options)
      if (option.names.back() != "--help" && option.names.back() != "--version")
        command.options.push_back(option);
    commands.push_back(std::move(command));
  }
  return commands;
}

std::string namesOf(const std::vector<CommandWords>& commands) {
  std::string names;
  for (const CommandWords& command : commands)
    if (!command.name.empty()) names += (names.empty() ? "" : " ") + command.name;
  return names;
}

// `text` with a backslash before each of `special`.
std::string escaped(std::string_view text, std::string_view special) {
  std::string result;
  for (const char c : text) {
    if (special.find(c) != special.npos) result += '\\';
    result += c;
  }
  return result;
}

// In single quotes of a POSIX shell.
std::string shellWord(std::string_view text) {
  std::string result = "'";
  for (const char c : text) result += c == '\'' ? "'\\''" : std::string(1, c);
  return result + "'";
}

// Cases of a bash "case" on "COMMAND:OPTION": those that take words, and those that take numbers.
std::string bashValueCases(const CommandWords& command) {
  std::string words, numbers;
  for (const OptionWords& option : command.options) {
    std::string pattern;
    for (const std::string& name : option.names)
      pattern += (pattern.empty() ? "" : " | ") + command.name + ":" + name;
    if (option.values == Values::Words) words += "    " + pattern + ") choices='" + option.words() + "' ;;\n";
    if (option.values == Values::Numbers) numbers += (numbers.empty() ? "    " : " | ") + pattern;
  }
  return words + (numbers.empty() ? "" : numbers + ") return ;;\n");
}

std::string zshOption(const OptionWords& option) {
  const std::string help = "[" + escaped(option.description, "[]:\\") + "]";
  std::string values;
  if (option.values == Values::Words) values = ":" + option.type + ":(" + option.words() + ")";
  if (option.values == Values::Numbers) values = ":" + option.type + ": ";
  if (option.values == Values::Files) values = ":" + option.type + ":_files";
  std::string text;
  for (const std::string& name : option.names) text += " \\\n        " + shellWord(name + help + values);
  return text;
}

std::string fishOption(const std::string& condition, const OptionWords& option) {
  std::string line = "complete -c fmp4 -n '" + condition + "'";
  for (const std::string& name : option.names)
    line += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
  if (option.values == Values::Words) line += " -x -a '" + option.words() + "'";
  if (option.values == Values::Numbers) line += " -x";
  if (option.values == Values::Files) line += " -r -F";
  return line + " -d '" + escaped(option.description, "'\\") + "'\n";
}

}  // namespace

std::string bashCompletion(const CLI::App& app) {
  const std::vector<CommandWords> commands = commandsIn(app);
  std::string options, values, arguments;
  for (const CommandWords& command : commands) {
    options += "    " + (command.name.empty() ? "''" : command.name) + ") options='";
    for (const OptionWords& option : command.options)
      for (const std::string& name : option.names) options += name + " ";
    options += "' ;;\n";
    values += bashValueCases(command);
    if (!command.argumentWords.empty())
      arguments += "    " + command.name + ":*) choices='" + command.argumentWords + "' ;;\n";
  }
  return "# bash completion for fmp4, printed by: fmp4 completion bash\n"
         "_fmp4() {\n"
         "  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command= choices= "
         "options= i\n"
         "  local commands='" +
         namesOf(commands) +
         "'\n"
         "  for ((i = 1; i < COMP_CWORD; ++i)); do\n"
         "    if [[ \" $commands \" == *\" ${COMP_WORDS[i]} \"* ]]; then\n"
         "      command=${COMP_WORDS[i]}\n"
         "      break\n"
         "    fi\n"
         "  done\n"
         "  case $command in\n" +
         options +
         "  esac\n"
         "  case $command:$previous in\n" +
         values + arguments +
         "  esac\n"
         "  if [[ -n $choices && $word != -* ]]; then\n"
         "    mapfile -t COMPREPLY < <(compgen -W \"$choices\" -- \"$word\")\n"
         "  elif [[ $word == -* ]]; then\n"
         "    mapfile -t COMPREPLY < <(compgen -W \"$options\" -- \"$word\")\n"
         "  elif [[ -z $command && $previous != --plugin ]]; then\n"
         "    mapfile -t COMPREPLY < <(compgen -W \"$commands\" -- \"$word\")\n"
         "  else\n"
         "    compopt -o filenames\n"
         "    mapfile -t COMPREPLY < <(compgen -f -- \"$word\")\n"
         "  fi\n"
         "}\n"
         "complete -F _fmp4 fmp4\n";
}

std::string zshCompletion(const CLI::App& app) {
  const std::vector<CommandWords> commands = commandsIn(app);
  std::string list, cases, program;
  for (const CommandWords& command : commands) {
    std::string options;
    for (const OptionWords& option : command.options) options += zshOption(option);
    if (command.name.empty()) {
      program = options;
      continue;
    }
    list += "    " + shellWord(escaped(command.name, ":") + ":" + escaped(command.description, ":\\")) + "\n";
    const std::string arguments =
        command.argumentWords.empty() ? "*:file:_files" : "*:word:(" + command.argumentWords + ")";
    cases += "      " + command.name + ")\n      _arguments" + options + " \\\n        " +
             shellWord(arguments) + "\n      ;;\n";
  }
  return "#compdef fmp4\n"
         "# zsh completion for fmp4, printed by: fmp4 completion zsh\n"
         "_fmp4() {\n"
         "  local curcontext=$curcontext state line\n"
         "  local -a commands=(\n" +
         list +
         "  )\n"
         "  _arguments -C" +
         program +
         " \\\n        '1:command:->command' \\\n        '*::argument:->arguments'\n"
         "  case $state in\n"
         "  command) _describe -t commands command commands ;;\n"
         "  arguments)\n"
         "    case $words[1] in\n" +
         cases +
         "    esac\n"
         "    ;;\n"
         "  esac\n"
         "}\n"
         "_fmp4 \"$@\"\n";
}

std::string fishCompletion(const CLI::App& app) {
  std::string text = "# fish completion for fmp4, printed by: fmp4 completion fish\n";
  for (const CommandWords& command : commandsIn(app)) {
    const bool program = command.name.empty();
    const std::string condition =
        program ? "__fish_use_subcommand" : "__fish_seen_subcommand_from " + command.name;
    if (!program)
      text += "complete -c fmp4 -n __fish_use_subcommand -f -a " + command.name + " -d '" +
              escaped(command.description, "'\\") + "'\n";
    for (const OptionWords& option : command.options) text += fishOption(condition, option);
    if (!command.argumentWords.empty())
      text += "complete -c fmp4 -n '" + condition + "' -f -a '" + command.argumentWords + "'\n";
  }
  return text;
}

}  // namespace fmp4
