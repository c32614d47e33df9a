// Decodes all caption services of CEA-708 (CTA-708-E).
#pragma once

#include <cstdint>
#include <functional>
#include <map>

#include "captions/cea708_packets.h"
#include "captions/cea708_service.h"

namespace fmp4::captions {

class Cea708Decoder {
 public:
  explicit Cea708Decoder(double framesPerSecond) : framesPerSecond_(framesPerSecond) {}

  // Adds a construct of frame `frame`; frames must not descend. When a packet was lost, all windows go: what
  // they would show is unknown.
  void add(std::int64_t frame, const CcConstruct& construct);
  // Ends a frame: calls `changed` for each service that may display something else now.
  void endFrame(std::int64_t frame,
                const std::function<void(unsigned number, const Cea708Service& service)>& changed);

 private:
  double framesPerSecond_;
  Cea708Packets packets_;
  std::map<unsigned, Cea708Service> services_;
};

}  // namespace fmp4::captions
