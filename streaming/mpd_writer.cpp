#include "mpd_writer.h"

#include <cmath>

#include "number_text.h"
#include "vlutil.h"
#include "uri.h"

namespace {

std::string hexByte(unsigned value) {
  constexpr char kDigits[] = "0123456789abcdef";
  return {kDigits[value >> 4 & 15], kDigits[value & 15]};
}

// "mp4a.40." and the audio object type. Intended: it is taken from two bits of the object type byte.
std::string audioCodec(std::uint8_t objectType) {
  return std::string("mp4a.40.").append(hexByte((objectType & 3u) + 2u));
}

std::string range(std::uint64_t first, std::uint64_t last) {
  return std::to_string(first) + "-" + std::to_string(last);
}

template <class Value>
void set(tinyxml2::XMLElement* element, const char* name, const Value& value) {
  if constexpr (std::is_convertible_v<Value, std::string>) {
    element->SetAttribute(name, std::string(value).c_str());
  } else {
    element->SetAttribute(name, std::to_string(value).c_str());
  }
}

}  // namespace

std::string DurationText(std::uint64_t frames, const FrameRate& rate) {
  const double seconds = static_cast<double>(frames) / rate.value();
  const auto hours = static_cast<std::uint64_t>(seconds / 3600);
  const auto minutes = static_cast<std::uint64_t>(std::fmod(seconds, 3600) / 60);
  return "PT" + std::to_string(hours) + "H" + std::to_string(minutes) + "M" +
         fixedText(std::fmod(std::fmod(seconds, 3600), 60), 2) + "S";
}

MpdWriter::List MpdWriter::BeginVideo(const MpdVideo& video, bool separateAudio) {
  rate_ = video.rate;
  document_.InsertEndChild(document_.NewDeclaration());
  mpd_ = document_.NewElement("MPD");
  document_.InsertEndChild(mpd_);
  set(mpd_, "xmlns", "urn:mpeg:dash:schema:mpd:2011");
  set(mpd_, "minBufferTime", "PT1.500000S");
  set(mpd_, "type", "static");
  set(mpd_, "profiles", "urn:mpeg:dash:profile:isoff-on-demand:2011");
  set(mpd_, "mediaPresentationDuration", "PT0S");
  set(mpd_, "availabilityStartTime", video.startTime);
  set(mpd_, "publishTime", video.startTime);
  tinyxml2::XMLElement* const period = mpd_->InsertNewChildElement("Period");
  set(period, "start", DurationText(0, rate_));
  set(period, "id", 1);
  tinyxml2::XMLElement* const videoSet = period->InsertNewChildElement("AdaptationSet");
  if (separateAudio) audioSet_ = period->InsertNewChildElement("AdaptationSet");

  tinyxml2::XMLElement* const representation = videoSet->InsertNewChildElement("Representation");
  set(representation, "id", 1);
  set(representation, "mimeType", "video/mp4");
  std::string codecs("avc1.");
  codecs.append(hexByte(video.profile)).append("00").append(hexByte(video.level));
  if (video.sound) codecs.append(",").append(audioCodec(video.sound->objectType));
  set(representation, "codecs", codecs);
  set(representation, "width", video.width);
  set(representation, "height", video.height);
  set(representation, "frameRate",
      std::to_string(video.rate.numerator) + "/" + std::to_string(video.rate.denominator));
  // Intended: it follows from a buffer that has not been filled yet.
  set(representation, "bandwidth", 0);
  if (video.sound) set(representation, "audioSamplingRate", video.sound->sampleRate);
  return beginSegmentList(representation, video.segments);
}

MpdWriter::List MpdWriter::BeginAudio(const MpdAudio& audio) {
  tinyxml2::XMLElement* const representation = audioSet_->InsertNewChildElement("Representation");
  set(representation, "id", 2);
  set(representation, "mimeType", "audio/mp4");
  set(representation, "codecs", audioCodec(audio.objectType));
  set(representation, "audioSamplingRate", audio.segments.timescale);
  set(representation, "bandwidth", std::uint64_t{audio.byteRate} * 8);
  return beginSegmentList(representation, audio.segments);
}

MpdWriter::List MpdWriter::beginSegmentList(tinyxml2::XMLElement* representation,
                                            const MpdSegments& segments) {
  representation->InsertNewChildElement("BaseURL")->SetText(UriOfName(segments.mediaName).c_str());
  const List list = representation->InsertNewChildElement("SegmentList");
  set(list, "timescale", segments.timescale);
  set(list, "duration", segments.duration);
  set(list->InsertNewChildElement("Initialization"), "range", range(0, segments.initialisationEnd));
  return list;
}

void MpdWriter::AddSegment(List list, std::uint64_t start, std::uint64_t end, std::uint64_t indexEnd) {
  tinyxml2::XMLElement* const segment = list->InsertNewChildElement("SegmentURL");
  set(segment, "mediaRange", range(start, end - 1));
  // Intended: the index range names one byte more than the index has.
  set(segment, "indexRange", range(start, indexEnd));
}

void MpdWriter::SetDuration(std::uint64_t frames) {
  if (mpd_) set(mpd_, "mediaPresentationDuration", DurationText(frames, rate_));
}

std::string MpdWriter::Text() const {
  tinyxml2::XMLPrinter printer;
  document_.Print(&printer);
  return printer.CStr();
}

void MpdWriter::Save() const {
  if (!mpd_) return;
  const std::string text = Text();
  vlOSReplaceFile(path_.c_str(), text.data(), text.size());
}
