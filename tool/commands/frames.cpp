#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>
#include <random>
#include <unordered_map>
#include <vector>

#include "base/crc32.h"
#include "base/text.h"
#include "tool/commands/commands.h"
#include "tool/host/captions.h"
#include "tool/host/frame_selection.h"
#include "tool/host/plugin_host.h"
#include "tool/host/video_reader.h"
#include "tool/terminal/progress.h"

namespace fmp4 {

namespace {

struct FramesOptions {
  std::string file;
  bool json = false;
  FrameSelection selection;
  std::optional<std::uint64_t> seed;
};

struct Row {
  std::uint32_t frame;
  std::uint32_t size;  // bytes
  bool key;
  std::int32_t compositionOffset;
  std::uint32_t crc32;
  std::string cc608;  // hexadecimal
  std::string cc708;
};

Row readRow(VideoReader& reader, std::uint32_t frame) {
  const DFRAME& descriptor = reader.read(frame);
  const std::span<const std::uint8_t> sample = reader.sample();
  Row row = {frame,
             descriptor.bytes,
             (descriptor.flags & DFRAME_KEY) != 0,
             descriptor.compositionOffset,
             crc32(sample),
             {},
             {}};
  row.cc608 = hexText(captionPair(descriptor));
  row.cc708 = hexText(captionPacket(descriptor));
  return row;
}

// Prints rows as CSV, or as a JSON array of one object a line.
class RowPrinter {
 public:
  explicit RowPrinter(bool json) : json_(json) {
    std::cout << (json_ ? "[" : "frame,size,key,compositionOffset,crc32,cc608,cc708\n");
  }
  void print(const Row& row) {
    const std::string crc = hexText(row.crc32, 8);
    if (json_) {
      std::cout << (first_ ? "\n" : ",\n") << "{\"frame\": " << row.frame << ", \"size\": " << row.size
                << ", \"key\": " << row.key << ", \"compositionOffset\": " << row.compositionOffset
                << ", \"crc32\": \"" << crc << "\", \"cc608\": \"" << row.cc608 << "\", \"cc708\": \""
                << row.cc708 << "\"}";
      first_ = false;
    } else {
      std::cout << row.frame << ',' << row.size << ',' << row.key << ',' << row.compositionOffset << ','
                << crc << ',' << row.cc608 << ',' << row.cc708 << '\n';
    }
  }
  void end() {
    if (json_) std::cout << "\n]\n";
  }

 private:
  bool json_;
  bool first_ = true;
};

// The frames of a range, each once, in an order that depends on the seed alone: the C++ standard specifies
// the generator, but not the library's shuffle and distributions. A Fisher-Yates shuffle that stores only the
// entries it has changed, so that memory does not grow with the frames that a file claims to hold.
class ShuffledFrames {
 public:
  ShuffledFrames(const FrameRange& range, std::uint64_t seed) : range_(range), generator_(seed) {}

  // To be called no more often than the range has frames.
  std::uint32_t next() {
    const auto place = static_cast<std::uint32_t>(taken_ + generator_() % (range_.count - taken_));
    const std::uint32_t chosen = at(place);
    moved_[place] = at(taken_);
    moved_.erase(taken_++);
    return range_.from + chosen;
  }

 private:
  std::uint32_t at(std::uint32_t place) const {
    const auto found = moved_.find(place);
    return found == moved_.end() ? place : found->second;
  }

  FrameRange range_;
  std::mt19937_64 generator_;
  std::uint32_t taken_ = 0;
  std::unordered_map<std::uint32_t, std::uint32_t> moved_;
};

void printInOrder(VideoReader& reader, const FrameRange& range, RowPrinter& printer) {
  Progress progress("reading", range.count, !outputIsTerminal());
  for (std::uint32_t i = 0; i < range.count; ++i) {
    printer.print(readRow(reader, range.from + i));
    progress.show(i + 1);
  }
}

void printReadShuffled(VideoReader& reader, const FrameRange& range, std::uint64_t seed,
                       RowPrinter& printer) {
  std::vector<Row> rows;
  {
    Progress progress("reading", range.count);
    ShuffledFrames order(range, seed);
    while (rows.size() < range.count) {
      rows.push_back(readRow(reader, order.next()));
      progress.show(rows.size());
    }
  }
  std::sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) { return a.frame < b.frame; });
  for (const Row& row : rows) printer.print(row);
}

bool frames(const Invocation& invocation, const FramesOptions& options) {
  const Plugin plugin(invocation.plugin);
  const MediaFile file = plugin.open(options.file);
  VideoReader reader(*file, options.file);
  const FrameRange range = reader.range(options.selection);
  RowPrinter printer(options.json);
  if (options.seed)
    printReadShuffled(reader, range, *options.seed, printer);
  else
    printInOrder(reader, range, printer);
  printer.end();
  return true;
}

}  // namespace

void addFramesCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* const command = app.add_subcommand("frames", "Read video frames and list them");
  const auto options = std::make_shared<FramesOptions>();
  command->add_option("FILE", options->file, "The file to read")->required();
  command->add_flag("-j,--json", options->json, "Print JSON instead of CSV");
  addFrameSelection(*command, options->selection);
  command
      ->add_option("--random", options->seed,
                   "Read in an order shuffled with this seed; print in frame order")
      ->type_name("SEED");
  command->callback([&invocation, options] {
    invocation.command = [&invocation, options] { return frames(invocation, *options); };
  });
}

}  // namespace fmp4
