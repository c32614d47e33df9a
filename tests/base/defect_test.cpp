#include "base/defect.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "base/result.h"

namespace fmp4 {

namespace {

constexpr int kDefects = static_cast<int>(Defect::EndOfData) + 1;

TEST(Defects, HaveCodesOfTheirOwnThatProgramsCanRelyOn) {
  std::set<std::string_view> codes;
  for (int i = 0; i < kDefects; ++i) {
    const std::string_view code = defectCode(static_cast<Defect>(i));
    EXPECT_TRUE(codes.insert(code).second) << code;
    EXPECT_EQ(code.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-"), code.npos) << code;
  }
  EXPECT_EQ(defectCode(Defect::None), "none");
  EXPECT_EQ(defectCode(Defect::BoxSizeBelowHeader), "box-size-below-header");
  EXPECT_EQ(defectCode(Defect::BoxSizePast64Bits), "box-size-past-64-bits");
  EXPECT_EQ(defectCode(Defect::EndOfData), "end-of-data");
}

TEST(Defects, HaveTextsOfTheirOwn) {
  std::set<std::string_view> texts;
  for (int i = 0; i < kDefects; ++i) {
    const std::string_view text = defectText(static_cast<Defect>(i));
    EXPECT_TRUE(texts.insert(text).second) << text;
    EXPECT_GT(text.size(), 10u) << text;
    EXPECT_NE(text.back(), '.') << text;
  }
}

TEST(Defects, AreOfAKind) {
  EXPECT_EQ(defectKind(Defect::None), DefectKind::None);
  EXPECT_EQ(defectKind(Defect::BoxPastFile), DefectKind::Damaged);
  EXPECT_EQ(defectKind(Defect::CompressedMovie), DefectKind::Unsupported);
  EXPECT_EQ(defectKind(Defect::BoxSizeZero), DefectKind::Unsupported);
  EXPECT_EQ(defectKind(Defect::OutOfMemory), DefectKind::NoMemory);
  EXPECT_EQ(defectKind(Defect::EndOfData), DefectKind::End);
}

TEST(Result, IsSuccessOrADefectInOneByte) {
  static_assert(sizeof(Result) == 1);
  static_assert(Result().ok() && Result().defect() == Defect::None);
  static_assert(!Result(Defect::BoxPastFile).ok());
  static_assert(Result(Defect::BoxPastFile).kind() == DefectKind::Damaged);
  static_assert(Result(Defect::EndOfData) == Defect::EndOfData);
  static_assert(Result(Defect::EndOfData) != Result());
  EXPECT_EQ(defectCode(Result(Defect::TooManyBoxes).defect()), "too-many-boxes");
}

}  // namespace

}  // namespace fmp4
