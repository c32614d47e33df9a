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

// Transposes the next four values of four rows: destination[i] receives value i of each row.
inline void Transpose4(const float* const (&rows)[4], float* destination, std::size_t pitch) {
  float turned[16];
  for (std::size_t i = 0; i < 4; i += FourLanes::Count()) {
    FourLanes::StoreQuads(FourLanes::Load(rows[0] + i), FourLanes::Load(rows[1] + i),
                          FourLanes::Load(rows[2] + i), FourLanes::Load(rows[3] + i), turned + 4 * i);
  }
  for (std::size_t i = 0; i < 4; ++i) std::memcpy(destination + i * pitch, turned + 4 * i, 4 * sizeof(float));
}

// The DCT-IV over the rows of a batch of slots, by a complex transform of half as many points between two
// rotations. `work` is twice the size of `in`.
inline void TransformRows(const IppsFilterSpec_SBR_32f& bank, const float* in, float* out, float* work) {
  using L = WideLanes;
  const auto bands = static_cast<std::size_t>(bank.bands);
  const std::size_t points = bands / 2;
  const std::size_t half = points * kQmfBatch;
  float* from = work;
  float* to = work + 2 * half;
  for (std::size_t i = 0; i < points; ++i) {
    const auto c = L::Set(bank.before[0][i]), s = L::Set(bank.before[1][i]);
    for (std::size_t q = 0; q < kQmfBatch; q += L::Count()) {
      const auto even = L::Load(in + 2 * i * kQmfBatch + q);
      const auto odd = L::Load(in + (bands - 1 - 2 * i) * kQmfBatch + q);
      L::Store(L::MulAdd(odd, s, L::Mul(even, c)), from + i * kQmfBatch + q);
      L::Store(L::NegMulAdd(even, s, L::Mul(odd, c)), from + half + i * kQmfBatch + q);
    }
  }
  for (int i = 0; i < bank.passCount; ++i) {
    const FftPass& pass = bank.passes[i];
    const float* twiddles = bank.twiddles + pass.twiddleOffset;
    if (pass.radix == 4) {
      Pass<4>(pass, twiddles, from, from + half, to, to + half);
    } else {
      Pass<2>(pass, twiddles, from, from + half, to, to + half);
    }
    std::swap(from, to);
  }
  for (std::size_t i = 0; i < points; ++i) {
    const auto c = L::Set(bank.after[0][i]), s = L::Set(bank.after[1][i]);
    for (std::size_t q = 0; q < kQmfBatch; q += L::Count()) {
      const auto a = L::Load(from + i * kQmfBatch + q), b = L::Load(from + half + i * kQmfBatch + q);
      L::Store(L::MulAdd(b, s, L::Mul(a, c)), out + 2 * i * kQmfBatch + q);
      L::Store(L::NegMulAdd(b, c, L::Mul(a, s)), out + (bands - 1 - 2 * i) * kQmfBatch + q);
    }
  }
}

// Keeps the last columns of a call's rows for the next call.
inline void KeepHistory(const float* columns, std::size_t slots, float (*history)[kIppsSbrLag],
                        std::size_t rows) {
  for (std::size_t i = 0; i < rows; ++i) {
    std::memcpy(history[i], columns + i * kQmfPitch + slots, sizeof history[i]);
  }
}

inline void QmfAnalysis(const IppsFilterSpec_SBR_32f& bank, const Ipp32f* source, std::size_t slots,
                        Ipp32fc (*destination)[kIppsSbrBands], IppsAnalysisState_SBR_32f& state,
                        Ipp32f* work) {
  using L = WideLanes;
  constexpr std::size_t kBands = kIppsSbrAnalysisBands;
  constexpr std::size_t kArea = kBands * kQmfBatch;
  float* columns = work;
  float* cosines = columns + kBands * kQmfPitch;
  float* sines = cosines + kArea;
  float* real = sines + kArea;
  float* imaginary = real + kArea;
  float* passes = imaginary + kArea;

  // Rows by phase: every 32nd sample.
  for (std::size_t i = 0; i < kBands; ++i) {
    std::memcpy(columns + i * kQmfPitch, state.history[i], sizeof state.history[i]);
  }
  for (std::size_t slot = 0; slot < kIppsSbrSlots; slot += 4) {
    const auto row = [=](std::size_t i) { return source + kBands * std::min(slot + i, slots - 1); };
    for (std::size_t i = 0; i < kBands; i += 4) {
      Transpose4({row(0) + i, row(1) + i, row(2) + i, row(3) + i},
                 columns + i * kQmfPitch + kIppsSbrLag + slot, kQmfPitch);
    }
  }
  KeepHistory(columns, slots, state.history, kBands);

  for (std::size_t slot = 0; slot < slots; slot += kQmfBatch) {
    // The window, folded for transforms of both symmetries; the sine part is reversed.
    for (std::size_t n = 0; n < kBands; ++n) {
      for (std::size_t q = 0; q < kQmfBatch; q += L::Count()) {
        const float* now = columns + kIppsSbrLag + slot + q;
        auto lower = L::Set(0), upper = L::Set(0);
        for (std::size_t lag = 0; lag < kQmfTaps; lag += 2) {
          lower = L::MulAdd(L::Set(bank.taps[n][lag]), L::Load(now + (31 - n) * kQmfPitch - lag), lower);
          upper = L::MulAdd(L::Set(bank.taps[n][lag + 1]), L::Load(now + n * kQmfPitch - lag - 1), upper);
        }
        L::Store(L::Sub(lower, upper), cosines + n * kQmfBatch + q);
        L::Store(L::Add(lower, upper), sines + (31 - n) * kQmfBatch + q);
      }
    }
    TransformRows(bank, cosines, real, passes);
    TransformRows(bank, sines, imaginary, passes);
    for (std::size_t k = 0; k < kBands; k += 2) {
      for (std::size_t q = 0; q < kQmfBatch; q += L::Count()) {
        // The sines of odd subbands are negated.
        const auto turn = [&](std::size_t band, auto sine) VL_LANES_ATTR {
          const auto cosine = L::Load(real + band * kQmfBatch + q);
          const auto c = L::Set(bank.rotation[0][band]), s = L::Set(bank.rotation[1][band]);
          return Complex<L>{L::MulAdd(sine, s, L::Mul(cosine, c)), L::NegMulAdd(cosine, s, L::Mul(sine, c))};
        };
        const auto even = turn(k, L::Load(imaginary + k * kQmfBatch + q));
        const auto odd = turn(k + 1, L::Neg(L::Load(imaginary + (k + 1) * kQmfBatch + q)));
        float samples[4 * kQmfBatch];
        L::StoreQuads(even.re, even.im, odd.re, odd.im, samples);
        for (std::size_t i = 0; i < L::Count() && slot + q + i < slots; ++i) {
          std::memcpy(&destination[slot + q + i][k], samples + 4 * i, 4 * sizeof(float));
        }
      }
    }
  }
}

// Rows of the real parts and, in reverse order, of the imaginary parts of a batch of slots.
inline void SplitParts(const Ipp32fc (*source)[kIppsSbrBands], std::size_t first, std::size_t slots,
                       std::size_t bands, float* real, float* imaginary) {
  using L = FourLanes;
  for (std::size_t q = 0; q < kQmfBatch; q += 4) {
    const Ipp32fc* rows[4];
    for (std::size_t i = 0; i < 4; ++i) rows[i] = source[std::min(first + q + i, slots - 1)];
    for (std::size_t k = 0; k < bands; k += L::Count()) {
      Complex<L> x[4];
      for (std::size_t i = 0; i < 4; ++i) x[i] = LoadSample<L>(rows[i] + k);
      float re[16], im[16];
      L::StoreQuads(x[0].re, x[1].re, x[2].re, x[3].re, re);
      L::StoreQuads(x[0].im, x[1].im, x[2].im, x[3].im, im);
      for (std::size_t i = 0; i < L::Count(); ++i) {
        std::memcpy(real + (k + i) * kQmfBatch + q, re + 4 * i, 4 * sizeof(float));
        std::memcpy(imaginary + (bands - 1 - k - i) * kQmfBatch + q, im + 4 * i, 4 * sizeof(float));
      }
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
  float* columns = work;
  float* real = columns + 2 * bands * kQmfPitch;
  float* imaginary = real + area;
  float* cosines = imaginary + area;
  float* sines = cosines + area;
  float* passes = sines + area;

  for (std::size_t i = 0; i < 2 * bands; ++i) {
    std::memcpy(columns + i * kQmfPitch, state.history[i], sizeof state.history[i]);
  }
  for (std::size_t slot = 0; slot < slots; slot += kQmfBatch) {
    SplitParts(source, slot, slots, bands, real, imaginary);
    if (bank.rotates != 0) RotateParts(bank, bands, real, imaginary);
    TransformRows(bank, real, cosines, passes);
    TransformRows(bank, imaginary, sines, passes);
    for (std::size_t n = 0; n < bands; ++n) {
      for (std::size_t q = 0; q < kQmfBatch; q += L::Count()) {
        const auto cosine = L::Load(cosines + n * kQmfBatch + q);
        auto sine = L::Load(sines + n * kQmfBatch + q);
        if (n % 2 != 0) sine = L::Neg(sine);
        float* now = columns + kIppsSbrLag + slot + q;
        L::Store(L::Sub(sine, cosine), now + n * kQmfPitch);
        L::Store(L::Add(sine, cosine), now + (2 * bands - 1 - n) * kQmfPitch);
      }
    }
  }
  KeepHistory(columns, slots, state.history, 2 * bands);

  for (std::size_t k = 0; k < bands; k += 4) {
    for (std::size_t slot = 0; slot < slots; slot += L::Count()) {
      const float* now = columns + k * kQmfPitch + kIppsSbrLag + slot;
      typename L::V sums[4] = {L::Set(0), L::Set(0), L::Set(0), L::Set(0)};
      for (std::size_t lag = 0; lag < kQmfTaps; ++lag) {
        const float* row = now - lag + (lag % 2 != 0 ? bands * kQmfPitch : 0);
        for (std::size_t i = 0; i < 4; ++i) {
          sums[i] = L::MulAdd(L::Set(bank.taps[k + i][lag]), L::Load(row + i * kQmfPitch), sums[i]);
        }
      }
      float samples[4 * kQmfBatch];
      L::StoreQuads(sums[0], sums[1], sums[2], sums[3], samples);
      for (std::size_t i = 0; i < L::Count() && slot + i < slots; ++i) {
        std::memcpy(destination + (slot + i) * bands + k, samples + 4 * i, 4 * sizeof(float));
      }
    }
  }
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
  const auto shape = [=](auto lanes, std::size_t i) VL_LANES_ATTR {
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
  };
  std::size_t i = 0;
  for (; i + WideLanes::Count() <= bands; i += WideLanes::Count()) shape(WideLanes(), i);
  for (; i + FourLanes::Count() <= bands; i += FourLanes::Count()) shape(FourLanes(), i);
  for (; i < bands; ++i) shape(OneLane(), i);
}
