// Prints boxes with their fields, as text or as JSON.
#pragma once

#include <cstddef>
#include <iosfwd>

#include "mp4box/box.h"
#include "mp4box/defect_list.h"
#include "mp4box/window_stream.h"
#include "tool/terminal/field_printer.h"

namespace fmp4 {

// Fields are read from the file again, to be printed as they are stored.
class BoxPrinter {
 public:
  // `out` and `file` must outlive the printer.
  BoxPrinter(std::ostream& out, Mp4Stream& file, FieldStyle style);

  // The boxes of one level, each with all inside it: a heading or an opening bracket, the boxes in the order
  // of the file, then what was wrong.
  void begin();
  void print(const Mp4Box& box);
  void end(const Mp4DefectList& defects);

 private:
  bool json() const { return style_ == FieldStyle::Json; }
  void printText(const Mp4Box& box, std::size_t depth);
  void printJson(const Mp4Box& box, std::size_t depth);
  void printFieldsOf(const Mp4Box& box);
  void printTextDefects(const Mp4DefectList& defects);
  void printJsonDefects(const Mp4DefectList& defects);

  std::ostream& out_;
  Mp4Window window_;
  Mp4WindowStream file_;
  FieldStyle style_;
  bool first_ = true;
};

}  // namespace fmp4
