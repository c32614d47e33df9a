// The kernels, written once in terms of "lanes": a type that defines how many values are processed at a time
// and how. Included in one namespace per instruction set, after WideLanes (the full vector width) and
// FourLanes have been defined there, and therefore without an include guard. VL_LANES_ATTR marks lambdas with
// the instruction set where the compiler needs it; VL_LANES_INLINE marks functions that must be inlined into
// their callers.

// `p` need not be aligned.
inline void StoreSample(Ipp16s sample, Ipp16s* p) {
  std::memcpy(p, &sample, sizeof sample);
}

// One value at a time: for the remainders of vector loops, and for everything in plain C++.
struct OneLane {
  using V = float;
  static std::size_t Count() { return 1; }
  static V Set(float value) { return value; }
  static V Load(const float* p) { return *p; }
  static void Store(V v, float* p) { *p = v; }
  static V Add(V a, V b) { return a + b; }
  static V Sub(V a, V b) { return a - b; }
  static V Mul(V a, V b) { return a * b; }
  static V MulAdd(V a, V b, V c) { return a * b + c; }     // a b + c
  static V NegMulAdd(V a, V b, V c) { return c - a * b; }  // c - a b
  static V Neg(V a) { return -a; }
  static V Div(V a, V b) { return a / b; }
  static V Abs(V a) { return std::fabs(a); }
  // x where a < b, else y
  static V WhereLess(V a, V b, V x, V y) { return a < b ? x : y; }
  static V Reverse(V a) { return a; }
  // a0 b0 a1 b1 ... in memory
  static void LoadPairs(const float* p, V& a, V& b) {
    a = p[0];
    b = p[1];
  }
  static void StorePairs(V a, V b, float* p) {
    p[0] = a;
    p[1] = b;
  }
  // The same to two vectors.
  static void Interleave(V a, V b, V& lower, V& upper) {
    lower = a;
    upper = b;
  }
  static void StoreQuads(V a, V b, V c, V d, float* p) {
    p[0] = a;
    p[1] = b;
    p[2] = c;
    p[3] = d;
  }
  // Quads a b c d that are `pitch` values apart, one a lane.
  static void GatherQuads(const float* p, std::size_t, V& a, V& b, V& c, V& d) {
    a = p[0];
    b = p[1];
    c = p[2];
    d = p[3];
  }
  static void ScatterQuads(V a, V b, V c, V d, float* p, std::size_t) { StoreQuads(a, b, c, d, p); }
  // 2^-exponent
  static V PowerOfHalf(const Ipp8u* exponent) { return std::bit_cast<float>((127u - *exponent) << 23); }
  // a where the byte is 0, else b
  static V WhereZero(const Ipp8u* p, V a, V b) { return *p == 0 ? a : b; }
  // The generator's state, factor * state + term, as a signed number.
  static V Draw(Ipp32u state, const Ipp32u* factor, const Ipp32u* term) {
    return static_cast<float>(static_cast<Ipp32s>(*factor * state + *term));
  }
  // NaN becomes 0.
  static V Clamp(V a, float low, float high) { return a == a ? std::clamp(a, low, high) : 0; }
  // Rounds to nearest, ties to even, and saturates.
  static Ipp16s Round(V a) { return static_cast<Ipp16s>(std::lrint(Clamp(a, -32768.0f, 32767.0f))); }
  static void StoreRounded(V a, Ipp16s* p) { StoreSample(Round(a), p); }
  static void StoreRoundedPairs(V a, V b, Ipp16s* p) {
    StoreSample(Round(a), p);
    StoreSample(Round(b), p + 1);
  }
};

// Calls body(lanes, i) for all i in [begin, end), in steps of the widest lanes that fit.
template <class Body>
inline void ForLanes(std::size_t begin, std::size_t end, Body body) {
  std::size_t i = begin;
  for (; i + WideLanes::Count() <= end; i += WideLanes::Count()) body(WideLanes(), i);
  for (; i < end; ++i) body(OneLane(), i);
}

// The same with four lanes between the two, for a few tens of values.
template <class Body>
inline void ForFewLanes(std::size_t end, Body body) {
  std::size_t i = 0;
  for (; i + WideLanes::Count() <= end; i += WideLanes::Count()) body(WideLanes(), i);
  for (; i + FourLanes::Count() <= end; i += FourLanes::Count()) body(FourLanes(), i);
  for (; i < end; ++i) body(OneLane(), i);
}

// One complex value per lane.
template <class L>
struct Complex {
  typename L::V re, im;
};

template <class L>
inline Complex<L> LoadComplex(const float* re, const float* im, std::size_t i) {
  return {L::Load(re + i), L::Load(im + i)};
}

template <class L>
inline Complex<L> operator+(Complex<L> a, Complex<L> b) {
  return {L::Add(a.re, b.re), L::Add(a.im, b.im)};
}

template <class L>
inline Complex<L> operator-(Complex<L> a, Complex<L> b) {
  return {L::Sub(a.re, b.re), L::Sub(a.im, b.im)};
}

template <class L>
inline Complex<L> operator*(Complex<L> a, Complex<L> b) {
  return {L::NegMulAdd(a.im, b.im, L::Mul(a.re, b.re)), L::MulAdd(a.re, b.im, L::Mul(a.im, b.re))};
}

// a + factor * b
template <class L>
inline Complex<L> AddScaled(Complex<L> a, float factor, Complex<L> b) {
  const auto f = L::Set(factor);
  return {L::MulAdd(f, b.re, a.re), L::MulAdd(f, b.im, a.im)};
}

// -i a
template <class L>
inline Complex<L> TimesMinusI(Complex<L> a) {
  return {a.im, L::Neg(a.re)};
}

// Forward transforms (negative exponent) of `radix` points, from x[j] to y[k].
template <class L>
inline void Dft2(const Complex<L>* x, Complex<L>* y) {
  y[0] = x[0] + x[1];
  y[1] = x[0] - x[1];
}

template <class L>
inline void Dft3(const Complex<L>* x, Complex<L>* y) {
  constexpr float kSine = 0.86602540378443865f;  // sin(2 pi / 3)
  const Complex<L> sum = x[1] + x[2];
  const Complex<L> turned = TimesMinusI(x[1] - x[2]);
  const Complex<L> middle = AddScaled(x[0], -0.5f, sum);
  y[0] = x[0] + sum;
  y[1] = AddScaled(middle, kSine, turned);
  y[2] = AddScaled(middle, -kSine, turned);
}

template <class L>
inline void Dft4(const Complex<L>* x, Complex<L>* y) {
  const Complex<L> evenSum = x[0] + x[2];
  const Complex<L> evenDifference = x[0] - x[2];
  const Complex<L> oddSum = x[1] + x[3];
  const Complex<L> oddTurned = TimesMinusI(x[1] - x[3]);
  y[0] = evenSum + oddSum;
  y[1] = evenDifference + oddTurned;
  y[2] = evenSum - oddSum;
  y[3] = evenDifference - oddTurned;
}

template <class L>
inline void Dft5(const Complex<L>* x, Complex<L>* y) {
  constexpr float kCosine1 = 0.30901699437494742f;   // cos(2 pi / 5)
  constexpr float kCosine2 = -0.80901699437494742f;  // cos(4 pi / 5)
  constexpr float kSine1 = 0.95105651629515357f;     // sin(2 pi / 5)
  constexpr float kSine2 = 0.58778525229247313f;     // sin(4 pi / 5)
  const Complex<L> sum1 = x[1] + x[4];
  const Complex<L> sum2 = x[2] + x[3];
  const Complex<L> turned1 = TimesMinusI(x[1] - x[4]);
  const Complex<L> turned2 = TimesMinusI(x[2] - x[3]);
  const Complex<L> even1 = AddScaled(AddScaled(x[0], kCosine1, sum1), kCosine2, sum2);
  const Complex<L> even2 = AddScaled(AddScaled(x[0], kCosine2, sum1), kCosine1, sum2);
  const Complex<L> zero = {L::Set(0), L::Set(0)};
  const Complex<L> odd1 = AddScaled(AddScaled(zero, kSine1, turned1), kSine2, turned2);
  const Complex<L> odd2 = AddScaled(AddScaled(zero, kSine2, turned1), -kSine1, turned2);
  y[0] = x[0] + sum1 + sum2;
  y[1] = even1 + odd1;
  y[2] = even2 + odd2;
  y[3] = even2 - odd2;
  y[4] = even1 - odd1;
}

template <int kRadix, class L>
inline void Dft(const Complex<L>* x, Complex<L>* y) {
  if constexpr (kRadix == 2) Dft2<L>(x, y);
  if constexpr (kRadix == 3) Dft3<L>(x, y);
  if constexpr (kRadix == 4) Dft4<L>(x, y);
  if constexpr (kRadix == 5) Dft5<L>(x, y);
}

// A pass whose lanes cover the points that share a twiddle factor; the span is a multiple of the lane count.
template <int kRadix, class L>
VL_LANES_INLINE void PassAcross(const FftPass& pass, const float* twiddles, const float* re, const float* im,
                                float* outRe, float* outIm) {
  const auto span = static_cast<std::size_t>(pass.span);
  const auto groups = static_cast<std::size_t>(pass.groups);
  for (std::size_t p = 0; p < groups; ++p) {
    Complex<L> w[kRadix];
    for (std::size_t k = 1; k < kRadix; ++k) {
      w[k] = {L::Set(twiddles[2 * (k - 1) * groups + p]), L::Set(twiddles[(2 * k - 1) * groups + p])};
    }
    for (std::size_t q = 0; q < span; q += L::Count()) {
      Complex<L> x[kRadix], y[kRadix];
      for (std::size_t j = 0; j < kRadix; ++j) x[j] = LoadComplex<L>(re, im, (j * groups + p) * span + q);
      Dft<kRadix, L>(x, y);
      for (std::size_t k = 0; k < kRadix; ++k) {
        if (k != 0) y[k] = y[k] * w[k];
        L::Store(y[k].re, outRe + (p * kRadix + k) * span + q);
        L::Store(y[k].im, outIm + (p * kRadix + k) * span + q);
      }
    }
  }
}

template <int kRadix>
VL_LANES_INLINE void Pass(const FftPass& pass, const float* twiddles, const float* re, const float* im,
                          float* outRe, float* outIm) {
  // The first pass has radix 4: every later span is a multiple of four.
  if (static_cast<std::size_t>(pass.span) % WideLanes::Count() == 0) {
    PassAcross<kRadix, WideLanes>(pass, twiddles, re, im, outRe, outIm);
  } else {
    PassAcross<kRadix, FourLanes>(pass, twiddles, re, im, outRe, outIm);
  }
}

// The first pass, of span 1 and radix 4: the lanes cover the groups.
inline void FirstPass(const FftPass& pass, const float* twiddles, const float* re, const float* im,
                      float* outRe, float* outIm) {
  const auto groups = static_cast<std::size_t>(pass.groups);
  ForLanes(0, groups, [=](auto lanes, std::size_t p) VL_LANES_ATTR {
    using L = decltype(lanes);
    Complex<L> x[4], y[4];
    for (std::size_t j = 0; j < 4; ++j) x[j] = LoadComplex<L>(re, im, j * groups + p);
    Dft4<L>(x, y);
    for (std::size_t k = 1; k < 4; ++k) {
      y[k] = y[k] * LoadComplex<L>(twiddles + 2 * (k - 1) * groups, twiddles + (2 * k - 1) * groups, p);
    }
    L::StoreQuads(y[0].re, y[1].re, y[2].re, y[3].re, outRe + 4 * p);
    L::StoreQuads(y[0].im, y[1].im, y[2].im, y[3].im, outIm + 4 * p);
  });
}

// The first two passes, both of radix 4, in one sweep over points that input(lanes, i) gives. The lanes cover
// the groups of the second pass, whose outputs are 16 values apart; they are a multiple of the lane count.
template <class Input>
inline void FirstTwoPasses(const MdctPlan& plan, Input input, float* outRe, float* outIm) {
  const auto groups = static_cast<std::size_t>(plan.passes[1].groups);
  const float* first = plan.Values() + plan.passes[0].twiddleOffset;
  const float* second = plan.Values() + plan.passes[1].twiddleOffset;
  using L = WideLanes;
  for (std::size_t p = 0; p < groups; p += L::Count()) {
    Complex<L> x[4], y[4], middle[4][4];
    for (std::size_t m = 0; m < 4; ++m) {
      for (std::size_t j = 0; j < 4; ++j) x[j] = input(L(), (4 * j + m) * groups + p);
      Dft4<L>(x, y);
      middle[0][m] = y[0];
      for (std::size_t k = 1; k < 4; ++k) {
        const float* re = first + 8 * (k - 1) * groups;
        middle[k][m] = y[k] * LoadComplex<L>(re, re + 4 * groups, m * groups + p);
      }
    }
    for (std::size_t q = 0; q < 4; ++q) {
      Dft4<L>(middle[q], y);
      middle[q][0] = y[0];
      for (std::size_t k = 1; k < 4; ++k) {
        const float* re = second + 2 * (k - 1) * groups;
        middle[q][k] = y[k] * LoadComplex<L>(re, re + groups, p);
      }
    }
    for (std::size_t k = 0; k < 4; ++k) {
      L::ScatterQuads(middle[0][k].re, middle[1][k].re, middle[2][k].re, middle[3][k].re,
                      outRe + 16 * p + 4 * k, 16);
      L::ScatterQuads(middle[0][k].im, middle[1][k].im, middle[2][k].im, middle[3][k].im,
                      outIm + 16 * p + 4 * k, 16);
    }
  }
}

// The DCT-IV by a complex transform of half its size between two rotations: from `source` to a form y with
// y[2i] = work[i] and y[2i + 1] = -work[2n - 1 - i], where n is the plan's points. `work` and `buffer`, 2n
// values each, alternate as the passes' buffers so that the last pass ends in `work`; `source` is distinct
// from both.
inline void DctFour(const MdctPlan& plan, const float* source, float* buffer, float* work) {
  const auto n = static_cast<std::size_t>(plan.points);
  const std::size_t coefficients = 2 * n;
  const float* preCos = plan.Values();
  const float* preSin = preCos + n;
  const float* postCos = preSin + n;
  const float* postSin = postCos + n;
  const auto rotated = [=](auto lanes, std::size_t k) VL_LANES_ATTR {
    using L = decltype(lanes);
    typename L::V even, odd, unused;
    L::LoadPairs(source + 2 * k, even, unused);
    L::LoadPairs(source + coefficients - 2 * (k + L::Count()), unused, odd);
    odd = L::Reverse(odd);
    const auto c = L::Load(preCos + k), s = L::Load(preSin + k);
    return Complex<L>{L::MulAdd(odd, s, L::Mul(even, c)), L::NegMulAdd(even, s, L::Mul(odd, c))};
  };

  float* in = plan.passCount % 2 == 0 ? work : buffer;
  float* out = plan.passCount % 2 == 0 ? buffer : work;
  int next = 1;
  if (plan.passCount > 1 && plan.passes[1].radix == 4 &&
      static_cast<std::size_t>(plan.passes[1].groups) % WideLanes::Count() == 0) {
    FirstTwoPasses(plan, rotated, in, in + n);
    next = 2;
  } else {
    ForLanes(0, n, [=](auto lanes, std::size_t k) VL_LANES_ATTR {
      using L = decltype(lanes);
      const Complex<L> x = rotated(lanes, k);
      L::Store(x.re, in + k);
      L::Store(x.im, in + n + k);
    });
    FirstPass(plan.passes[0], plan.Values() + plan.passes[0].twiddleOffset, in, in + n, out, out + n);
    std::swap(in, out);
  }

  for (int i = next; i < plan.passCount; ++i) {
    const FftPass& pass = plan.passes[i];
    const float* twiddles = plan.Values() + pass.twiddleOffset;
    if (pass.radix == 4) {
      Pass<4>(pass, twiddles, in, in + n, out, out + n);
    } else if (pass.radix == 2) {
      Pass<2>(pass, twiddles, in, in + n, out, out + n);
    } else if (pass.radix == 3) {
      Pass<3>(pass, twiddles, in, in + n, out, out + n);
    } else {
      Pass<5>(pass, twiddles, in, in + n, out, out + n);
    }
    std::swap(in, out);
  }

  float* re = work;
  float* im = work + n;
  ForLanes(0, n, [=](auto lanes, std::size_t k) VL_LANES_ATTR {
    using L = decltype(lanes);
    const auto a = L::Load(re + k), b = L::Load(im + k);
    const auto c = L::Load(postCos + k), s = L::Load(postSin + k);
    L::Store(L::MulAdd(b, s, L::Mul(a, c)), re + k);
    L::Store(L::NegMulAdd(a, s, L::Mul(b, c)), im + k);
  });
}

// The inverse MDCT: an unfolded DCT-IV.
inline void MdctInverse(const MdctPlan& plan, const float* source, float* destination, float* work) {
  DctFour(plan, source, destination, work);
  const auto n = static_cast<std::size_t>(plan.points);
  const float* re = work;
  const float* im = work + n;
  // The upper half of y, then all of it reversed and negated, then the lower half negated.
  ForLanes(n / 2, n, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    const auto mirrored = L::Reverse(L::Load(im + n - i - L::Count()));
    L::StorePairs(L::Load(re + i), L::Neg(mirrored), destination + 2 * i - n);
  });
  ForLanes(0, n, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    const auto mirrored = L::Reverse(L::Load(re + n - i - L::Count()));
    L::StorePairs(L::Load(im + i), L::Neg(mirrored), destination + n + 2 * i);
  });
  ForLanes(0, n / 2, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    const auto mirrored = L::Reverse(L::Load(im + n - i - L::Count()));
    L::StorePairs(L::Neg(L::Load(re + i)), mirrored, destination + 3 * n + 2 * i);
  });
}

// The inverse MDCT whose first half is overlap-added as it is unfolded; the second half becomes the new tail.
inline void MdctOverlap(const MdctPlan& plan, const float* source, const float* rise, float* tail,
                        float* destination, float* work) {
  const auto n = static_cast<std::size_t>(plan.points);
  DctFour(plan, source, work + 2 * n, work);
  const float* re = work;
  const float* im = work + n;
  const auto overlap = [=](auto lanes, auto head, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    const auto fall = L::Reverse(L::Load(rise + 2 * n - i - L::Count()));
    const auto falling = L::Mul(L::Load(tail + i), fall);
    L::Store(L::MulAdd(head, L::Load(rise + i), falling), destination + i);
  };
  const auto overlapPairs = [=](auto lanes, auto a, auto b, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    typename L::V lower, upper;
    L::Interleave(a, b, lower, upper);
    overlap(lanes, lower, i);
    overlap(lanes, upper, i + L::Count());
  };
  ForLanes(n / 2, n, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    const auto mirrored = L::Reverse(L::Load(im + n - i - L::Count()));
    overlapPairs(lanes, L::Load(re + i), L::Neg(mirrored), 2 * i - n);
  });
  ForLanes(0, n / 2, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    const auto mirrored = L::Reverse(L::Load(re + n - i - L::Count()));
    overlapPairs(lanes, L::Load(im + i), L::Neg(mirrored), n + 2 * i);
  });
  ForLanes(n / 2, n, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    const auto mirrored = L::Reverse(L::Load(re + n - i - L::Count()));
    L::StorePairs(L::Load(im + i), L::Neg(mirrored), tail + 2 * i - n);
  });
  ForLanes(0, n / 2, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    const auto mirrored = L::Reverse(L::Load(im + n - i - L::Count()));
    L::StorePairs(L::Neg(L::Load(re + i)), mirrored, tail + n + 2 * i);
  });
}

// The forward MDCT: the window's quarters a, b, c, d are folded to -c' - d and a - b', where ' denotes time
// reversal, then transformed by a DCT-IV.
inline void MdctForward(const MdctPlan& plan, const float* source, float* destination, float* work) {
  const auto n = static_cast<std::size_t>(plan.points);
  float* folded = work + 2 * n;
  ForLanes(0, n, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    const auto backwards = [=](std::size_t end)
                               VL_LANES_ATTR { return L::Reverse(L::Load(source + end - i - L::Count())); };
    L::Store(L::Neg(L::Add(backwards(3 * n), L::Load(source + 3 * n + i))), folded + i);
    L::Store(L::Sub(L::Load(source + i), backwards(2 * n)), folded + n + i);
  });
  DctFour(plan, folded, destination, work);
  ForLanes(0, n, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    const auto mirrored = L::Reverse(L::Load(work + 2 * n - i - L::Count()));
    L::StorePairs(L::Load(work + i), L::Neg(mirrored), destination + 2 * i);
  });
}

inline void OverlapAdd(const float* tail, const float* head, const float* rise, float* destination,
                       std::size_t length) {
  ForLanes(0, length, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    const auto fall = L::Reverse(L::Load(rise + length - i - L::Count()));
    const auto falling = L::Mul(L::Load(tail + i), fall);
    L::Store(L::MulAdd(L::Load(head + i), L::Load(rise + i), falling), destination + i);
  });
}

inline void MulC(float* values, float factor, std::size_t length) {
  ForLanes(0, length, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    L::Store(L::Mul(L::Load(values + i), L::Set(factor)), values + i);
  });
}

inline void Mul(const float* a, const float* b, float* destination, std::size_t length) {
  ForLanes(0, length, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    L::Store(L::Mul(L::Load(a + i), L::Load(b + i)), destination + i);
  });
}

inline void AddProduct(const float* a, const float* b, float* sums, std::size_t length) {
  ForLanes(0, length, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    L::Store(L::MulAdd(L::Load(a + i), L::Load(b + i), L::Load(sums + i)), sums + i);
  });
}

inline void Limit(float* values, float limit, std::size_t length) {
  ForLanes(0, length, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    L::Store(L::Clamp(L::Load(values + i), -limit, limit), values + i);
  });
}

inline void ScaleBands(float* values, const float* factors, const Ipp16u* offsets, std::size_t bands) {
  for (std::size_t b = 0; b < bands; ++b) {
    const std::size_t end = offsets[b + 1];
    std::size_t i = offsets[b];
    const auto wideFactor = WideLanes::Set(factors[b]);
    for (; i + WideLanes::Count() <= end; i += WideLanes::Count()) {
      WideLanes::Store(WideLanes::Mul(WideLanes::Load(values + i), wideFactor), values + i);
    }
    const auto factor = FourLanes::Set(factors[b]);
    for (; i + FourLanes::Count() <= end; i += FourLanes::Count()) {
      FourLanes::Store(FourLanes::Mul(FourLanes::Load(values + i), factor), values + i);
    }
    for (; i < end; ++i) values[i] *= factors[b];
  }
}

inline void AddProductC(const float* source, float factor, float* sums, std::size_t length) {
  ForLanes(0, length, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    L::Store(L::MulAdd(L::Load(source + i), L::Set(factor), L::Load(sums + i)), sums + i);
  });
}

inline void Butterfly(float* a, float* b, std::size_t length) {
  ForLanes(0, length, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    const auto x = L::Load(a + i), y = L::Load(b + i);
    L::Store(L::Add(x, y), a + i);
    L::Store(L::Sub(x, y), b + i);
  });
}

inline void ScaleByExponents(const float* mantissas, const Ipp8u* exponents, const Ipp8u* bits,
                             const NoiseSource& noise, float* destination, std::size_t length) {
  const float scale = noise.amplitude * 0x1p-31f;
  const Ipp32u state = noise.state;
  ForLanes(0, length, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    const auto drawn = L::Draw(state, kNoiseJumps.factors.data() + i, kNoiseJumps.terms.data() + i);
    const auto value = L::WhereZero(bits + i, L::Mul(drawn, L::Set(scale)), L::Load(mantissas + i));
    L::Store(L::Mul(value, L::PowerOfHalf(exponents + i)), destination + i);
  });
}

inline void Deinterleave(const float* source, std::size_t channels, std::size_t length,
                         float* const* destination) {
  if (channels == 2) {
    float* first = destination[0];
    float* second = destination[1];
    ForLanes(0, length, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
      using L = decltype(lanes);
      typename L::V a, b;
      L::LoadPairs(source + 2 * i, a, b);
      L::Store(a, first + i);
      L::Store(b, second + i);
    });
    return;
  }
  for (std::size_t channel = 0; channel < channels; ++channel) {
    for (std::size_t i = 0; i < length; ++i) destination[channel][i] = source[i * channels + channel];
  }
}

inline void Join(const float* const* source, std::size_t channels, std::size_t length, Ipp16s* destination) {
  if (channels == 1) {
    const float* mono = source[0];
    ForLanes(0, length, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
      using L = decltype(lanes);
      L::StoreRounded(L::Load(mono + i), destination + i);
    });
    return;
  }
  if (channels == 2) {
    const float* left = source[0];
    const float* right = source[1];
    ForLanes(0, length, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
      using L = decltype(lanes);
      L::StoreRoundedPairs(L::Load(left + i), L::Load(right + i), destination + 2 * i);
    });
    return;
  }
  constexpr std::size_t kBlock = 64;
  for (std::size_t start = 0; start < length; start += kBlock) {
    const std::size_t count = std::min(kBlock, length - start);
    for (std::size_t channel = 0; channel < channels; ++channel) {
      Ipp16s rounded[kBlock];
      Ipp16s* block = rounded;
      const float* values = source[channel] + start;
      ForLanes(0, count, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
        using L = decltype(lanes);
        L::StoreRounded(L::Load(values + i), block + i);
      });
      for (std::size_t i = 0; i < count; ++i)
        StoreSample(rounded[i], destination + (start + i) * channels + channel);
    }
  }
}
