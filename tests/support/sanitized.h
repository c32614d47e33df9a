// Whether the tests run under the address sanitizer. There, code takes ten times as long, and what sanitizers
// find is in the code that a case runs, not in its numbers: long series are sampled. The build as shipped
// runs them all.
#pragma once

namespace fmp4 {

#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr bool kSanitized = true;
#else
inline constexpr bool kSanitized = false;
#endif
#else
inline constexpr bool kSanitized = false;
#endif

// `all`, or `some` of them under sanitizers: of repetitions, or as a step through a series.
template <class Count>
constexpr Count ofSanitized(Count all, Count some) {
  return kSanitized ? some : all;
}

}  // namespace fmp4
