#include "tool/terminal/box_printer.h"

#include <iomanip>
#include <ostream>

#include "base/json_text.h"
#include "base/text.h"
#include "mp4box/file_bytes.h"

namespace fmp4 {

namespace {

constexpr std::uint64_t kFieldsAhead = 4096;  // bytes; those of the next boxes, which are mostly small

}  // namespace

BoxPrinter::BoxPrinter(std::ostream& out, Mp4Stream& file, FieldStyle style)
    : out_(out), file_(file, window_, file.size(), kFieldsAhead), style_(style) {}

void BoxPrinter::begin() {
  if (json())
    out_ << '[';
  else
    out_ << std::setw(12) << "offset" << ' ' << std::setw(12) << "size"
         << "  box\n";
}

void BoxPrinter::print(const Mp4Box& box) {
  if (!json()) return printText(box, 0);
  if (!first_) out_ << ',';
  first_ = false;
  printJson(box, 1);
}

void BoxPrinter::end(const Mp4DefectList& defects) {
  if (!json()) return printTextDefects(defects);
  out_ << ']';
  printJsonDefects(defects);
}

void BoxPrinter::printFieldsOf(const Mp4Box& box) {
  const unsigned header = Mp4BoxHeaderSize(box);
  Mp4FileBytes bytes;
  if (bytes.fetch(file_, box.position, box.size).ok())
    printFields(out_, *box.data, {bytes.data() + header, static_cast<std::size_t>(box.size - header)},
                style_);
}

void BoxPrinter::printText(const Mp4Box& box, std::size_t depth) {
  out_ << std::setw(12) << box.position << ' ' << std::setw(12) << box.size << "  "
       << std::string(2 * depth, ' ') << fourCcText(box.type);
  if (box.type == Mp4FourCc("uuid")) out_ << " uuid=\"" << hexText(box.uuid) << '"';
  if (box.data != nullptr) {
    out_ << ' ';
    printFieldsOf(box);
  }
  out_ << '\n';
  for (const Mp4Box* child = box.first; child != nullptr; child = child->next) printText(*child, depth + 1);
}

void BoxPrinter::printJson(const Mp4Box& box, std::size_t depth) {
  out_ << '\n'
       << std::string(2 * depth, ' ') << "{\"type\": " << jsonText(fourCcText(box.type))
       << ", \"offset\": " << box.position << ", \"size\": " << box.size;
  if (box.type == Mp4FourCc("uuid")) out_ << ", \"uuid\": \"" << hexText(box.uuid) << '"';
  out_ << ", \"fields\": {";
  if (box.data != nullptr) printFieldsOf(box);
  out_ << "}, \"boxes\": [";
  for (const Mp4Box* child = box.first; child != nullptr; child = child->next) {
    printJson(*child, depth + 1);
    if (child->next != nullptr) out_ << ',';
  }
  out_ << "]}";
}

// What was wrong with the boxes, in the order in which they were read.
void BoxPrinter::printTextDefects(const Mp4DefectList& defects) {
  if (defects.count() == 0) return;
  out_ << '\n'
       << std::setw(12) << "offset"
       << "  defect\n";
  for (const Mp4BoxDefect& found : defects.kept()) {
    out_ << std::setw(12) << found.offset << "  " << defectCode(found.defect);
    if (found.type != 0) out_ << " (" << fourCcText(found.type) << ')';
    out_ << ": " << defectText(found.defect) << '\n';
  }
  const std::uint64_t left = defects.count() - defects.kept().size();
  if (left != 0) out_ << "... and " << left << " more\n";
}

void BoxPrinter::printJsonDefects(const Mp4DefectList& defects) {
  out_ << ", \"defectCount\": " << defects.count() << ", \"defects\": [";
  const char* separator = "\n";
  for (const Mp4BoxDefect& found : defects.kept()) {
    out_ << separator << "  {\"offset\": " << found.offset
         << ", \"type\": " << (found.type != 0 ? jsonText(fourCcText(found.type)) : "null")
         << ", \"code\": " << jsonText(defectCode(found.defect))
         << ", \"text\": " << jsonText(defectText(found.defect)) << '}';
    separator = ",\n";
  }
  out_ << ']';
}

}  // namespace fmp4
