#include "tests/support/fault_host.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>

#include "os/path_name.h"
#include "tests/support/fault_layer.h"

namespace fmp4 {

namespace {

struct State {
  FaultPlan plan;
  std::uint64_t calls = 0;
  std::uint64_t steps = 0;
  bool happened = false;
  HostCallKind kind = HostCallKind::Write;
  DiskWaits waits;
  std::uint32_t mostBytes = 0;
  std::function<void(const HostCall&)> observer;
  std::map<VLHANDLE, std::string> paths;
};

State& state() {
  static State& only = *new State;
  return only;
}

}  // namespace

void setFaults(FaultPlan plan) {
  State& s = state();
  s.plan = plan;
  s.calls = s.steps = 0;
  s.waits = {};
  s.happened = false;
}
std::uint64_t hostCalls() {
  return state().calls;
}
std::uint64_t hostSteps() {
  return state().steps;
}
HostCallKind faultedKind() {
  return state().kind;
}
bool faultHappened() {
  return state().happened;
}
void limitHostWrites(std::uint32_t bytes) {
  state().mostBytes = bytes;
}
DiskWaits diskWaits() {
  return state().waits;
}
void observeHostCalls(std::function<void(const HostCall&)> observer) {
  state().observer = std::move(observer);
}

Verdict judgeCall(HostCallKind kind, std::uint64_t bytes) {
  State& s = state();
  const std::uint64_t before = s.steps;
  ++s.calls;
  s.steps += 1 + bytes;
  const FaultPlan& plan = s.plan;
  if (plan.fault == Fault::Kill && s.steps >= plan.at) return {true, plan.at - before - 1, true};
  const bool writes =
      kind == HostCallKind::Write || kind == HostCallKind::Replace || kind == HostCallKind::FlushStream;
  const bool now = plan.fault != Fault::None && plan.fault != Fault::Kill && s.calls == plan.at;
  const bool still = plan.fault == Fault::DiskFull && s.calls > plan.at && writes;
  if (!now && !still) return {};
  if (!s.happened) s.kind = kind;
  s.happened = true;
  return {true, now && plan.fault != Fault::Fail ? bytes / 2 : 0, false};
}

void countWait(HostCallKind kind) {
  DiskWaits& waits = state().waits;
  if (kind == HostCallKind::Flush) ++waits.data;
  if (kind == HostCallKind::FlushNew) ++waits.replacements;
  if (kind == HostCallKind::FlushName) ++waits.names;
}

void reportCall(HostCallKind kind, const std::string& path, std::uint64_t offset, std::uint64_t bytes,
                std::string content) {
  if (state().observer) state().observer({kind, path, offset, bytes, std::move(content)});
}

std::string contentOf(const std::string& path) {
  std::ifstream file(vlPath(path), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

VLHANDLE createWatched(decltype(vlOSCreateFile)* create, const char* path, std::uint32_t access,
                       std::uint32_t share, void* security, std::uint32_t disposition,
                       std::uint32_t attributes, VLHANDLE templateFile) {
  const VLHANDLE handle = create(path, access, share, security, disposition, attributes, templateFile);
  if (handle != VL_INVALID_HANDLE) state().paths[handle] = path;
  return handle;
}

std::int32_t writeJudged(decltype(vlOSWriteFile)* write, VLHANDLE file, const void* buffer,
                         std::uint32_t count, std::uint32_t* done) {
  const Verdict verdict = judgeCall(HostCallKind::Write, count);
  if (!verdict.fails) {
    const auto offset = static_cast<std::uint64_t>(vlOSTell(file));
    if (state().mostBytes != 0) count = std::min(count, state().mostBytes);
    const std::int32_t result = write(file, buffer, count, done);
    if (result) reportCall(HostCallKind::Write, state().paths[file], offset, count);
    return result;
  }
  const auto some = static_cast<std::uint32_t>(std::min<std::uint64_t>(verdict.bytes, count));
  if (some != 0) write(file, buffer, some, nullptr);
  if (verdict.kills) dieNow();
  if (done) *done = some;
  return 0;
}

}  // namespace fmp4
