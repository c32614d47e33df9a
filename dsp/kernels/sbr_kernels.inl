// The kernels of SBR. Included like kernels.inl, after it.

// Calls body(lanes, i) for all i in [0, end) with all lanes active, in steps of the widest lanes that fit. If
// the count is not a multiple of the lane count, the last step overlaps the previous one: the body may
// process the same i twice.
template <class Body>
inline void ForOverlappingLanes(std::size_t end, Body body) {
  const auto run = [=](auto lanes) VL_LANES_ATTR {
    const std::size_t step = decltype(lanes)::Count();
    for (std::size_t i = 0; i < end; i += step) body(lanes, std::min(i, end - step));
  };
  if (end >= WideLanes::Count()) {
    run(WideLanes());
  } else if (end >= FourLanes::Count()) {
    run(FourLanes());
  } else {
    run(OneLane());
  }
}

template <class L>
inline Complex<L> LoadSample(const Ipp32fc* p) {
  Complex<L> x;
  L::LoadPairs(&p->re, x.re, x.im);
  return x;
}

template <class L>
inline void StoreSample(Complex<L> x, Ipp32fc* p) {
  L::StorePairs(x.re, x.im, &p->re);
}

// a conj(b) + sum
template <class L>
inline Complex<L> AddConjugateProduct(Complex<L> a, Complex<L> b, Complex<L> sum) {
  return {L::MulAdd(a.re, b.re, L::MulAdd(a.im, b.im, sum.re)),
          L::MulAdd(a.im, b.re, L::NegMulAdd(a.re, b.im, sum.im))};
}

template <class L>
inline Complex<L> Zero() {
  return {L::Set(0), L::Set(0)};
}

// Four consecutive values of each of a vector's slots, where slot i is at p + i * pitch: a receives the first
// values, b the second ones. Slots from `slots` on have no memory; their values are 0.
template <class L>
inline void LoadSlots(const float* p, std::size_t pitch, std::size_t slots, typename L::V& a,
                      typename L::V& b, typename L::V& c, typename L::V& d) {
  if (slots >= L::Count()) return L::GatherQuads(p, pitch, a, b, c, d);
  float quads[4 * kQmfBatch] = {};
  for (std::size_t i = 0; i < slots; ++i) std::memcpy(quads + 4 * i, p + i * pitch, 4 * sizeof(float));
  L::GatherQuads(quads, 4, a, b, c, d);
}

// The reverse of LoadSlots.
template <class L>
inline void StoreSlots(typename L::V a, typename L::V b, typename L::V c, typename L::V d, float* p,
                       std::size_t pitch, std::size_t slots) {
  if (slots >= L::Count()) return L::ScatterQuads(a, b, c, d, p, pitch);
  float quads[4 * kQmfBatch];
  L::ScatterQuads(a, b, c, d, quads, 4);
  for (std::size_t i = 0; i < slots; ++i) std::memcpy(p + i * pitch, quads + 4 * i, 4 * sizeof(float));
}

// How many of a call's slots there are from `slot` on.
inline std::size_t SlotsFrom(std::size_t slot, std::size_t slots) {
  return slots > slot ? slots - slot : 0;
}

// Multiplies the results of a group of a pass of radix 4 by their twiddle factors.
template <class L>
inline void Twist(const FftPass& pass, const float* values, std::size_t group, Complex<L>* y) {
  const float* twiddles = values + pass.twiddleOffset + group;
  for (std::size_t k = 1; k < 4; ++k) {
    const float* re = twiddles + 2 * (k - 1) * static_cast<std::size_t>(pass.groups);
    y[k] = y[k] * Complex<L>{L::Set(re[0]), L::Set(re[pass.groups])};
  }
}

// The DCT-IV over the rows of a batch of slots, in place: a complex transform of half as many points, 16 or
// 32, between two rotations. Two sweeps over the rows do it all: one rotates and has the first pass, the
// other has the other passes and rotates. `work` is as large as the rows.
template <std::size_t kPoints>
inline void TransformRows(const IppsFilterSpec_SBR_32f& bank, float* rows, float* work) {
  using L = WideLanes;
  constexpr std::size_t kGroups = kPoints / 4, kParts = kPoints / 16;
  constexpr std::size_t kLast = 2 * kPoints - 1;
  for (std::size_t q = 0; q < kQmfBatch; q += L::Count()) {
    float* at = rows + q;
    float* re = work + q;
    float* im = re + kPoints * kQmfBatch;
    for (std::size_t p = 0; p < kGroups; ++p) {
      Complex<L> x[4], y[4];
      for (std::size_t j = 0; j < 4; ++j) {
        const std::size_t i = j * kGroups + p;
        const auto c = L::Set(bank.before[0][i]), s = L::Set(bank.before[1][i]);
        const auto even = L::Load(at + 2 * i * kQmfBatch), odd = L::Load(at + (kLast - 2 * i) * kQmfBatch);
        x[j] = {L::MulAdd(odd, s, L::Mul(even, c)), L::NegMulAdd(even, s, L::Mul(odd, c))};
      }
      Dft4<L>(x, y);
      Twist<L>(bank.passes[0], bank.twiddles, p, y);
      for (std::size_t k = 0; k < 4; ++k) {
        L::Store(y[k].re, re + (4 * p + k) * kQmfBatch);
        L::Store(y[k].im, im + (4 * p + k) * kQmfBatch);
      }
    }
    const auto finish = [=, &bank](std::size_t i, Complex<L> y) VL_LANES_ATTR {
      const auto c = L::Set(bank.after[0][i]), s = L::Set(bank.after[1][i]);
      L::Store(L::MulAdd(y.im, s, L::Mul(y.re, c)), at + 2 * i * kQmfBatch);
      L::Store(L::NegMulAdd(y.im, c, L::Mul(y.re, s)), at + (kLast - 2 * i) * kQmfBatch);
    };
    for (std::size_t r = 0; r < 4; ++r) {
      Complex<L> y[kParts][4];
      for (std::size_t p = 0; p < kParts; ++p) {
        Complex<L> x[4];
        for (std::size_t j = 0; j < 4; ++j) {
          x[j] = LoadComplex<L>(re, im, ((j * kParts + p) * 4 + r) * kQmfBatch);
        }
        Dft4<L>(x, y[p]);
        if (p != 0) Twist<L>(bank.passes[1], bank.twiddles, p, y[p]);
      }
      for (std::size_t k = 0; k < 4; ++k) {
        if constexpr (kParts == 1) {
          finish(4 * k + r, y[0][k]);
        } else {
          finish(4 * k + r, y[0][k] + y[1][k]);
          finish(16 + 4 * k + r, y[0][k] - y[1][k]);
        }
      }
    }
  }
}

// The window of the analysis for one slot, folded for transforms of both symmetries; the sine part is
// reversed. `now` has the slot's samples; those of earlier slots come before them.
inline void FoldSlot(const IppsFilterSpec_SBR_32f& bank, const float* now, float* cosines, float* sines) {
  using L = WideLanes;
  for (std::size_t n = 0; n < kIppsSbrAnalysisBands; n += L::Count()) {
    const std::size_t mirrored = kIppsSbrAnalysisBands - n - L::Count();
    auto lower = L::Set(0), upper = L::Set(0);
    for (std::size_t lag = 0; lag < kQmfTaps; lag += 2) {
      const float* then = now - lag * kIppsSbrAnalysisBands;
      lower = L::MulAdd(L::Load(bank.taps[lag] + mirrored), L::Load(then + mirrored), lower);
      upper = L::MulAdd(L::Load(bank.taps[lag + 1] + n), L::Load(then - kIppsSbrAnalysisBands + n), upper);
    }
    lower = L::Reverse(lower);
    L::Store(L::Sub(lower, upper), cosines + n);
    L::Store(L::Reverse(L::Add(lower, upper)), sines + mirrored);
  }
}

// Rows of a batch's slots, from `slots` slots of as many values.
inline void TurnSlots(const float* source, std::size_t slots, std::size_t count, float* rows) {
  using L = WideLanes;
  for (std::size_t q = 0; q < kQmfBatch; q += L::Count()) {
    for (std::size_t i = 0; i < count; i += 4) {
      typename L::V a, b, c, d;
      LoadSlots<L>(source + q * count + i, count, SlotsFrom(q, slots), a, b, c, d);
      float* at = rows + i * kQmfBatch + q;
      L::Store(a, at);
      L::Store(b, at + kQmfBatch);
      L::Store(c, at + 2 * kQmfBatch);
      L::Store(d, at + 3 * kQmfBatch);
    }
  }
}

inline void QmfAnalysis(const IppsFilterSpec_SBR_32f& bank, const Ipp32f* source, std::size_t slots,
                        Ipp32fc (*destination)[kIppsSbrBands], IppsAnalysisState_SBR_32f& state,
                        Ipp32f* work) {
  using L = WideLanes;
  constexpr std::size_t kBands = kIppsSbrAnalysisBands;
  constexpr std::size_t kArea = kBands * kQmfBatch;
  float* cosines = work;
  float* sines = cosines + kArea;
  float* sweep = sines + kArea;
  float* folded = sweep + kArea;
  float* samples = folded + 2 * kArea;

  std::memcpy(samples, state.history, sizeof state.history);
  std::memcpy(samples + kIppsSbrLag * kBands, source, slots * kBands * sizeof(float));
  std::memcpy(state.history, samples + slots * kBands, sizeof state.history);

  for (std::size_t slot = 0; slot < slots; slot += kQmfBatch) {
    const std::size_t count = std::min<std::size_t>(slots - slot, kQmfBatch);
    for (std::size_t q = 0; q < count; ++q) {
      FoldSlot(bank, samples + (kIppsSbrLag + slot + q) * kBands, folded + q * kBands,
               folded + kArea + q * kBands);
    }
    TurnSlots(folded, count, kBands, cosines);
    TurnSlots(folded + kArea, count, kBands, sines);
    TransformRows<kBands / 2>(bank, cosines, sweep);
    TransformRows<kBands / 2>(bank, sines, sweep);
    for (std::size_t k = 0; k < kBands; k += 2) {
      for (std::size_t q = 0; q < kQmfBatch; q += L::Count()) {
        // The sines of odd subbands are negated.
        const auto turn = [&](std::size_t band, auto sine) VL_LANES_ATTR {
          const auto cosine = L::Load(cosines + band * kQmfBatch + q);
          const auto c = L::Set(bank.rotation[0][band]), s = L::Set(bank.rotation[1][band]);
          return Complex<L>{L::MulAdd(sine, s, L::Mul(cosine, c)), L::NegMulAdd(cosine, s, L::Mul(sine, c))};
        };
        const auto even = turn(k, L::Load(sines + k * kQmfBatch + q));
        const auto odd = turn(k + 1, L::Neg(L::Load(sines + (k + 1) * kQmfBatch + q)));
        const std::size_t left = SlotsFrom(slot + q, slots);
        if (left == 0) break;
        StoreSlots<L>(even.re, even.im, odd.re, odd.im, &destination[slot + q][k].re, 2 * kIppsSbrBands,
                      left);
      }
    }
  }
}

// Rows of the real parts and, in reverse order, of the imaginary parts of a batch of slots.
inline void SplitParts(const Ipp32fc (*source)[kIppsSbrBands], std::size_t first, std::size_t slots,
                       std::size_t bands, float* real, float* imaginary) {
  using L = WideLanes;
  for (std::size_t q = 0; q < kQmfBatch; q += L::Count()) {
    const std::size_t left = SlotsFrom(first + q, slots);
    const Ipp32fc* slot = source[left == 0 ? 0 : first + q];
    float* im = imaginary + (bands - 1) * kQmfBatch + q;
    for (std::size_t k = 0; k < bands; k += 2) {
      typename L::V evenRe, evenIm, oddRe, oddIm;
      LoadSlots<L>(&slot[k].re, 2 * kIppsSbrBands, left, evenRe, evenIm, oddRe, oddIm);
      L::Store(evenRe, real + k * kQmfBatch + q);
      L::Store(oddRe, real + (k + 1) * kQmfBatch + q);
      L::Store(evenIm, im - k * kQmfBatch);
      L::Store(oddIm, im - (k + 1) * kQmfBatch);
    }
  }
}

// Rotates the subbands in such rows.
inline void RotateParts(const IppsFilterSpec_SBR_32f& bank, std::size_t bands, float* real,
                        float* imaginary) {
  using L = WideLanes;
  for (std::size_t k = 0; k < bands; ++k) {
    const auto c = L::Set(bank.rotation[0][k]), s = L::Set(bank.rotation[1][k]);
    for (std::size_t q = 0; q < kQmfBatch; q += L::Count()) {
      float* re = real + k * kQmfBatch + q;
      float* im = imaginary + (bands - 1 - k) * kQmfBatch + q;
      const auto a = L::Load(re), b = L::Load(im);
      L::Store(L::MulAdd(b, s, L::Mul(a, c)), re);
      L::Store(L::NegMulAdd(a, s, L::Mul(b, c)), im);
    }
  }
}

inline void QmfSynthesis(const IppsFilterSpec_SBR_32f& bank, const Ipp32fc (*source)[kIppsSbrBands],
                         std::size_t slots, Ipp32f* destination, IppsSynthesisState_SBR_32f& state,
                         Ipp32f* work) {
  using L = WideLanes;
  const auto bands = static_cast<std::size_t>(bank.bands);
  const std::size_t area = bands * kQmfBatch;
  constexpr std::size_t kPitch = 2 * kIppsSbrBands;
  float* real = work;
  float* imaginary = real + area;
  float* sweep = imaginary + area;
  float* vectors = sweep + area;  // one a slot, of 2 * bands values
  const auto transform =
      bands == kIppsSbrBands ? TransformRows<kIppsSbrBands / 2> : TransformRows<kIppsSbrBands / 4>;

  std::memcpy(vectors, state.history, sizeof state.history);
  for (std::size_t slot = 0; slot < slots; slot += kQmfBatch) {
    SplitParts(source, slot, slots, bands, real, imaginary);
    if (bank.rotates != 0) RotateParts(bank, bands, real, imaginary);
    transform(bank, real, sweep);
    transform(bank, imaginary, sweep);
    for (std::size_t q = 0; q < kQmfBatch; q += L::Count()) {
      float* now = vectors + (kIppsSbrLag + slot + q) * kPitch;
      for (std::size_t n = 0; n < bands; n += 4) {
        typename L::V lower[4], upper[4];
        for (std::size_t i = 0; i < 4; ++i) {
          const auto cosine = L::Load(real + (n + i) * kQmfBatch + q);
          auto sine = L::Load(imaginary + (n + i) * kQmfBatch + q);
          if (i % 2 != 0) sine = L::Neg(sine);
          lower[i] = L::Sub(sine, cosine);
          upper[3 - i] = L::Add(sine, cosine);
        }
        L::ScatterQuads(lower[0], lower[1], lower[2], lower[3], now + n, kPitch);
        L::ScatterQuads(upper[0], upper[1], upper[2], upper[3], now + 2 * bands - 4 - n, kPitch);
      }
    }
    const std::size_t end = std::min<std::size_t>(slot + kQmfBatch, slots);
    for (std::size_t k = 0; k < bands; k += L::Count()) {
      typename L::V taps[kQmfTaps];
      for (std::size_t lag = 0; lag < kQmfTaps; ++lag) taps[lag] = L::Load(bank.taps[lag] + k);
      for (std::size_t i = slot; i < end; ++i) {
        const float* now = vectors + (kIppsSbrLag + i) * kPitch + k;
        auto sum = L::Set(0);
        for (std::size_t lag = 0; lag < kQmfTaps; ++lag) {
          sum = L::MulAdd(taps[lag], L::Load(now - lag * kPitch + (lag % 2 != 0 ? bands : 0)), sum);
        }
        L::Store(sum, destination + i * bands + k);
      }
    }
  }
  std::memcpy(state.history, vectors + slots * kPitch, sizeof state.history);
}

inline void SumCovariance(const Ipp32fc (*source)[kIppsSbrBands], std::size_t length, std::size_t bands,
                          Covariance& sums) {
  ForOverlappingLanes(bands, [=, &sums](auto lanes, std::size_t k) VL_LANES_ATTR {
    using L = decltype(lanes);
    auto power = L::Set(0);
    Complex<L> lag1 = Zero<L>();
    Complex<L> first = LoadSample<L>(source[0] + k), second = LoadSample<L>(source[1] + k);
    Complex<L> lag2 = AddConjugateProduct<L>(LoadSample<L>(source[2] + k), first, Zero<L>());
    for (std::size_t n = 1; n < length; ++n) {
      const Complex<L> third = LoadSample<L>(source[n + 1] + k);
      first = second;
      second = third;
      power = L::MulAdd(first.re, first.re, L::MulAdd(first.im, first.im, power));
      lag1 = AddConjugateProduct<L>(second, first, lag1);
      lag2 = AddConjugateProduct<L>(LoadSample<L>(source[n + 2] + k), first, lag2);
    }
    L::Store(power, sums.power + k);
    L::Store(lag1.re, sums.lag1[0] + k);
    L::Store(lag1.im, sums.lag1[1] + k);
    L::Store(lag2.re, sums.lag2[0] + k);
    L::Store(lag2.im, sums.lag2[1] + k);
  });
}

inline void FilterPatch(Ipp32fc (*rows)[kIppsSbrBands], std::size_t count, std::size_t source,
                        std::size_t target, std::size_t bands, const PatchFilter& filter) {
  ForOverlappingLanes(bands, [=, &filter](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    const Complex<L> first = LoadComplex<L>(filter.first[0], filter.first[1], target + i);
    const Complex<L> second = LoadComplex<L>(filter.second[0], filter.second[1], target + i);
    Complex<L> before2 = LoadSample<L>(rows[0] + source + i);
    Complex<L> before1 = LoadSample<L>(rows[1] + source + i);
    for (std::size_t slot = 2; slot < count + 2; ++slot) {
      const Complex<L> x = LoadSample<L>(rows[slot] + source + i);
      StoreSample<L>(x + first * before1 + second * before2, rows[slot] + target + i);
      before2 = before1;
      before1 = x;
    }
  });
}

inline void SumEnergies(const Ipp32fc (*rows)[kIppsSbrBands], std::size_t count, std::size_t first,
                        std::size_t bands, Ipp32f* energies) {
  ForOverlappingLanes(bands, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    auto sum = L::Set(0);
    for (std::size_t slot = 0; slot < count; ++slot) {
      const Complex<L> x = LoadSample<L>(rows[slot] + first + i);
      sum = L::MulAdd(x.re, x.re, L::MulAdd(x.im, x.im, sum));
    }
    L::Store(sum, energies + i);
  });
}

inline void ShapeRows(Ipp32fc (*rows)[kIppsSbrBands], std::size_t count, std::size_t first, std::size_t bands,
                      const Ipp32f* gains, const Ipp32f* noiseGains, const Ipp32fc* noise,
                      std::size_t noiseStart) {
  ForFewLanes(bands, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    const auto gain = L::Load(gains + i), noiseGain = L::Load(noiseGains + i);
    for (std::size_t slot = 0; slot < count; ++slot) {
      Ipp32fc* at = rows[slot] + first + i;
      const Complex<L> x = LoadSample<L>(at);
      const Complex<L> v = LoadSample<L>(noise + (noiseStart + slot * bands) % kNoisePeriod + i);
      StoreSample<L>(
          {L::MulAdd(v.re, noiseGain, L::Mul(x.re, gain)), L::MulAdd(v.im, noiseGain, L::Mul(x.im, gain))},
          at);
    }
  });
}
