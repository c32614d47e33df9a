// Which fragments are read again, and which are refused.
#include "streaming/index/fragment_loader.h"

#include <gtest/gtest.h>

#include "mp4box/stream.h"
#include "tests/support/box_builder.h"

namespace fmp4 {

namespace {

class FragmentLoading : public testing::Test {
 protected:
  static constexpr std::size_t kFragments = 12;

  // The result of loading a fragment of the stated size; `fragment_` receives it.
  Result load(std::uint64_t offset, std::uint64_t size) {
    return loader_.load(file_, bytes_.size(), {offset, size}, none_, fragment_);
  }
  const LoadedFragment* fragment(std::size_t number) {
    EXPECT_TRUE(load(number * size_, size_).ok());
    return fragment_.get();
  }

  const std::uint64_t size_ = 24;
  const Bytes bytes_ = repeat(box("moof", {fullBox("mfhd", 0, 0, {u32(1)})}), kFragments);
  Mp4MemoryStream file_{bytes_.data(), bytes_.size()};
  FragmentLoader loader_;
  ReadWindow none_;
  std::shared_ptr<const LoadedFragment> fragment_;
};

TEST_F(FragmentLoading, KeepsTheEightLastUsed) {
  std::vector<std::shared_ptr<const LoadedFragment>> held;  // so that none takes the place of another
  for (std::size_t i = 0; i < 8; ++i) {
    fragment(i);
    held.push_back(fragment_);
  }
  EXPECT_EQ(fragment(0), held[0].get());
  EXPECT_NE(fragment(8), nullptr);
  EXPECT_EQ(fragment(0), held[0].get()) << "used after the others";
  EXPECT_NE(fragment(1), held[1].get()) << "which had not been used for longest";
  EXPECT_EQ(fragment(3), held[3].get());
}

TEST_F(FragmentLoading, OutsideTheFileIsRefused) {
  EXPECT_EQ(load(bytes_.size(), size_), Defect::BoxPastFile);
  EXPECT_EQ(load(~std::uint64_t{0}, size_), Defect::BoxPastFile);
  EXPECT_EQ(fragment_, nullptr);
}

TEST_F(FragmentLoading, OfAnotherSizeHasChanged) {
  EXPECT_EQ(load(0, size_ + 1), Defect::FragmentChanged);
  EXPECT_TRUE(load(0, size_).ok());
}

}  // namespace

}  // namespace fmp4
