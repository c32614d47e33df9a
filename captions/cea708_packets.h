// The transport of CEA-708 (CTA-708-E, 5 and 6): constructs become caption channel packets, packets become
// service blocks.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>

#include "captions/cc_data.h"

namespace fmp4::captions {

inline constexpr unsigned kMaxService = 63;

class Cea708Packets {
 public:
  // Receives the bytes of a service block; services are 1 to 63.
  using Take = std::function<void(unsigned service, std::span<const std::uint8_t> block)>;

  // Adds a construct; those of CEA-608 are ignored. `lost` is called when a packet is missing before the one
  // that is complete now, then `take` for each of its blocks. Any bytes are safe.
  void add(const CcConstruct& construct, const Take& take, const std::function<void()>& lost);

 private:
  void complete(const Take& take, const std::function<void()>& lost);

  std::array<std::uint8_t, 128> packet_ = {};
  std::size_t size_ = 0;                  // bytes received
  std::size_t expected_ = 0;              // bytes of the packet; 0: none has begun
  std::optional<std::uint8_t> sequence_;  // number of the last packet
};

}  // namespace fmp4::captions
