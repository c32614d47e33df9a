#include "tests/faults/failing_calls.h"

#include "tests/faults/call_plan.h"

namespace fmp4 {

namespace {

struct Armed {
  bool armed = false;
  CallKind kind = CallKind::Read;
  std::uint64_t left = 0;  // calls of the kind until the one that fails
  Failures failures = Failures::One;
  bool met = false;
};

Armed& plan() {
  static Armed only;
  return only;
}

}  // namespace

bool callFails(CallKind kind) {
  Armed& p = plan();
  if (!p.armed || p.kind != kind) return false;
  if (p.left > 0 && --p.left > 0) return false;
  if (p.met && p.failures == Failures::One) return false;
  p.met = true;
  return true;
}

FailingCall::FailingCall(CallKind kind, std::uint64_t n, Failures failures) {
  plan() = {true, kind, n, failures, false};
}
FailingCall::~FailingCall() {
  plan() = {};
}
bool FailingCall::met() const {
  return plan().met;
}

}  // namespace fmp4
