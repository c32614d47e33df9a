// What a window reads of a file, and what it gives of it.
#include "streaming/index/read_window.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "mp4box/stream.h"
#include "tests/support/box_builder.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;

// Notes how many bytes each read gives.
class NotedStream : public Mp4MemoryStream {
 public:
  using Mp4MemoryStream::Mp4MemoryStream;
  std::int64_t read(void* buffer, std::int64_t count) override {
    const std::int64_t done = Mp4MemoryStream::read(buffer, count);
    reads.push_back(done);
    return done;
  }
  std::vector<std::int64_t> reads;
};

class ReadWindowTest : public testing::Test {
 protected:
  ReadWindowTest() {
    for (std::size_t i = 0; i < bytes_.size(); ++i) bytes_[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
    EXPECT_TRUE(window_.open());
  }
  Bytes part(std::uint64_t offset, std::uint64_t count) const {
    const auto begin = bytes_.begin() + static_cast<std::ptrdiff_t>(offset);
    return {begin, begin + static_cast<std::ptrdiff_t>(count)};
  }
  Bytes viewed(std::uint64_t offset, std::uint64_t count) {
    const std::uint8_t* const view = window_.view(file_, offset, count);
    return view ? Bytes(view, view + count) : Bytes();
  }
  Bytes copied(std::uint64_t offset, std::uint64_t count) {
    Bytes copy(count);
    EXPECT_TRUE(window_.read(file_, offset, count, copy.data()));
    return copy;
  }

  Bytes bytes_ = Bytes(2 << 20);
  NotedStream file_{bytes_.data(), bytes_.size()};
  ReadWindow window_;
};

TEST_F(ReadWindowTest, ReadsEverMoreAhead) {
  for (std::uint64_t offset = 0; offset < 400'000; offset += 4096)
    EXPECT_EQ(viewed(offset, 4096), part(offset, 4096));
  EXPECT_THAT(file_.reads, ElementsAre(4 << 10, 16 << 10, 64 << 10, 256 << 10, 256 << 10));
}

TEST_F(ReadWindowTest, KeepsTheBytesThatItHolds) {
  EXPECT_EQ(viewed(0, 100), part(0, 100));
  EXPECT_EQ(viewed(4000, 200), part(4000, 200));
  EXPECT_THAT(file_.reads, ElementsAre(4096, 16384));
}

TEST_F(ReadWindowTest, LittleAfterTheBytesThatItHoldsIsReadAhead) {
  EXPECT_EQ(copied(0, 100), part(0, 100));
  EXPECT_EQ(copied(100, 17000), part(100, 17000));
  EXPECT_EQ(copied(17100, 1000), part(17100, 1000));
  EXPECT_THAT(file_.reads, ElementsAre(4096, 16384));
}

TEST_F(ReadWindowTest, MuchAfterTheBytesThatItHoldsIsReadDirectly) {
  EXPECT_EQ(copied(0, 100), part(0, 100));
  EXPECT_EQ(copied(96, 4000 + (16 << 10)), part(96, 4000 + (16 << 10)));
  EXPECT_THAT(file_.reads, ElementsAre(4096, 16 << 10));
}

}  // namespace

}  // namespace fmp4
