#include "tool/viewer/media_answers.h"

namespace fmp4 {

DataAnswer MediaAnswers::answer(const DataRequest& request) const {
  return {404, "text/plain; charset=utf-8", "nothing is known of '" + request.subject + "'\n"};
}

}  // namespace fmp4
