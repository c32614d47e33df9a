#include "tool/commands/verification_text.h"

namespace fmp4 {

std::string adviceFor(const Verification& result, const std::string& name) {
  if (result.problems.count() == 0) return "";
  if (result.beingWritten) return "it is being recorded; verify it when that has ended";
  switch (result.repair) {
    case Verification::Repair::Everything:
      return "run: fmp4 repair " + name;
    case Verification::Repair::Something:
      return "not all of this can be repaired; 'fmp4 repair' does what it can, or get an undamaged copy";
    case Verification::Repair::Nothing:
      return "none of this can be repaired; get an undamaged copy";
    case Verification::Repair::Refused:
      break;
  }
  return result.remedy;
}

std::vector<std::string> verificationLines(const Verification& result, const std::string& name) {
  std::vector<std::string> lines;
  for (const Problem& problem : result.problems.kept())
    lines.push_back(problem.file + ": " +
                    (problem.offset ? "byte " + std::to_string(*problem.offset) + ": " : "") + problem.text);
  const std::uint64_t count = result.problems.count(), kept = result.problems.kept().size();
  if (count > kept) lines.push_back("... and " + std::to_string(count - kept) + " more");
  for (const std::string& note : result.notes) lines.push_back("note: " + note);
  if (count == 0)
    lines.push_back(name + " is intact: " + std::to_string(result.frames) + " frames, " +
                    std::to_string(result.audioFrames) + " audio access units, " +
                    std::to_string(result.fragments) + " fragments, " + std::to_string(result.segments) +
                    " segments in " + std::to_string(result.files.size()) + " files");
  else
    lines.push_back(name + " is not intact: " + std::to_string(count) +
                    (count == 1 ? " problem; " : " problems; ") + adviceFor(result, name));
  return lines;
}

}  // namespace fmp4
