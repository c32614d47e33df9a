// What is read of a manifest without the elements of its segment lists, held against its whole document.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "streaming/lists/manifest_reader.h"

namespace fmp4 {

inline void expectSameManifest(const std::string& text) {
  tinyxml2::XMLDocument whole, rest;
  SegmentRuns runs;
  const bool parsed = parseManifestDocument(text, whole);
  ASSERT_EQ(parseManifestDocument(text, rest, runs), parsed) << text;
  if (parsed) {
    EXPECT_TRUE(readManifest(whole) == readManifest(rest, runs)) << text;
  }
}

}  // namespace fmp4
