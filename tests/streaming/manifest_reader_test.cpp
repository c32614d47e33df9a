#include "streaming/lists/manifest_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/comma_locale.h"
#include "tests/support/controlled_new.h"
#include "tests/support/same_manifest.h"
#include "tests/support/temp_folder.h"
#include "tests/support/turkish_locale.h"

namespace fmp4 {

namespace {

using testing::ElementsAre;

std::optional<Manifest> read(const std::string& text) {
  tinyxml2::XMLDocument document;
  EXPECT_EQ(document.Parse(text.c_str()), tinyxml2::XML_SUCCESS);
  expectSameManifest(text);
  return readManifest(document);
}
std::optional<Manifest> readSets(const std::string& sets) {
  return read("<MPD mediaPresentationDuration=\"PT9S\"><Period>" + sets + "</Period></MPD>");
}

constexpr char kVideo[] = "<Representation mimeType='video/mp4'><BaseURL>v.m4v</BaseURL></Representation>";
constexpr char kAudio[] = "<Representation mimeType='AUDIO/mp4'><BaseURL>a.m4a</BaseURL></Representation>";

std::string set(const std::string& content, const std::string& attributes = "") {
  return "<AdaptationSet " + attributes + ">" + content + "</AdaptationSet>";
}

TEST(ReadManifest, NeedsAPeriodWithAnAdaptationSet) {
  EXPECT_FALSE(read("<Other/>"));
  EXPECT_FALSE(read("<MPD/>"));
  EXPECT_FALSE(read("<MPD><Period/></MPD>"));
  EXPECT_TRUE(readSets("<AdaptationSet/>"));
}

TEST(ReadManifest, RepresentationsGiveTheirTypeInAnyCaseAndOrder) {
  const auto manifest = readSets(set(kAudio) + set(kVideo));
  EXPECT_EQ(manifest->video.baseUrl, "v.m4v");
  EXPECT_EQ(manifest->audio.baseUrl, "a.m4a");
  const auto oneSet = readSets(set(std::string(kVideo) + kAudio));
  EXPECT_EQ(oneSet->video.baseUrl, "v.m4v");
  EXPECT_EQ(oneSet->audio.baseUrl, "a.m4a");
}

TEST(ReadManifest, TheFirstRepresentationOfAKindIsUsed) {
  const auto manifest =
      readSets(set(std::string(kVideo) +
                   "<Representation mimeType='video/mp4'><BaseURL>low.m4v</BaseURL></Representation>") +
               set(kAudio));
  EXPECT_EQ(manifest->video.baseUrl, "v.m4v");
}

TEST(ReadManifest, ASetDeclaredAsVideoIsReadAsTheAudio) {
  const auto manifest =
      readSets(set("<Representation><BaseURL>x.m4v</BaseURL></Representation>", "mimeType='video/mp4'"));
  EXPECT_EQ(manifest->audio.baseUrl, "x.m4v");
  EXPECT_EQ(manifest->video.baseUrl, "");
}

TEST(ReadManifest, ASetDeclaredAsAnythingElseIsReadAsTheVideo) {
  const auto manifest =
      readSets(set("<Representation><BaseURL>x.m4a</BaseURL></Representation>", "mimeType='audio/mp4'"));
  EXPECT_EQ(manifest->video.baseUrl, "x.m4a");
  EXPECT_EQ(manifest->audio.baseUrl, "");
}

TEST(ReadManifest, ASetThatDeclaresItsTypeEndsTheWalk) {
  const auto manifest = readSets(
      set(kAudio) + set("<Representation><BaseURL>x</BaseURL></Representation>", "mimeType='text/vtt'") +
      set(kVideo));
  EXPECT_EQ(manifest->audio.baseUrl, "a.m4a");
  EXPECT_EQ(manifest->video.baseUrl, "x");
}

TEST(ReadManifest, AttributesComeFromTheRepresentationThenFromTheSet) {
  const auto manifest =
      readSets(set("<Representation mimeType='video/mp4' width='640' frameRate='30000/1001'/>",
                   "width='1' height='360' frameRate='25'") +
               set("<Representation mimeType='audio/mp4'/>", "audioSamplingRate='44100'"));
  EXPECT_EQ(manifest->width, 640u);
  EXPECT_EQ(manifest->height, 360u);
  EXPECT_EQ(manifest->frameRate.numerator, 30000u);
  EXPECT_EQ(manifest->frameRate.denominator, 1001u);
  EXPECT_EQ(manifest->audioSamplingRate, 44100u);
}

TEST(ReadManifest, SampleRateReplacesAMissingAudioSamplingRate) {
  EXPECT_EQ(readSets(set("<Representation mimeType='audio/mp4' sampleRate='32000'/>"))->audioSamplingRate,
            32000u);
  EXPECT_EQ(readSets(set("<Representation mimeType='audio/mp4' sampleRate='1' audioSamplingRate='2'/>"))
                ->audioSamplingRate,
            2u);
}

TEST(ReadManifest, SegmentListsAndBasesGiveTheOffsetsOfTheirIndexes) {
  const auto list =
      readSets(set("<Representation mimeType='video/mp4'><SegmentList>"
                   "<SegmentURL mediaRange='800-999' indexRange='800-859'/>"
                   "<SegmentURL indexRange='12345678901-12345678999'/>"
                   "<SegmentURL mediaRange='1-2'/>"
                   "</SegmentList><SegmentBase indexRange='7-8'/></Representation>"));
  EXPECT_TRUE(list->video.hasSegmentList);
  EXPECT_THAT(list->video.indexOffsets, ElementsAre(800u, 12345678901u));
  const auto base =
      readSets(set("<Representation mimeType='video/mp4'><SegmentBase indexRange='700'/></Representation>"));
  EXPECT_TRUE(base->video.hasSegmentBase);
  EXPECT_FALSE(base->video.hasSegmentList);
  EXPECT_THAT(base->video.indexOffsets, ElementsAre(700u));
}

TEST(ReadManifest, InvalidRangesAndNumbersAreIgnored) {
  const auto manifest = readSets(
      set("<Representation mimeType='video/mp4' width='wide' height='-5' frameRate='fast'><SegmentList>"
          "<SegmentURL indexRange=''/><SegmentURL indexRange='-5'/><SegmentURL indexRange='x-y'/>"
          "<SegmentURL indexRange='99999999999999999999-1'/>"
          "</SegmentList></Representation>"));
  EXPECT_TRUE(manifest->video.hasSegmentList);
  EXPECT_TRUE(manifest->video.indexOffsets.empty());
  EXPECT_FALSE(manifest->width);
  EXPECT_FALSE(manifest->height);
  EXPECT_FALSE(manifest->frameRate.known());
}

TEST(ReadManifest, WhiteSpaceAroundTextsAndNumbersIsIgnored) {
  const auto manifest = readSets(
      set("<Representation mimeType='video/mp4' width=' 640 ' height='\n360'><BaseURL>\n   a  b.m4v\t\n"
          "</BaseURL><SegmentBase indexRange=' 700 - 800'/></Representation>"));
  EXPECT_EQ(manifest->video.baseUrl, "a  b.m4v");
  EXPECT_EQ(manifest->width, 640u);
  EXPECT_EQ(manifest->height, 360u);
  EXPECT_THAT(manifest->video.indexOffsets, ElementsAre(700u));
  EXPECT_EQ(readSets(set("<Representation mimeType='video/mp4'><BaseURL> \n </BaseURL></Representation>"))
                ->video.baseUrl,
            "");
}

TEST(ReadManifest, RecognisesSegmentsInFilesOfTheirOwn) {
  const auto hasSegmentFiles = [](const std::string& content, const std::string& beside = "") {
    return readSets(set(beside + "<Representation mimeType='video/mp4'>" + content + "</Representation>"))
        ->video.hasSegmentFiles;
  };
  EXPECT_FALSE(hasSegmentFiles("<BaseURL>v.m4v</BaseURL>"));
  EXPECT_FALSE(hasSegmentFiles("<SegmentList><SegmentURL mediaRange='1-2'/></SegmentList>"));
  EXPECT_TRUE(hasSegmentFiles("<SegmentTemplate media='$Number$.m4s'/>"));
  EXPECT_TRUE(hasSegmentFiles("", "<SegmentTemplate media='$Number$.m4s'/>"));
  EXPECT_TRUE(hasSegmentFiles("<SegmentList><SegmentURL media='1.m4s'/></SegmentList>"));
}

// In a locale whose letter case is not that of English: its lower-case I is dotless.
TEST(ReadManifest, MimeTypesAreComparedAlikeInEveryLocale) {
  const TurkishLocale locale;
  const auto manifest =
      readSets(set("<Representation mimeType='VIDEO/MP4'><BaseURL>v.m4v</BaseURL></Representation>"));
  EXPECT_EQ(manifest->video.baseUrl, "v.m4v");
}

struct RateText {
  const char* text;
  std::uint32_t numerator, denominator;
};

bool parses(const std::string& text) {
  tinyxml2::XMLDocument document;
  return parseManifestDocument(text, document);
}
std::string attributes(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += " a" + std::to_string(i) + "='>'";
  return text;
}

TEST(ManifestDocument, LimitsTheAttributesOfAnElement) {
  EXPECT_TRUE(parses("<MPD" + attributes(256) + "/>"));
  EXPECT_FALSE(parses("<MPD" + attributes(257) + "/>"));
  EXPECT_FALSE(parses("<MPD" + attributes(1000000) + "/>")) << "which the parser would compare pair by pair";
  EXPECT_FALSE(
      parses("<?xml version='1.0'?><!-- \" --><MPD><![CDATA[ \" ]]><a" + attributes(257) + "/></MPD>"));
}

TEST(ManifestDocument, CountsTheAttributesOfOneElementAndOfNothingElse) {
  EXPECT_TRUE(parses("<MPD" + attributes(200) + "><a" + attributes(200) + "/></MPD>"));
  EXPECT_TRUE(parses("<MPD><!--" + std::string(1000, '"') + "--></MPD>"));
  EXPECT_TRUE(parses("<MPD>" + std::string(1000, '\'') + "</MPD>"));
}

constexpr std::size_t kLargeManifest = 16u << 20;

// `content` repeated up to `bytes` in all.
std::string manifestOf(const std::string& content, std::size_t bytes = kLargeManifest) {
  const std::string start = "<MPD><Period>", end = "</Period></MPD>";
  std::string text = start;
  text.reserve(bytes);
  while (text.size() + content.size() + end.size() <= bytes) text += content;
  return text + end;
}

const char* const kOneSecondSegment =
    "\n      <SegmentURL mediaRange=\"123456789-124456789\" indexRange=\"1-2\"/>";

TEST(ManifestDocument, TakesLessThan250Megabytes) {
  const std::string segments = manifestOf(kOneSecondSegment);
  const CountingNew counting;
  EXPECT_TRUE(parses(segments));
  EXPECT_LT(counting.peakBytes(), 250'000'000u - segments.size());
}

TEST(ManifestDocument, OfTheLargestSizeIsTakenWithoutItsSegments) {
  std::string segments = manifestOf(kOneSecondSegment, kMaxManifestBytes);
  segments.append(kMaxManifestBytes - segments.size(), ' ');
  tinyxml2::XMLDocument document;
  SegmentRuns runs;
  const CountingNew counting;
  EXPECT_TRUE(parseManifestDocument(segments, document, runs));
  EXPECT_LT(counting.peakBytes(), 50'000'000u);
  segments += ' ';
  SegmentRuns none;
  EXPECT_FALSE(parseManifestDocument(segments, document, none));
}

TEST(ManifestDocument, IsRefusedUnparsedIfItsNodesWouldTakeMoreMemory) {
  for (const char* shortest : {"<a/>", "<a>b</a>", "<a b=''/>", "<!---->c", "<?d?>"}) {
    const std::string text = manifestOf(shortest);
    const CountingNew counting;
    EXPECT_FALSE(parses(text)) << shortest;
    EXPECT_LT(counting.peakBytes(), 1'000'000u) << shortest;
  }
}

TEST(ManifestDocument, MalformedXmlIsRefused) {
  for (const char* text :
       {"", " ", "<", "<MPD", "<MPD a", "<MPD a='", "<!--", "<?", "<![CDATA[", "<!", "<MPD>"}) {
    EXPECT_FALSE(parses(text)) << text;
  }
  std::string deep;
  for (int i = 0; i < 100000; ++i) deep += "<a>";
  EXPECT_FALSE(parses(deep));
  EXPECT_FALSE(parses(std::string(kMaxManifestBytes + 1, ' ')));
}

TEST(ParseFrameRate, TakesFractionsAndPlainNumbers) {
  for (const RateText& c :
       {RateText{"30000/1001", 30000, 1001}, RateText{"25", 25, 1}, RateText{"29.97", 2997, 100},
        RateText{"24/1", 24, 1}, RateText{"59.940", 2997, 50}, RateText{"119.88/2", 2997, 50},
        RateText{"50/2", 25, 1}}) {
    const FrameRate rate = parseFrameRate(c.text);
    EXPECT_EQ(rate.numerator, c.numerator) << c.text;
    EXPECT_EQ(rate.denominator, c.denominator) << c.text;
  }
}

TEST(ParseFrameRate, TakesAnyNumberOfDecimals) {
  for (const RateText& c :
       {RateText{"25.000000000000", 25, 1}, RateText{"24.999999999999996", 25, 1},
        RateText{"29.97002997002997", 30000, 1001}, RateText{"23.976023976023978", 24000, 1001},
        RateText{"59.94005994005994005994005994005994005994", 60000, 1001}, RateText{"1.0000000001", 1, 1},
        RateText{"4294967295.99999999999999999999", 4294967295, 1}, RateText{"0000000025.5", 51, 2},
        RateText{".5", 1, 2}}) {
    const FrameRate rate = parseFrameRate(c.text);
    EXPECT_EQ(rate.numerator, c.numerator) << c.text;
    EXPECT_EQ(rate.denominator, c.denominator) << c.text;
  }
}

TEST(ParseFrameRate, TakesWhiteSpaceAroundItsNumbers) {
  for (const char* text : {" 30000/1001", "30000/1001\n", "\t30000 / 1001\r\n"}) {
    const FrameRate rate = parseFrameRate(text);
    EXPECT_EQ(rate.numerator, 30000u) << text;
    EXPECT_EQ(rate.denominator, 1001u) << text;
  }
}

TEST(ParseFrameRate, InvalidRatesAreUnknown) {
  for (const char* text : {"", "x", "25fps", "-25", "25/0", "0/1", "0", "1/2/3", "1e3", "nan", "25,0", "/",
                           "25/", "99999999999999999999", "4294967296", "2 5", "25.0x", "."}) {
    EXPECT_FALSE(parseFrameRate(text).known()) << text;
  }
  EXPECT_FALSE(parseFrameRate(nullptr).known());
}

TEST(ParseFrameRate, DoesNotDependOnTheLocale) {
  const CommaLocale locale;
  EXPECT_EQ(parseFrameRate("29.97").numerator, 2997u);
  EXPECT_EQ(parseFrameRate("29.97").denominator, 100u);
  EXPECT_FALSE(parseFrameRate("29,97").known());
}

TEST(ManifestDocument, OfTheLargestSizeIsTakenWhole) {
  std::string text = "<MPD></MPD>";
  text.insert(5, kMaxManifestBytes - text.size(), ' ');
  EXPECT_TRUE(parses(text));
  text.insert(5, 1, ' ');
  EXPECT_FALSE(parses(text));
}

TEST(ManifestDocument, OfAFileThatIsTooLongIsNotRead) {
  const TempFolder folder;
  writeFile(folder.file("long.mpd"), {});
  std::filesystem::resize_file(folder.path() / "long.mpd", kMaxManifestBytes + 1);
  tinyxml2::XMLDocument document;
  SegmentRuns runs;
  const CountingNew counting;
  EXPECT_FALSE(loadManifestDocument(folder.file("long.mpd").c_str(), document, runs));
  EXPECT_LT(counting.peakBytes(), 1'000'000u);
}

}  // namespace

}  // namespace fmp4
