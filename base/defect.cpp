#include "base/defect.h"

namespace fmp4 {

namespace {

struct Words {
  std::string_view code;
  std::string_view text;
};

constexpr Words wordsOf(Defect defect) {
  switch (defect) {
    case Defect::None:
      return {"none", "nothing is wrong"};
    case Defect::BoxHeaderTruncated:
      return {"box-header-truncated", "the header of a box is truncated"};
    case Defect::BoxSizeBelowHeader:
      return {"box-size-below-header", "a box is smaller than its own header"};
    case Defect::BoxSizePast64Bits:
      return {"box-size-past-64-bits", "a box ends at an offset of more than 64 bits"};
    case Defect::BoxSizeZero:
      return {"box-size-zero", "a box has no size, and would extend to the end of the file"};
    case Defect::BoxPastFile:
      return {"box-past-file", "a box extends past the end of the file"};
    case Defect::BoxPastParent:
      return {"box-past-parent", "a box extends past the end of its parent"};
    case Defect::BoxesOverrunParents:
      return {"boxes-overrun-parents", "boxes extend past the ends of their parents too often"};
    case Defect::BoxesNestedTooDeep:
      return {"boxes-nested-too-deep", "boxes are nested too deep"};
    case Defect::TooManyBoxes:
      return {"too-many-boxes", "there are too many boxes for so few bytes"};
    case Defect::BoxTooLarge:
      return {"box-too-large", "a box is too large to be held in memory"};
    case Defect::BoxTypeUnexpected:
      return {"box-type-unexpected", "a box is of another type than expected"};
    case Defect::CompressedMovie:
      return {"compressed-movie", "the movie box is compressed"};
    case Defect::PayloadTruncated:
      return {"payload-truncated", "the fields of a box extend past its end"};
    case Defect::CountPastBox:
      return {"count-past-box", "a box claims more entries than it has bytes for"};
    case Defect::FragmentChanged:
      return {"fragment-changed", "a fragment is no longer where it was"};
    case Defect::FragmentMissing:
      return {"fragment-missing", "there is no fragment of this number"};
    case Defect::SampleMissing:
      return {"sample-missing", "a sample is in none of the runs of its fragment"};
    case Defect::SamplePastFile:
      return {"sample-past-file", "a sample extends past the end of the file"};
    case Defect::ReadFailed:
      return {"read-failed", "the file could not be read"};
    case Defect::OutOfMemory:
      return {"out-of-memory", "memory is short"};
    case Defect::EndOfData:
      return {"end-of-data", "nothing more follows"};
  }
  return {};
}

}  // namespace

std::string_view defectCode(Defect defect) {
  return wordsOf(defect).code;
}

std::string_view defectText(Defect defect) {
  return wordsOf(defect).text;
}

}  // namespace fmp4
