#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>
#include <random>
#include <unordered_map>
#include <vector>

#include "base/crc32.h"
#include "base/json_text.h"
#include "base/text.h"
#include "tool/commands/commands.h"
#include "tool/host/captions.h"
#include "tool/host/frame_selection.h"
#include "tool/host/frame_times.h"
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

Row readRow(VideoReader& video, std::uint32_t frame) {
  const DFRAME& descriptor = video.read(frame);
  return {frame,
          descriptor.bytes,
          (descriptor.flags & DFRAME_KEY) != 0,
          descriptor.compositionOffset,
          crc32(video.sample()),
          hexText(captionPair(descriptor)),
          hexText(captionPacket(descriptor))};
}

// "-00:00:00.040" before the start.
std::string signedClockText(double seconds) {
  const std::string clock = clockText(std::abs(seconds));
  return seconds <= -0.0005 ? "-" + clock : clock;
}

// Adds a line of CSV. The columns of captions are empty for most frames.
void appendCsv(std::string& line, const Row& row, const std::optional<FrameTime>& time) {
  char numbers[64];  // four, each of at most ten digits, a sign and its comma
  char* end = numbers;
  const auto addNumber = [&](auto number) {
    end = std::to_chars(end, std::end(numbers), number).ptr;
    *end++ = ',';
  };
  addNumber(row.frame);
  addNumber(row.size);
  addNumber(int{row.key});
  addNumber(row.compositionOffset);
  line.append(numbers, end);
  line.append(hexText(row.crc32, 8)) += ',';
  line.append(row.cc608) += ',';
  line.append(row.cc708) += ',';
  if (time) line += clockText(time->decodeSeconds());
  line += ',';
  if (time) line += signedClockText(time->presentationSeconds);
  line += '\n';
}

std::string timesAsJson(const std::optional<FrameTime>& time) {
  const auto member = [&time](const char* name, const std::string& value) {
    return std::string(", \"") + name + "\": " + (time ? value : "null");
  };
  const FrameTime known = time.value_or(FrameTime{.timescale = 1});
  return member("timescale", std::to_string(known.timescale)) +
         member("decodeTicks", std::to_string(known.decodeTicks)) +
         member("compositionTicks", std::to_string(known.compositionTicks)) +
         member("decodeSeconds", jsonNumber(known.decodeSeconds())) +
         member("presentationSeconds", jsonNumber(known.presentationSeconds));
}

// Prints rows with their times as CSV, or as a JSON array of one object a line. Rows come in frame order.
class RowPrinter {
 public:
  RowPrinter(FrameTimes& times, bool json) : times_(times), json_(json) {
    std::cout << (json_ ? "["
                        : "frame,size,key,compositionOffset,crc32,cc608,cc708,decodeTime,presentationTime\n");
  }
  void print(const Row& row) {
    const std::optional<FrameTime> time = times_.of(row.frame, row.size);
    if (json_) {
      std::cout << (first_ ? "\n" : ",\n") << "{\"frame\": " << row.frame << ", \"size\": " << row.size
                << ", \"key\": " << row.key << ", \"compositionOffset\": " << row.compositionOffset
                << ", \"crc32\": \"" << hexText(row.crc32, 8) << "\", \"cc608\": \"" << row.cc608
                << "\", \"cc708\": \"" << row.cc708 << '"' << timesAsJson(time) << '}';
      first_ = false;
    } else {
      line_.clear();
      appendCsv(line_, row, time);
      std::cout << line_;
    }
  }
  void end() {
    if (json_) std::cout << "\n]\n";
  }

 private:
  FrameTimes& times_;
  bool json_;
  bool first_ = true;
  std::string line_;  // keeps its memory
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

void printInOrder(VideoReader& video, const FrameRange& range, RowPrinter& printer) {
  Progress progress("reading", range.count, !outputIsTerminal());
  for (std::uint32_t i = 0; i < range.count; ++i) {
    printer.print(readRow(video, range.from + i));
    progress.show(i + 1);
  }
}

void printReadShuffled(VideoReader& video, const FrameRange& range, std::uint64_t seed, RowPrinter& printer) {
  std::vector<Row> rows;
  {
    Progress progress("reading", range.count);
    ShuffledFrames order(range, seed);
    while (rows.size() < range.count) {
      rows.push_back(readRow(video, order.next()));
      progress.show(rows.size());
    }
  }
  std::sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) { return a.frame < b.frame; });
  for (const Row& row : rows) printer.print(row);
}

bool frames(const Invocation& invocation, const FramesOptions& options) {
  const Plugin plugin(invocation.plugin);
  const MediaFile file = plugin.open(options.file);
  VideoReader video(*file, options.file);
  const FrameRange range = video.range(options.selection);
  FrameTimes times(options.file);
  RowPrinter printer(times, options.json);
  if (options.seed)
    printReadShuffled(video, range, *options.seed, printer);
  else
    printInOrder(video, range, printer);
  printer.end();
  return true;
}

}  // namespace

void addFramesCommand(CLI::App& app, Invocation& invocation) {
  CLI::App* const command = app.add_subcommand("frames", "Read video frames and list them with their times");
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
