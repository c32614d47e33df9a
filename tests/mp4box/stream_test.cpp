#include "mp4box/stream.h"

#include <gmock/gmock.h>

#include <array>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "mp4box/window_stream.h"
#include "tests/support/box_builder.h"
#include "tests/support/temp_folder.h"
#include "vlhost.h"

namespace fmp4 {

namespace {

constexpr std::int64_t kBuffer = 10 * 1024 * 1024;

// Captures the lines of the host's log during its lifetime.
class LogLines {
 public:
  LogLines() {
    vlSetLogSink(
        [](void* context, std::uint32_t level, const char* line) {
          auto& self = *static_cast<LogLines*>(context);
          EXPECT_EQ(level, VL_LOG_PLAIN);
          self.lines.emplace_back(line);
        },
        this);
  }
  ~LogLines() { vlSetLogSink(nullptr, nullptr); }

  std::vector<std::string> lines;
};

class StreamTest : public testing::Test {
 protected:
  std::string file(const Bytes& bytes) {
    writeFile(path_, bytes);
    return path_;
  }
  std::uintmax_t sizeOnDisk() const { return std::filesystem::file_size(path_); }
  Bytes onDisk() const { return readFile(path_); }

  // A buffered stream over the test's file.
  std::unique_ptr<Mp4BufferedStream> buffered(std::uint32_t mode) {
    auto plain = std::make_unique<Mp4Stream>();
    plain->open(path_.c_str(), mode);
    return std::make_unique<Mp4BufferedStream>(std::move(plain));
  }

  TempFolder folder_;
  std::string path_ = folder_.file("bytes");
};
using PlainStream = StreamTest;
using BufferedStream = StreamTest;

Bytes readBytes(Mp4Stream& stream, std::int64_t count) {
  Bytes bytes(static_cast<std::size_t>(count));
  const std::int64_t done = stream.read(bytes.data(), count);
  EXPECT_GE(done, 0);
  bytes.resize(static_cast<std::size_t>(done));
  return bytes;
}

Bytes peekBytes(Mp4Stream& stream, std::int64_t count) {
  Bytes bytes(static_cast<std::size_t>(count));
  bytes.resize(static_cast<std::size_t>(stream.peek(bytes.data(), count)));
  return bytes;
}

std::int64_t writeBytes(Mp4Stream& stream, const Bytes& bytes) {
  return stream.write(bytes.data(), static_cast<std::int64_t>(bytes.size()));
}

// ---- The plain stream -------------------------------------------------------------------------------

TEST_F(PlainStream, OpenForReadingTakesAnExistingFileOnly) {
  Mp4Stream stream;
  EXPECT_EQ(stream.open(path_.c_str(), MP4_MODE_READ), VL_INVALID_HANDLE);
  EXPECT_EQ(stream.handle, VL_INVALID_HANDLE);
  EXPECT_FALSE(std::filesystem::exists(path_));

  file(text("abc"));
  const VLHANDLE handle = stream.open(path_.c_str(), MP4_MODE_READ);
  EXPECT_NE(handle, VL_NO_HANDLE);
  EXPECT_NE(handle, VL_INVALID_HANDLE);
  EXPECT_EQ(stream.handle, handle);
  EXPECT_EQ(readBytes(stream, 8), text("abc"));
}

TEST_F(PlainStream, ReadOnlyAccessNeverCreates) {
  Mp4Stream stream;
  EXPECT_EQ(stream.open(path_.c_str(), MP4_MODE_READ | MP4_MODE_CREATE), VL_INVALID_HANDLE);
  EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(PlainStream, OpenWithoutAnyModeOpensNothing) {
  file(text("abc"));
  Mp4Stream stream;
  EXPECT_EQ(stream.open(path_.c_str(), 0), VL_NO_HANDLE);
  EXPECT_EQ(stream.open(path_.c_str(), 3), VL_NO_HANDLE);
  EXPECT_EQ(stream.handle, VL_NO_HANDLE);
  EXPECT_EQ(onDisk(), text("abc"));
}

TEST_F(PlainStream, CountsWhatTheHostFailsToReadAndNotTheEndOfTheFile) {
  const LogLines log;
  Mp4Stream stream;
  stream.open(file(text("abc")).c_str(), MP4_MODE_READ);
  EXPECT_EQ(readBytes(stream, 8), text("abc"));
  EXPECT_EQ(readBytes(stream, 8), text(""));
  EXPECT_TRUE(stream.seek(100));
  EXPECT_FALSE(stream.seek(~std::uint64_t{0}));
  EXPECT_EQ(stream.readFailures(), 0u);
  vlOSCloseFile(stream.handle);
  EXPECT_EQ(readBytes(stream, 8), text(""));
  EXPECT_EQ(stream.readFailures(), 1u);
  EXPECT_FALSE(stream.seek(0));
  EXPECT_EQ(stream.readFailures(), 2u);
  EXPECT_EQ(stream.size(), 0u);
  EXPECT_EQ(stream.readFailures(), 3u);
  stream.open(path_.c_str(), MP4_MODE_READ);
  EXPECT_EQ(stream.readFailures(), 0u);
}

// A stream whose file cannot be read from `limit` bytes on.
class HalfReadable : public Mp4Stream {
 public:
  explicit HalfReadable(std::int64_t limit) : limit_(limit) {}
  std::int64_t read(void* buffer, std::int64_t count) override {
    if (static_cast<std::int64_t>(tell()) + count <= limit_) return Mp4Stream::read(buffer, count);
    ++failures;
    const VLHANDLE kept = std::exchange(handle, VL_INVALID_HANDLE);
    const std::int64_t failed = Mp4Stream::read(buffer, count);
    handle = kept;
    return failed;
  }

  int failures = 0;

 private:
  std::int64_t limit_;
};

TEST_F(PlainStream, AReadAheadThatFailsGivesWhatIsNeeded) {
  const LogLines log;
  HalfReadable stream(4);
  stream.open(file(text("abcdefgh")).c_str(), MP4_MODE_READ);
  Bytes bytes(8);
  EXPECT_EQ(stream.readAhead(1, bytes.data(), 3, 7), 3);
  EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 3), text("bcd"));
  EXPECT_EQ(stream.readFailures(), 0u);
  EXPECT_EQ(stream.readAhead(1, bytes.data(), 4, 7), 0);
  EXPECT_EQ(stream.readFailures(), 1u);
  EXPECT_EQ(stream.failures, 3) << "the whole, what is needed of it, and the whole before that";
  EXPECT_EQ(stream.readAhead(1, bytes.data(), 7, 7), 0);
  EXPECT_EQ(stream.readFailures(), 2u);
  EXPECT_EQ(stream.failures, 4) << "all is needed: once";
}

TEST_F(PlainStream, AWindowGivesWhatCanBeReadAndCountsTheRest) {
  const LogLines log;
  HalfReadable stream(4);
  stream.open(file(text("abcdefgh")).c_str(), MP4_MODE_READ);
  Mp4Window bytes;
  Mp4WindowStream window(stream, bytes, 8, 8);
  EXPECT_EQ(readBytes(window, 4), text("abcd"));
  EXPECT_EQ(window.readFailures(), 0u);
  EXPECT_EQ(readBytes(window, 1), text(""));
  EXPECT_EQ(window.readFailures(), 1u);
}

TEST_F(PlainStream, OpenForUpdateKeepsTheBytes) {
  Mp4Stream stream;
  EXPECT_EQ(stream.open(path_.c_str(), MP4_MODE_UPDATE), VL_INVALID_HANDLE);
  file(text("abcdef"));
  stream.open(path_.c_str(), MP4_MODE_UPDATE);
  EXPECT_EQ(readBytes(stream, 2), text("ab"));
  EXPECT_EQ(writeBytes(stream, text("XY")), 2);
  stream.close();
  EXPECT_EQ(onDisk(), text("abXYef"));
}

TEST_F(PlainStream, UpdateTakesPrecedenceOverCreate) {
  file(text("abc"));
  Mp4Stream stream;
  stream.open(path_.c_str(), MP4_MODE_UPDATE | MP4_MODE_CREATE);
  EXPECT_EQ(stream.size(), 3u);
}

TEST_F(PlainStream, OpenToCreateReplacesAFile) {
  file(text("abcdef"));
  Mp4Stream stream;
  stream.open(path_.c_str(), MP4_MODE_CREATE);
  EXPECT_EQ(sizeOnDisk(), 0u);
  EXPECT_EQ(writeBytes(stream, text("new")), 3);
  EXPECT_TRUE(stream.seek(0));
  EXPECT_EQ(readBytes(stream, 3), text("new"));
}

TEST_F(PlainStream, OpeningAgainClosesTheOpenFile) {
  file(text("abc"));
  Mp4Stream stream;
  const VLHANDLE first = stream.open(path_.c_str(), MP4_MODE_READ);
  stream.open(path_.c_str(), 0);
  EXPECT_EQ(vlOSCloseFile(first), 0);
}

TEST_F(PlainStream, ReadsUpToTheEndAndTells) {
  Mp4Stream stream;
  stream.open(file(text("abcdef")).c_str(), MP4_MODE_READ);
  EXPECT_EQ(stream.tell(), 0u);
  EXPECT_EQ(stream.size(), 6u);
  EXPECT_EQ(readBytes(stream, 4), text("abcd"));
  EXPECT_EQ(stream.tell(), 4u);
  EXPECT_EQ(readBytes(stream, 4), text("ef"));
  EXPECT_EQ(stream.tell(), 6u);
  EXPECT_EQ(readBytes(stream, 4), Bytes{});
}

TEST_F(PlainStream, PeekDoesNotMove) {
  Mp4Stream stream;
  stream.open(file(text("abcdef")).c_str(), MP4_MODE_READ);
  EXPECT_TRUE(stream.seek(2));
  EXPECT_EQ(peekBytes(stream, 3), text("cde"));
  EXPECT_EQ(stream.tell(), 2u);
  EXPECT_EQ(peekBytes(stream, 10), text("cdef"));
  EXPECT_EQ(stream.tell(), 2u);
}

TEST_F(PlainStream, SeeksNoFurtherThanTheLargestHostOffset) {
  Mp4Stream stream;
  stream.open(file(text("abc")).c_str(), MP4_MODE_READ);
  EXPECT_TRUE(stream.seek(1));
  EXPECT_FALSE(stream.seek(std::uint64_t{1} << 63));
  EXPECT_EQ(stream.tell(), 1u);
}

TEST_F(PlainStream, HasNothingInMemory) {
  Mp4Stream stream;
  stream.open(file(text("abc")).c_str(), MP4_MODE_READ);
  EXPECT_EQ(stream.view(0, 1), nullptr);
}

TEST_F(PlainStream, CloseClearsTheHandle) {
  Mp4Stream stream;
  EXPECT_EQ(stream.close(), 0);
  stream.handle = VL_INVALID_HANDLE;
  EXPECT_EQ(stream.close(), 0);
  const VLHANDLE handle = stream.open(file(text("abc")).c_str(), MP4_MODE_READ);
  EXPECT_EQ(stream.close(), 1);
  EXPECT_EQ(stream.handle, VL_NO_HANDLE);
  EXPECT_EQ(stream.close(), 0);
  EXPECT_EQ(vlOSCloseFile(handle), 0);
}

TEST_F(PlainStream, DestructorCloses) {
  VLHANDLE handle = VL_NO_HANDLE;
  {
    Mp4Stream stream;
    handle = stream.open(file(text("abc")).c_str(), MP4_MODE_READ);
  }
  EXPECT_EQ(vlOSCloseFile(handle), 0);
}

TEST_F(PlainStream, SizeOfNothingIsZero) {
  Mp4Stream stream;
  EXPECT_EQ(stream.size(), 0u);
}

TEST_F(PlainStream, FailedReadIsLoggedAndGivesZero) {
  const LogLines log;
  Mp4Stream stream;
  char byte = 0;
  EXPECT_EQ(stream.read(&byte, 1), 0);
  EXPECT_THAT(log.lines, testing::ElementsAre(
                             "fmp4 file_read failure, error: " + std::to_string(vlOSGetLastError()) + "\n"));
}

TEST_F(PlainStream, FailedWriteIsLoggedAndNegative) {
  Mp4Stream stream;
  stream.open(file(text("abc")).c_str(), MP4_MODE_READ);
  const LogLines log;
  EXPECT_LT(writeBytes(stream, text("x")), 0);
  EXPECT_THAT(log.lines, testing::ElementsAre(
                             "fmp4 file_write failure, error: " + std::to_string(vlOSGetLastError()) + "\n"));
}

TEST_F(PlainStream, CountsBelowOneDoNothing) {
  const LogLines log;
  Mp4Stream stream;
  EXPECT_EQ(stream.read(nullptr, 0), 0);
  EXPECT_EQ(stream.read(nullptr, -5), 0);
  EXPECT_EQ(stream.write(nullptr, 0), 0);
  EXPECT_EQ(stream.write(nullptr, -5), 0);
  EXPECT_TRUE(log.lines.empty());
}

// ---- The buffered stream: writing -------------------------------------------------------------------

TEST_F(BufferedStream, TakesOverTheHandleAndItsPosition) {
  auto plain = std::make_unique<Mp4Stream>();
  const VLHANDLE handle = plain->open(file(text("abcdef")).c_str(), MP4_MODE_READ);
  plain->seek(2);
  Mp4BufferedStream stream(std::move(plain));
  EXPECT_EQ(stream.handle, handle);
  EXPECT_EQ(stream.tell(), 2u);
  EXPECT_EQ(stream.size(), 6u);
  EXPECT_EQ(readBytes(stream, 2), text("cd"));
}

TEST_F(BufferedStream, WriteOfExactlyTheBufferStaysBuffered) {
  auto stream = buffered(MP4_MODE_CREATE);
  EXPECT_EQ(writeBytes(*stream, Bytes(kBuffer, 1)), kBuffer);
  EXPECT_EQ(stream->tell(), 0xA00000u);
  EXPECT_EQ(sizeOnDisk(), 0u);
  EXPECT_EQ(stream->close(), 1);
  EXPECT_EQ(sizeOnDisk(), 0xA00000u);
}

TEST_F(BufferedStream, WriteOfOneByteMoreGoesStraightToTheFile) {
  auto stream = buffered(MP4_MODE_CREATE);
  EXPECT_EQ(writeBytes(*stream, Bytes(kBuffer + 1, 1)), kBuffer + 1);
  EXPECT_EQ(stream->tell(), 0xA00001u);
  EXPECT_EQ(sizeOnDisk(), 0xA00001u);
}

TEST_F(BufferedStream, ContiguousWritesAreBufferedBelowTheBufferSize) {
  auto stream = buffered(MP4_MODE_CREATE);
  writeBytes(*stream, Bytes(kBuffer - 2, 1));
  writeBytes(*stream, Bytes(1, 2));
  EXPECT_EQ(sizeOnDisk(), 0u);
  // One more byte would fill it: the buffered bytes are written, the new one is buffered.
  writeBytes(*stream, Bytes(1, 3));
  EXPECT_EQ(sizeOnDisk(), 0x9FFFFFu);
  stream->close();
  const Bytes bytes = onDisk();
  ASSERT_EQ(bytes.size(), 0xA00000u);
  EXPECT_EQ(bytes[0x9FFFFD], 1);
  EXPECT_EQ(bytes[0x9FFFFE], 2);
  EXPECT_EQ(bytes[0x9FFFFF], 3);
}

TEST_F(BufferedStream, WriteElsewhereFlushesTheBuffer) {
  auto stream = buffered(MP4_MODE_CREATE);
  writeBytes(*stream, text("abcd"));
  EXPECT_TRUE(stream->seek(8));
  EXPECT_EQ(sizeOnDisk(), 0u);
  writeBytes(*stream, text("efgh"));
  EXPECT_EQ(onDisk(), text("abcd"));
  EXPECT_TRUE(stream->seek(1));
  writeBytes(*stream, text("X"));
  EXPECT_EQ(stream->tell(), 2u);
  EXPECT_EQ(onDisk(), join({text("abcd"), zeros(4), text("efgh")}));
  stream->close();
  EXPECT_EQ(onDisk(), join({text("aXcd"), zeros(4), text("efgh")}));
}

TEST_F(BufferedStream, LargeWriteFollowsTheBufferedBytes) {
  auto stream = buffered(MP4_MODE_CREATE);
  writeBytes(*stream, text("ab"));
  writeBytes(*stream, Bytes(kBuffer + 1, 7));
  writeBytes(*stream, text("yz"));
  EXPECT_EQ(sizeOnDisk(), 0xA00003u);
  stream->close();
  EXPECT_EQ(onDisk(), join({text("ab"), Bytes(kBuffer + 1, 7), text("yz")}));
}

TEST_F(BufferedStream, CloseFlushesBeforeTheHandleIsClosed) {
  auto stream = buffered(MP4_MODE_CREATE);
  writeBytes(*stream, text("last words"));
  const VLHANDLE handle = stream->handle;
  EXPECT_EQ(stream->close(), 1);
  EXPECT_EQ(onDisk(), text("last words"));
  EXPECT_EQ(stream->handle, VL_NO_HANDLE);
  EXPECT_EQ(vlOSCloseFile(handle), 0);
  EXPECT_EQ(stream->close(), 0);
}

TEST_F(BufferedStream, DestructorFlushes) {
  auto stream = buffered(MP4_MODE_CREATE);
  writeBytes(*stream, text("last words"));
  stream.reset();
  EXPECT_EQ(onDisk(), text("last words"));
}

TEST_F(BufferedStream, CloseReportsAFailedWriteAndStillCloses) {
  file(text("abc"));
  auto stream = buffered(MP4_MODE_READ);
  const VLHANDLE handle = stream->handle;
  EXPECT_EQ(writeBytes(*stream, text("xyz")), 3);
  const LogLines log;
  EXPECT_LT(stream->close(), 0);
  EXPECT_THAT(log.lines, testing::ElementsAre(testing::StartsWith("fmp4 file_write failure, error: ")));
  EXPECT_EQ(vlOSCloseFile(handle), 0);
  EXPECT_EQ(onDisk(), text("abc"));
}

TEST_F(BufferedStream, WriteReportsAFailedFlush) {
  file(text("abc"));
  auto stream = buffered(MP4_MODE_READ);
  EXPECT_EQ(writeBytes(*stream, text("xyz")), 3);
  stream->seek(100);
  const LogLines log;
  EXPECT_LT(writeBytes(*stream, text("more")), 0);
  EXPECT_EQ(stream->tell(), 100u);
  EXPECT_LT(stream->close(), 0);
}

TEST_F(BufferedStream, FailedSeeksReturnAllOnes) {
  Mp4BufferedStream stream(std::make_unique<Mp4Stream>());
  char byte = 0;
  EXPECT_EQ(stream.read(&byte, 1), -1);
  EXPECT_EQ(stream.peek(&byte, 1), -1);
  EXPECT_EQ(stream.write(&byte, 1), 1);
  EXPECT_EQ(stream.close(), -1);
}

TEST_F(BufferedStream, WriteDoesNotRunPastTheLargestOffset) {
  auto stream = buffered(MP4_MODE_CREATE);
  EXPECT_FALSE(stream->seek(std::uint64_t{1} << 63));
  EXPECT_TRUE(stream->seek(std::numeric_limits<std::int64_t>::max()));
  EXPECT_EQ(writeBytes(*stream, text("a")), -1);
}

TEST_F(BufferedStream, OpenFlushesAndStartsAtZero) {
  auto stream = buffered(MP4_MODE_CREATE);
  writeBytes(*stream, text("abc"));
  stream->open(path_.c_str(), MP4_MODE_READ);
  EXPECT_EQ(stream->tell(), 0u);
  EXPECT_EQ(readBytes(*stream, 8), text("abc"));
}

// ---- The buffered stream: reading -------------------------------------------------------------------

// A change behind the stream's back tells bytes read from the file apart from bytes read from the buffer.
void change(const std::string& path, std::uint64_t offset, const Bytes& bytes) {
  Mp4Stream stream;
  stream.open(path.c_str(), MP4_MODE_UPDATE);
  ASSERT_TRUE(stream.seek(offset));
  ASSERT_EQ(writeBytes(stream, bytes), static_cast<std::int64_t>(bytes.size()));
}

TEST_F(BufferedStream, ReadsInsideTheBufferWithoutTheFile) {
  file(text("abcdef"));
  auto stream = buffered(MP4_MODE_READ);
  EXPECT_EQ(readBytes(*stream, 1), text("a"));
  change(path_, 0, text("ABCDEF"));
  EXPECT_EQ(readBytes(*stream, 2), text("bc"));
  EXPECT_TRUE(stream->seek(0));
  EXPECT_EQ(readBytes(*stream, 6), text("abcdef"));
  EXPECT_EQ(stream->tell(), 6u);
}

TEST_F(BufferedStream, ReadPastTheBufferRefillsFromTheFirstByteNotYetCopied) {
  file(Bytes(kBuffer + 100, 1));
  auto stream = buffered(MP4_MODE_READ);
  EXPECT_EQ(readBytes(*stream, 16), Bytes(16, 1));
  change(path_, kBuffer - 8, Bytes(108, 2));
  EXPECT_TRUE(stream->seek(kBuffer - 4));
  EXPECT_EQ(readBytes(*stream, 8), (Bytes{1, 1, 1, 1, 2, 2, 2, 2}));
  EXPECT_EQ(stream->tell(), 0xA00004u);
  // The buffer now starts at the byte the refill started with.
  change(path_, kBuffer - 8, Bytes(108, 3));
  EXPECT_TRUE(stream->seek(kBuffer));
  EXPECT_EQ(readBytes(*stream, 4), Bytes(4, 2));
  EXPECT_TRUE(stream->seek(kBuffer - 1));
  EXPECT_EQ(readBytes(*stream, 2), Bytes(2, 3));
}

TEST_F(BufferedStream, ReadOfMoreThanTheBufferRefillsAsOftenAsNeeded) {
  Bytes bytes(2 * kBuffer + 5);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * 2654435761u >> 24);
  file(bytes);
  auto stream = buffered(MP4_MODE_READ);
  EXPECT_EQ(readBytes(*stream, 3 * kBuffer), bytes);
  EXPECT_EQ(stream->tell(), bytes.size());
}

TEST_F(BufferedStream, ReadEndsWithTheFile) {
  file(text("abcdef"));
  auto stream = buffered(MP4_MODE_READ);
  EXPECT_EQ(readBytes(*stream, 100), text("abcdef"));
  EXPECT_EQ(readBytes(*stream, 100), Bytes{});
  EXPECT_TRUE(stream->seek(1000));
  EXPECT_EQ(readBytes(*stream, 1), Bytes{});
  EXPECT_EQ(stream->tell(), 1000u);
  EXPECT_TRUE(stream->seek(4));
  EXPECT_EQ(readBytes(*stream, 100), text("ef"));
}

TEST_F(BufferedStream, ReadOfCountsBelowOneDoesNothing) {
  file(text("abcdef"));
  auto stream = buffered(MP4_MODE_READ);
  EXPECT_EQ(stream->read(nullptr, 0), 0);
  EXPECT_EQ(stream->read(nullptr, -1), 0);
  EXPECT_EQ(stream->write(nullptr, 0), 0);
}

TEST_F(BufferedStream, PeekGoesToTheFileAndDoesNotMove) {
  file(text("abcdef"));
  auto stream = buffered(MP4_MODE_READ);
  EXPECT_EQ(readBytes(*stream, 2), text("ab"));
  change(path_, 2, text("CD"));
  EXPECT_EQ(peekBytes(*stream, 3), text("CDe"));
  EXPECT_EQ(stream->tell(), 2u);
  EXPECT_EQ(readBytes(*stream, 3), text("cde"));
}

TEST_F(BufferedStream, BufferedWritesAreNotReadYet) {
  file(text("abcdef"));
  auto stream = buffered(MP4_MODE_UPDATE);
  writeBytes(*stream, text("XY"));
  stream->seek(0);
  EXPECT_EQ(readBytes(*stream, 3), text("abc"));
  stream->close();
  EXPECT_EQ(onDisk(), text("XYcdef"));
}

// ---- The stream over memory -------------------------------------------------------------------------

TEST(MemoryStream, ReadsFromItsBase) {
  const Bytes bytes = text("abcdef");
  Mp4MemoryStream stream(bytes.data(), bytes.size(), 1000);
  EXPECT_EQ(stream.tell(), 1000u);
  EXPECT_EQ(stream.size(), 1006u);
  EXPECT_EQ(readBytes(stream, 2), text("ab"));
  EXPECT_EQ(stream.tell(), 1002u);
  EXPECT_EQ(peekBytes(stream, 9), text("cdef"));
  EXPECT_EQ(stream.tell(), 1002u);
  EXPECT_EQ(readBytes(stream, 9), text("cdef"));
  EXPECT_EQ(readBytes(stream, 9), Bytes{});
  EXPECT_EQ(stream.read(nullptr, -1), 0);
}

TEST(MemoryStream, SeeksWithinItsBytesAndToTheirEnd) {
  const Bytes bytes = text("abcdef");
  Mp4MemoryStream stream(bytes.data(), bytes.size(), 1000);
  EXPECT_TRUE(stream.seek(1005));
  EXPECT_EQ(readBytes(stream, 1), text("f"));
  EXPECT_TRUE(stream.seek(1006));
  EXPECT_FALSE(stream.seek(1007));
  EXPECT_FALSE(stream.seek(999));
  EXPECT_FALSE(stream.seek(std::numeric_limits<std::uint64_t>::max()));
  EXPECT_EQ(stream.tell(), 1006u);
}

TEST(MemoryStream, ShowsItsBytesWithoutCopying) {
  const Bytes bytes = text("abcdef");
  Mp4MemoryStream stream(bytes.data(), bytes.size(), 1000);
  EXPECT_EQ(stream.view(1000, 6), bytes.data());
  EXPECT_EQ(stream.view(1002, 4), bytes.data() + 2);
  EXPECT_EQ(stream.view(1002, 5), nullptr);
  EXPECT_EQ(stream.view(999, 1), nullptr);
  EXPECT_EQ(stream.view(1007, 0), nullptr);
  EXPECT_EQ(stream.view(1002, std::numeric_limits<std::uint64_t>::max()), nullptr);
}

TEST(MemoryStream, OpensWritesAndClosesNothing) {
  const Bytes bytes = text("abcdef");
  Mp4MemoryStream stream(bytes.data(), bytes.size());
  EXPECT_EQ(stream.open("anything", MP4_MODE_READ), VL_NO_HANDLE);
  EXPECT_EQ(stream.write("x", 1), -1);
  EXPECT_EQ(stream.close(), 0);
  EXPECT_EQ(readBytes(stream, 6), bytes);
}

// What was flushed is not written again over what came after it.
TEST_F(BufferedStream, WritesEachByteOnce) {
  auto stream = buffered(MP4_MODE_CREATE);
  const Bytes small(10, 1), large(static_cast<std::size_t>(kBuffer) + 1, 2);
  EXPECT_EQ(stream->write(small.data(), 10), 10);
  ASSERT_TRUE(stream->seek(0));
  EXPECT_EQ(stream->write(large.data(), kBuffer + 1), kBuffer + 1);
  stream->close();
  EXPECT_EQ(onDisk(), large);
}

TEST(WindowStream, HoldsToItsSizeAndToWhatTheFileHas) {
  const Bytes bytes(100, 7);
  Mp4MemoryStream file(bytes.data(), bytes.size());
  std::array<std::uint8_t, 64> buffer{};
  for (const auto& [size, offset, expected] :
       {std::tuple{50u, 50u, 0}, {50u, 60u, 0}, {50u, 40u, 10}, {200u, 90u, 10}, {200u, 0u, 64}}) {
    Mp4Window window;
    Mp4WindowStream stream(file, window, size, 16);
    ASSERT_TRUE(stream.seek(offset));
    EXPECT_EQ(stream.peek(buffer.data(), 64), expected) << size << ' ' << offset;
  }
}

}  // namespace

}  // namespace fmp4
