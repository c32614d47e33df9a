// File names as manifests and playlists refer to them.
#include "streaming/lists/uri.h"

#include <gtest/gtest.h>

namespace fmp4 {

namespace {

TEST(Uri, OfAnOrdinaryNameIsTheName) {
  EXPECT_EQ(uriOfName("clip_01-a.b+c,(d)!.m4v"), "clip_01-a.b+c,(d)!.m4v");
  EXPECT_EQ(uriOfName("Größe 東京.m4v"), "Größe%20東京.m4v");
}

TEST(Uri, EncodesCharactersWithAnotherMeaning) {
  EXPECT_EQ(uriOfName("a b#1 50% \"q\" c:d?e.m4v"), "a%20b%231%2050%25%20%22q%22%20c%3Ad%3Fe.m4v");
  EXPECT_EQ(uriOfName("line\nend\x7f"), "line%0Aend%7F");
}

TEST(Uri, DecodesToTheName) {
  std::string name;
  for (int c = 1; c < 256; ++c) name += static_cast<char>(c);
  EXPECT_EQ(nameOfUri(uriOfName(name)), name);
}

TEST(Uri, APercentSignThatEncodesNothingIsKept) {
  EXPECT_EQ(nameOfUri("50%.m4v"), "50%.m4v");
  EXPECT_EQ(nameOfUri("%4"), "%4");
  EXPECT_EQ(nameOfUri("%zz%2g%"), "%zz%2g%");
  EXPECT_EQ(nameOfUri("%C3%b6"), "ö");
}

TEST(Uri, AnEncodedZeroDoesNotTruncateAName) {
  EXPECT_EQ(nameOfUri("a%00b%20c.m4v"), "a%00b c.m4v");
}

TEST(Uri, EncodesTheCharactersBeforeTheSpace) {
  EXPECT_EQ(uriOfName("\x1E\x1F!"), "%1E%1F!");
}

}  // namespace

}  // namespace fmp4
