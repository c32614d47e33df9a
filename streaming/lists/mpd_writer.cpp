#include "streaming/lists/mpd_writer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "base/number_text.h"
#include "streaming/lists/codec_text.h"
#include "streaming/lists/uri.h"

namespace fmp4 {

namespace {

// Replaces markup characters by character references. In attribute values these include quotation marks.
std::string escaped(std::string_view text, bool inAttribute) {
  std::string result;
  for (const char c : text) {
    if (c == '&')
      result += "&amp;";
    else if (c == '<')
      result += "&lt;";
    else if (c == '>')
      result += "&gt;";
    else if (c == '"' && inAttribute)
      result += "&quot;";
    else if (c == '\'' && inAttribute)
      result += "&apos;";
    else
      result += c;
  }
  return result;
}

// An XML text built from elements, one per line, and their attributes.
class Xml {
 public:
  // Starts a line, indented for an element at `depth`.
  Xml& line(unsigned depth, std::string_view begin) {
    text.append(depth * std::size_t{4}, ' ').append(begin);
    return *this;
  }
  Xml& attribute(std::string_view name, const std::string& value) {
    return add(" ").add(name).add("=\"").add(escaped(value, true)).add("\"");
  }
  Xml& attribute(std::string_view name, std::uint64_t value) {
    return attribute(name, std::to_string(value));
  }
  Xml& content(std::string_view value) { return add(escaped(value, false)); }
  Xml& add(std::string_view more) {
    text.append(more);
    return *this;
  }

  std::string text;
};

// From the end of the representation's attributes to the position of its first segment.
void beginSegmentList(Xml& xml, const MpdSegments& segments) {
  xml.add(">\n");
  xml.line(4, "<BaseURL>").content(uriOfName(segments.mediaName)).add("</BaseURL>\n");
  xml.line(4, "<SegmentList").attribute("timescale", segments.timescale);
  xml.attribute("duration", segments.duration).add(">\n");
  xml.line(5, "<Initialization").attribute("range", "0-" + std::to_string(segments.initialisationEnd));
  xml.add("/>\n");
}

// From the last segment to the end of the media file's adaptation set.
void endSegmentList(Xml& xml) {
  xml.line(4, "</SegmentList>\n").line(3, "</Representation>\n").line(2, "</AdaptationSet>\n");
}

constexpr std::string_view kPeriodEnd = "    </Period>\n</MPD>\n";

// Maximum length of a segment's line: four numbers of 20 digits.
constexpr std::size_t kMaxSegmentLine = 160;

// Appends to a text with sufficient capacity.
void appendNumber(std::string& text, std::uint64_t value) {
  std::array<char, 20> digits;
  text.append(digits.data(), std::to_chars(digits.begin(), digits.end(), value).ptr);
}

}  // namespace

std::string durationText(std::uint64_t frames, const FrameRate& rate) {
  const double seconds = static_cast<double>(frames) / rate.value();
  const auto hours = static_cast<std::uint64_t>(seconds / 3600);
  const auto minutes = static_cast<std::uint64_t>(std::fmod(seconds, 3600) / 60);
  return "PT" + std::to_string(hours) + "H" + std::to_string(minutes) + "M" +
         fixedText(std::fmod(std::fmod(seconds, 3600), 60), 2) + "S";
}

MpdWriter::List MpdWriter::beginVideo(const MpdVideo& video, bool separateAudio) {
  std::array<std::string, Count> text;
  Xml start;
  start.line(0, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
  start.line(0, "<MPD").attribute("xmlns", "urn:mpeg:dash:schema:mpd:2011");
  start.attribute("minBufferTime", "PT1.500000S").attribute("type", "static");
  start.attribute("profiles", "urn:mpeg:dash:profile:isoff-on-demand:2011");
  start.add(" mediaPresentationDuration=\"");
  text[Start] = std::move(start.text);
  text[Duration] = "PT0S";

  Xml xml;
  xml.add("\"").attribute("availabilityStartTime", video.startTime);
  xml.attribute("publishTime", video.startTime).add(">\n");
  xml.line(1, "<Period").attribute("start", durationText(0, video.rate)).attribute("id", 1).add(">\n");
  xml.line(2, "<AdaptationSet>\n");
  xml.line(3, "<Representation").attribute("id", 1).attribute("mimeType", "video/mp4");
  const std::array<std::uint8_t, 3> avc = {video.profile, 0, video.level};
  std::string codecs = avcCodecText(avc);
  if (video.audio) codecs.append(",").append(manifestAudioCodecText(video.audio->objectType));
  xml.attribute("codecs", codecs).attribute("width", video.width).attribute("height", video.height);
  xml.attribute("frameRate",
                std::to_string(video.rate.numerator) + "/" + std::to_string(video.rate.denominator));
  // Intended (quirk 48): it would be derived from a buffer that is not filled yet.
  xml.attribute("bandwidth", 0);
  if (video.audio) xml.attribute("audioSamplingRate", video.audio->sampleRate);
  beginSegmentList(xml, video.segments);
  text[Video] = std::move(xml.text);

  Xml end;
  endSegmentList(end);
  if (separateAudio) end.line(2, "<AdaptationSet/>\n");
  text[Audio] = std::move(end.text);
  text[End] = kPeriodEnd;

  text_ = std::move(text);
  rate_ = video.rate;
  hasVideo_ = true;
  return List::Video;
}

MpdWriter::List MpdWriter::beginAudio(const MpdAudio& audio) {
  if (!hasVideo_) return List::Audio;
  Xml xml;
  endSegmentList(xml);
  xml.line(2, "<AdaptationSet>\n");
  xml.line(3, "<Representation").attribute("id", 2).attribute("mimeType", "audio/mp4");
  xml.attribute("codecs", manifestAudioCodecText(audio.objectType));
  xml.attribute("audioSamplingRate", audio.segments.timescale);
  xml.attribute("bandwidth", std::uint64_t{audio.byteRate} * 8);
  beginSegmentList(xml, audio.segments);
  Xml end;
  endSegmentList(end);
  end.add(kPeriodEnd);

  text_[Audio] = std::move(xml.text);
  text_[End] = std::move(end.text);
  hasAudio_ = true;
  return List::Audio;
}

// Null if the list has not been started.
std::string* MpdWriter::segmentsOf(List list) {
  if (list == List::Video) return hasVideo_ ? &text_[VideoSegments] : nullptr;
  return hasAudio_ ? &text_[AudioSegments] : nullptr;
}

void MpdWriter::reserveSegment(List list) {
  std::string* const segments = segmentsOf(list);
  if (!segments || segments->capacity() - segments->size() >= kMaxSegmentLine) return;
  segments->reserve(segments->size() * 2 + kMaxSegmentLine);
}

void MpdWriter::AddSegment(List list, std::uint64_t start, std::uint64_t end, std::uint64_t indexEnd) {
  std::string* const segments = segmentsOf(list);
  if (!segments) return;
  reserveSegment(list);
  segments->append("                    <SegmentURL mediaRange=\"");
  appendNumber(*segments, start);
  segments->append("-");
  appendNumber(*segments, end - 1);
  segments->append("\" indexRange=\"");
  appendNumber(*segments, start);
  segments->append("-");
  // Intended (quirk 49): the index range includes one byte after the index.
  appendNumber(*segments, indexEnd);
  segments->append("\"/>\n");
}

void MpdWriter::setDuration(std::uint64_t frames) {
  if (hasVideo_) text_[Duration] = durationText(frames, rate_);
}

MpdWriter::Pieces MpdWriter::pieces() const {
  Pieces pieces;
  std::copy(text_.begin(), text_.end(), pieces.begin());
  return pieces;
}

std::string MpdWriter::text() const {
  std::string text;
  for (const std::string_view piece : pieces()) text.append(piece);
  return text;
}

bool MpdWriter::save(os::Durability durability) const {
  return hasVideo_ && !os::replaceFile(path_, pieces(), durability);
}

}  // namespace fmp4
