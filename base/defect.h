// The named reasons for which bytes are refused, or are read only in part.
#pragma once

#include <cstdint>
#include <string_view>

namespace fmp4 {

enum class Defect : std::uint8_t {
  None,

  // Box headers.
  BoxHeaderTruncated,
  BoxSizeBelowHeader,
  BoxSizePast64Bits,
  BoxSizeZero,

  // Boxes.
  BoxPastFile,
  BoxPastParent,
  BoxesOverrunParents,
  BoxesNestedTooDeep,
  TooManyBoxes,
  BoxTooLarge,
  BoxTypeUnexpected,
  CompressedMovie,

  // Payloads.
  PayloadTruncated,
  CountPastBox,

  // Fragments and samples.
  FragmentChanged,
  FragmentMissing,
  SampleMissing,
  SamplePastFile,

  ReadFailed,
  OutOfMemory,
  EndOfData,
};

// What follows from a defect.
enum class DefectKind : std::uint8_t {
  None,
  Damaged,      // the bytes contradict the standard or each other, or are missing
  Unsupported,  // the bytes may be valid
  NoMemory,     // the same bytes may be read another time
  End,          // nothing more is there to be read
};

constexpr DefectKind defectKind(Defect defect) {
  switch (defect) {
    case Defect::None:
      return DefectKind::None;
    case Defect::BoxSizeZero:
    case Defect::BoxTooLarge:
    case Defect::CompressedMovie:
      return DefectKind::Unsupported;
    case Defect::OutOfMemory:
      return DefectKind::NoMemory;
    case Defect::EndOfData:
      return DefectKind::End;
    default:
      return DefectKind::Damaged;
  }
}

// The stable code of a defect for programs, such as "box-size-below-header"; "none" for none.
std::string_view defectCode(Defect defect);

// The defect in English, as the end of a sentence: "a box is smaller than its own header".
std::string_view defectText(Defect defect);

}  // namespace fmp4
