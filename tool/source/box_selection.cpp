#include "tool/source/box_selection.h"

#include "base/text.h"

namespace fmp4 {

bool BoxSelection::run() {
  const BoxStep& top = path_.front();
  bool more = true;
  const auto visit = [&](Mp4Stream& stream, const Mp4Box& header) {
    if (header.type != top.type) return;
    last_ = header.position;
    if (top.index == BoxStep::kAll || top.index == met_) take(stream);
    more = top.index != met_;
    ++met_;
  };
  while (more && file_.passNext(visit).ok()) {
  }
  if (top.index == BoxStep::kLast && met_ > 0 && file_.stream().seek(last_)) take(file_.stream());
  return found_;
}

// Reads the box at the stream's position with all inside it.
void BoxSelection::take(Mp4Stream& stream) {
  Mp4BoxPtr box;
  if (Mp4ReadBox(stream, file_.root(), box).ok()) descend(*box, std::span(path_).subspan(1));
}

void BoxSelection::descend(const Mp4Box& box, std::span<const BoxStep> path) {
  if (path.empty()) {
    found_ = true;
    return each_(box);
  }
  const BoxStep& step = path.front();
  const Mp4Box* last = nullptr;
  std::uint64_t rank = 0;
  for (const Mp4Box* child = box.first; child; child = child->next) {
    if (child->type != step.type) continue;
    last = child;
    if (step.index == BoxStep::kAll || step.index == rank) descend(*child, path.subspan(1));
    ++rank;
  }
  if (step.index == BoxStep::kLast && last) descend(*last, path.subspan(1));
}

std::string BoxSelection::whyNone() const {
  const BoxStep& top = path_.front();
  const std::string type = fourCcText(top.type);
  if (met_ == 0) return "it has no box '" + type + "' at its top level";
  if (top.index >= BoxStep::kLast || top.index < met_) return {};
  return "it has " + std::to_string(met_) + (met_ == 1 ? " box '" : " boxes '") + type +
         "' at its top level, counted from 0";
}

}  // namespace fmp4
