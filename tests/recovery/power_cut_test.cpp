// The power fails at every call of a recording: what the disk then holds plays as far as it is listed, and
// can be repaired.
#include <set>

#include "tests/recovery/recovery.h"
#include "tests/support/log_capture.h"

namespace fmp4 {

namespace {

// What of the bytes and names that nobody waited for is on the disk.
enum class Arrived {
  Nothing,  // neither bytes nor names
  Sizes     // names and sizes of media; the bytes read as zeros
};

using Files = std::map<std::string, Bytes>;

// A disk under a recording, which keeps what was synchronised and forgets the rest when the power fails.
class CutDisk {
 public:
  explicit CutDisk(const TempFolder& folder) : folder_(folder) {}

  void take(const HostCall& call) {
    const std::string name = fileNameOf(call.path);
    if (call.kind == HostCallKind::Flush) lasting_[name] = readFile(call.path);
    if (call.kind == HostCallKind::FlushNew) lastingNew_ = bytesOfText(call.content);
    if (call.kind == HostCallKind::Replace) replaced_[name] = lastingNew_;
    if (call.kind == HostCallKind::FlushName) syncNames();
  }

  // The files on the disk after a power cut.
  Files after(Arrived arrived) const {
    Files files;
    if (arrived == Arrived::Sizes) {
      for (const auto& [name, now] : filesOf(folder_)) files[name] = lastingWithZeros(name, now.size());
      return files;
    }
    for (const std::string& name : names_) {
      if (const auto found = lasting_.find(name); found != lasting_.end()) files[name] = found->second;
      if (const auto found = lastingLists_.find(name); found != lastingLists_.end())
        files[name] = found->second;
    }
    return files;
  }

 private:
  static Bytes bytesOfText(const std::string& text) { return {text.begin(), text.end()}; }

  void syncNames() {
    for (const auto& [name, bytes] : filesOf(folder_)) names_.insert(name);
    lastingLists_ = replaced_;
  }

  // A list that was replaced had its bytes on the disk before its name. Nobody waits for playlists.
  Bytes lastingWithZeros(const std::string& name, std::size_t size) const {
    if (replaced_.contains(name)) return replaced_.at(name);
    if (name.ends_with(".m3u8")) return {};
    const auto found = lasting_.find(name);
    Bytes bytes = found != lasting_.end() ? found->second : Bytes();
    bytes.resize(size);
    return bytes;
  }

  const TempFolder& folder_;
  Files lasting_;                // media as they were at their last synchronisation
  Bytes lastingNew_;             // of the last file that is to replace another
  Files replaced_;               // lists by the last replacement
  Files lastingLists_;           // lists whose name was synchronised since
  std::set<std::string> names_;  // on the disk
};

class PowerCut : public testing::TestWithParam<std::tuple<Kind, Arrived>> {};

TEST_P(PowerCut, AtAnyCallKeepsWhatIsListedAndLeavesTheRestRepairable) {
  const auto& [kind, arrived] = GetParam();
  const LogCapture log;
  const TempFolder recorded;
  std::set<Files> met;
  CutDisk disk(recorded);
  setFaults({});
  const auto cutHere = [&, kind = kind, arrived = arrived](const HostCall& call) {
    disk.take(call);
    const Files files = disk.after(arrived);
    if (!files.contains(kind.media()) || !met.insert(files).second || HasFailure()) return;
    SCOPED_TRACE("cut " + std::to_string(met.size()));
    const TempFolder folder;
    fill(folder, files);
    expectListsIntact(folder);
    // Sound whose name did not arrive was hardly begun.
    const bool silent = kind.audioApart() && !files.contains("out.m4a");
    expectRepairable(folder, silent ? kVideoAlone : kind);
  };
  {
    // Repairing calls the host too.
    bool cutting = false;
    observeHostCalls([&](const HostCall& call) {
      if (cutting) return;
      cutting = true;
      cutHere(call);
      cutting = false;
    });
    MediaFile file = startKind(recorded, kind);
    EXPECT_TRUE(writeAll(*file, kind, 2 * kSegmentFrames + 7));
    EXPECT_EQ(closeFile(file), VL_OK);
    observeHostCalls({});
  }
  EXPECT_GE(met.size(), 3u);
}

std::string nameOfCut(const testing::TestParamInfo<std::tuple<Kind, Arrived>>& info) {
  const auto& [kind, arrived] = info.param;
  return std::string(kind.audioApart() ? "SeparateAudio" : "AllInOne") +
         (arrived == Arrived::Nothing ? "WithNothingElse" : "WithZeros");
}

INSTANTIATE_TEST_SUITE_P(Of, PowerCut,
                         testing::Combine(testing::Values(kAudioApart, kAllInOne),
                                          testing::Values(Arrived::Nothing, Arrived::Sizes)),
                         nameOfCut);

}  // namespace

}  // namespace fmp4
