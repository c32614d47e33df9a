#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "base/json_text.h"
#include "base/user_error.h"
#include "mp4box/require_read.h"
#include "mp4box/top_level_reader.h"
#include "tool/commands/commands.h"
#include "tool/host/refusal_reason.h"
#include "tool/source/box_selection.h"
#include "tool/terminal/box_path.h"
#include "tool/terminal/box_printer.h"

namespace fmp4 {

namespace {

struct BoxesOptions {
  std::string file;
  std::string pathText;
  std::vector<BoxStep> path;  // empty: all boxes
  bool all = false;
  bool json = false;

  FieldStyle style() const { return json ? FieldStyle::Json : all ? FieldStyle::FullText : FieldStyle::Text; }
};

// Whether the top-level boxes fill the file; reports it if not.
bool fillsFile(const Mp4Box& root, const std::string& file) {
  const std::uint64_t end = root.last != nullptr ? root.last->end() : 0;
  if (end == root.size && end > 0) return true;
  std::cerr << "fmp4: '" << file << "' ";
  if (end < root.size)
    std::cerr << "holds no readable box at byte " << end << ", " << root.size - end
              << " bytes before its end; what follows is damaged or not MP4\n";
  else
    std::cerr << "is truncated: its last box should end at byte " << end << ", the file ends at byte "
              << root.size << "; get a complete copy\n";
  return false;
}

// Whether a file begins with a box. Bytes that are no box claim a size that the file does not have.
bool beginsWithBox(Mp4Stream& stream) {
  Mp4Box header;
  return Mp4ReadBoxHeader(stream, header).ok() && header.size != 0 && header.end() <= stream.size();
}

// What comes before the boxes in JSON.
void printJsonBeginning(const BoxesOptions& options, std::uint64_t size) {
  std::cout << "{\"file\": " << jsonText(options.file) << ", \"size\": " << size << ", \"boxes\": ";
}

bool printAll(Mp4Stream& stream, const BoxesOptions& options) {
  const auto tree = Mp4ReadRoot(stream, true);
  if (!tree) throw std::bad_alloc();
  const Mp4Box* const root = tree->root();
  BoxPrinter printer(std::cout, stream, options.style());
  if (options.json) printJsonBeginning(options, root->size);
  printer.begin();
  for (const Mp4Box* box = root->first; box; box = box->next) printer.print(*box);
  printer.end(tree->defects());
  if (options.json) std::cout << "}\n";
  requireRead(stream, options.file);
  return fillsFile(*root, options.file);
}

bool printPath(Mp4Stream& stream, const BoxesOptions& options) {
  Mp4TopLevelReader file(stream);
  BoxPrinter printer(std::cout, stream, options.style());
  if (options.json) printJsonBeginning(options, stream.size());
  printer.begin();
  BoxSelection selection(file, options.path, [&printer](const Mp4Box& box) { printer.print(box); });
  const bool found = selection.run();
  printer.end(file.defects());
  if (options.json) std::cout << "}\n";
  requireRead(stream, options.file);
  if (found) return true;
  const std::string why = selection.whyNone();
  throw UserError("'" + options.file + "' has no box at '" + options.pathText + "'" +
                  (why.empty() ? "" : ": " + why) + "; fmp4 boxes without --path shows all");
}

bool boxes(const BoxesOptions& options) {
  Mp4Stream stream;
  const VLHANDLE handle = stream.open(options.file.c_str(), MP4_MODE_READ);
  const bool opened = handle != VL_NO_HANDLE && handle != VL_INVALID_HANDLE;
  if (!opened || !beginsWithBox(stream))
    if (const auto trouble = boxTrouble(options.file))
      throw UserError("'" + options.file + "' " + trouble->text);
  if (!opened) throw UserError("'" + options.file + "' cannot be opened");
  return options.path.empty() ? printAll(stream, options) : printPath(stream, options);
}

void takePath(BoxesOptions& options, const std::string& text) {
  const auto path = parseBoxPath(text);
  if (!path)
    throw CLI::ValidationError(
        "--path", "'" + text +
                      "' is no path of boxes; give types with slashes between them, and indices from 0 where "
                      "one of several is meant (moof[3]/traf, moof[last], moov/trak[0]/mdia)");
  options.pathText = text;
  options.path = *path;
}

}  // namespace

void addBoxesCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* const command = app.add_subcommand("boxes", "Print the box tree of an MP4 file");
  const auto options = std::make_shared<BoxesOptions>();
  command->add_option("FILE", options->file, "The file to read")->required();
  command
      ->add_option_function<std::string>(
          "--path", [options](const std::string& text) { takePath(*options, text); },
          "Print the boxes at a path alone, with all inside them, and read no more than they take: moov, "
          "moof[3]/traf, moof[last]. Indices count from 0 the boxes of that type in their parent; without "
          "one "
          "each is meant")
      ->type_name("BOX");
  command->add_flag(
      "-a,--all", options->all,
      "Print all entries of lists, such as the samples of a trun, and all bytes; without it text "
      "has the first 4 entries and 16 bytes of each");
  command->add_flag("-j,--json", options->json, "Print JSON, every field in full");
  command->callback([&invocation, options] { invocation.command = [options] { return boxes(*options); }; });
}

}  // namespace fmp4
