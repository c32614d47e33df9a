#include <CLI/CLI.hpp>
#include <cstddef>
#include <iomanip>
#include <iostream>
#include <memory>

#include "base/json_text.h"
#include "base/text.h"
#include "base/user_error.h"
#include "mp4box/top_level_reader.h"
#include "tool/commands/commands.h"
#include "tool/host/refusal_reason.h"
#include "tool/terminal/field_printer.h"

namespace fmp4 {

namespace {

struct BoxesOptions {
  std::string file;
  bool json = false;
};

// What every line or object shows of a box, its fields last.
void printTextBox(const Mp4Box& box, std::size_t depth) {
  std::cout << std::setw(12) << box.position << ' ' << std::setw(12) << box.size << "  "
            << std::string(2 * depth, ' ') << fourCcText(box.type);
  if (box.type == Mp4FourCc("uuid")) std::cout << " uuid=\"" << hexText(box.uuid) << '"';
  if (box.data != nullptr) {
    std::cout << ' ';
    printFields(std::cout, *box.data, FieldStyle::Text);
  }
  std::cout << '\n';
}

void printTextLevel(const Mp4Box& father, std::size_t depth) {
  for (const Mp4Box* box = father.first; box != nullptr; box = box->next) {
    printTextBox(*box, depth);
    printTextLevel(*box, depth + 1);
  }
}

void printJsonLevel(const Mp4Box& father, std::size_t depth) {
  const std::string indent(2 * depth, ' ');
  std::cout << '[';
  for (const Mp4Box* box = father.first; box != nullptr; box = box->next) {
    std::cout << '\n'
              << indent << "{\"type\": " << jsonText(fourCcText(box->type))
              << ", \"offset\": " << box->position << ", \"size\": " << box->size;
    if (box->type == Mp4FourCc("uuid")) std::cout << ", \"uuid\": \"" << hexText(box->uuid) << '"';
    std::cout << ", \"fields\": {";
    if (box->data != nullptr) printFields(std::cout, *box->data, FieldStyle::Json);
    std::cout << "}, \"boxes\": ";
    printJsonLevel(*box, depth + 1);
    std::cout << (box->next != nullptr ? "}," : "}");
  }
  std::cout << ']';
}

// What was wrong with the boxes, in the order in which they were read.
void printTextDefects(const Mp4DefectList& defects) {
  if (defects.count() == 0) return;
  std::cout << '\n'
            << std::setw(12) << "offset"
            << "  defect\n";
  for (const Mp4BoxDefect& found : defects.kept()) {
    std::cout << std::setw(12) << found.offset << "  " << defectCode(found.defect);
    if (found.type != 0) std::cout << " (" << fourCcText(found.type) << ')';
    std::cout << ": " << defectText(found.defect) << '\n';
  }
  const std::uint64_t left = defects.count() - defects.kept().size();
  if (left != 0) std::cout << "... and " << left << " more\n";
}

void printJsonDefects(const Mp4DefectList& defects) {
  std::cout << ", \"defectCount\": " << defects.count() << ", \"defects\": [";
  const char* separator = "\n";
  for (const Mp4BoxDefect& found : defects.kept()) {
    std::cout << separator << "  {\"offset\": " << found.offset
              << ", \"type\": " << (found.type != 0 ? jsonText(fourCcText(found.type)) : "null")
              << ", \"code\": " << jsonText(defectCode(found.defect))
              << ", \"text\": " << jsonText(defectText(found.defect)) << '}';
    separator = ",\n";
  }
  std::cout << ']';
}

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
bool beginsWithBox(const Mp4Box& root) {
  return root.first && root.first->end() <= root.size;
}

bool boxes(const BoxesOptions& options) {
  Mp4Stream stream;
  const VLHANDLE handle = stream.open(options.file.c_str(), MP4_MODE_READ);
  const bool opened = handle != VL_NO_HANDLE && handle != VL_INVALID_HANDLE;
  const auto tree = opened ? Mp4ReadRoot(stream, true) : nullptr;
  if (opened && tree == nullptr) throw std::bad_alloc();
  const Mp4Box* const root = tree == nullptr ? nullptr : tree->root();
  if (root == nullptr || !beginsWithBox(*root))
    if (const auto trouble = boxTrouble(options.file))
      throw UserError("'" + options.file + "' " + trouble->text);
  if (root == nullptr) throw UserError("'" + options.file + "' cannot be opened");
  if (options.json) {
    std::cout << "{\"file\": " << jsonText(options.file) << ", \"size\": " << root->size << ", \"boxes\": ";
    printJsonLevel(*root, 1);
    printJsonDefects(tree->defects());
    std::cout << "}\n";
  } else {
    std::cout << std::setw(12) << "offset" << ' ' << std::setw(12) << "size"
              << "  box\n";
    printTextLevel(*root, 0);
    printTextDefects(tree->defects());
  }
  return fillsFile(*root, options.file);
}

}  // namespace

void addBoxesCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* const command = app.add_subcommand("boxes", "Print the box tree of an MP4 file");
  const auto options = std::make_shared<BoxesOptions>();
  command->add_option("FILE", options->file, "The file to read")->required();
  command->add_flag("-j,--json", options->json, "Print JSON, every field in full");
  command->callback([&invocation, options] { invocation.command = [options] { return boxes(*options); }; });
}

}  // namespace fmp4
