// The kernels of parametric stereo. Included like kernels.inl, after it.

inline void PsFilter(const PsFilterBank& bank, const Ipp32fc* samples, PsSpectrum out) {
  constexpr int kReach = PsFilterBank::kReach;
  const Ipp32fc* middle = samples + kReach;
  for (std::size_t q = 0; q < static_cast<std::size_t>(bank.filters); q += FourLanes::Count()) {
    using L = FourLanes;
    auto re = L::Mul(L::Load(bank.re[0] + q), L::Set(middle->re));
    auto im = L::Mul(L::Load(bank.re[0] + q), L::Set(middle->im));
    for (int i = 1; i <= kReach; ++i) {
      const Ipp32fc a = middle[-i], b = middle[i];
      const auto tapRe = L::Load(bank.re[i] + q), tapIm = L::Load(bank.im[i] + q);
      re = L::NegMulAdd(tapIm, L::Set(a.im - b.im), L::MulAdd(tapRe, L::Set(a.re + b.re), re));
      im = L::MulAdd(tapIm, L::Set(a.re - b.re), L::MulAdd(tapRe, L::Set(a.im + b.im), im));
    }
    L::Store(re, out.re + q);
    L::Store(im, out.im + q);
  }
}

inline void PsPower(PsSpectrum in, Ipp32f* powers, std::size_t length) {
  ForLanes(0, length, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    const auto x = LoadComplex<L>(in.re, in.im, i);
    L::Store(L::MulAdd(x.re, x.re, L::Mul(x.im, x.im)), powers + i);
  });
}

inline void PsSplit(const Ipp32fc* in, PsSpectrum out, std::size_t length) {
  ForFewLanes(length, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    typename L::V re, im;
    L::LoadPairs(&in[i].re, re, im);
    L::Store(re, out.re + i);
    L::Store(im, out.im + i);
  });
}

inline void PsAllPass(const PsAllPassBank& bank, PsSpectrum in, PsAllPassRow* const* links, PsSpectrum out) {
  const PsAllPassBank* constants = &bank;
  ForLanes(0, static_cast<std::size_t>(bank.bands), [=](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    Complex<L> x =
        LoadComplex<L>(in.re, in.im, i) * LoadComplex<L>(constants->phase[0], constants->phase[1], i);
    for (int link = 0; link < kPsAllPassLinks; ++link) {
      PsAllPassRow& row = *links[link];
      const auto feedback = L::Load(constants->feedback[link] + i);
      const Complex<L> turned = LoadComplex<L>(row[0], row[1], i) *
                                LoadComplex<L>(constants->rotation[link][0], constants->rotation[link][1], i);
      const Complex<L> held = {L::MulAdd(feedback, turned.re, x.re), L::MulAdd(feedback, turned.im, x.im)};
      L::Store(held.re, row[0] + i);
      L::Store(held.im, row[1] + i);
      x = {L::NegMulAdd(feedback, held.re, turned.re), L::NegMulAdd(feedback, held.im, turned.im)};
    }
    L::Store(x.re, out.re + i);
    L::Store(x.im, out.im + i);
  });
}

inline void PsTransientGains(PsTransients& state, const Ipp32f* powers, Ipp32f* gains, std::size_t bands) {
  constexpr float kPeakDecay = 0.76592833836465f;
  constexpr float kSmoothing = 0.25f;
  constexpr float kImpact = 1.5f;
  PsTransients* running = &state;
  ForLanes(0, bands, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    const auto follow = [=](float* smooth, typename L::V value) VL_LANES_ATTR {
      const auto before = L::Load(smooth + i);
      const auto next = L::MulAdd(L::Set(kSmoothing), L::Sub(value, before), before);
      L::Store(next, smooth + i);
      return next;
    };
    const auto power = L::Load(powers + i);
    const auto decayed = L::Mul(L::Load(running->peak + i), L::Set(kPeakDecay));
    const auto peak = L::WhereLess(decayed, power, power, decayed);
    L::Store(peak, running->peak + i);
    const auto smooth = follow(running->power, power);
    const auto limit = L::Mul(L::Set(kImpact), follow(running->difference, L::Sub(peak, power)));
    L::Store(L::WhereLess(smooth, limit, L::Div(smooth, limit), L::Set(1)), gains + i);
  });
}

inline void PsSweep(Ipp32f* values, std::size_t length, Ipp32f smallest, Ipp32f largest) {
  ForLanes(0, length, [=](auto lanes, std::size_t i) VL_LANES_ATTR {
    using L = decltype(lanes);
    const auto value = L::Load(values + i), zero = L::Set(0), magnitude = L::Abs(value);
    const auto kept = L::WhereLess(L::Set(smallest), magnitude, value, zero);
    L::Store(L::WhereLess(magnitude, L::Set(largest), kept, zero), values + i);
  });
}

// The mixer's coefficients of one kind from `k` on, advanced by one slot.
template <class L>
inline typename L::V PsNextCoefficients(PsMixer& mixer, int kind, std::size_t k) {
  const auto next = L::Add(L::Load(mixer.h[kind] + k), L::Load(mixer.step[kind] + k));
  L::Store(next, mixer.h[kind] + k);
  return next;
}

template <bool kPhases>
inline void PsMixBands(PsMixer& mixer, std::size_t first, std::size_t end, PsSpectrum s, PsSpectrum d,
                       const Ipp32f* gains, Ipp32fc* left, Ipp32fc* right) {
  PsMixer* running = &mixer;
  ForLanes(first, end, [=](auto lanes, std::size_t k) VL_LANES_ATTR {
    using L = decltype(lanes);
    const Complex<L> direct = LoadComplex<L>(s.re, s.im, k);
    const auto gain = L::Load(gains + k);
    const Complex<L> diffuse = {L::Mul(L::Load(d.re + k), gain), L::Mul(L::Load(d.im + k), gain)};
    for (int side = 0; side < 2; ++side) {
      const auto h1 = PsNextCoefficients<L>(*running, side, k);
      const auto h2 = PsNextCoefficients<L>(*running, side + 2, k);
      Complex<L> sum = {L::MulAdd(h2, diffuse.re, L::Mul(h1, direct.re)),
                        L::MulAdd(h2, diffuse.im, L::Mul(h1, direct.im))};
      if constexpr (kPhases) {
        const auto i1 = PsNextCoefficients<L>(*running, side + 4, k);
        const auto i2 = PsNextCoefficients<L>(*running, side + 6, k);
        sum.re = L::NegMulAdd(i2, diffuse.im, L::NegMulAdd(i1, direct.im, sum.re));
        sum.im = L::MulAdd(i2, diffuse.re, L::MulAdd(i1, direct.re, sum.im));
      }
      L::StorePairs(sum.re, sum.im, &(side == 0 ? left : right)[k - first].re);
    }
  });
}

inline void PsMix(PsMixer& mixer, bool phases, std::size_t first, std::size_t end, PsSpectrum s, PsSpectrum d,
                  const Ipp32f* gains, Ipp32fc* left, Ipp32fc* right) {
  if (phases) {
    PsMixBands<true>(mixer, first, end, s, d, gains, left, right);
  } else {
    PsMixBands<false>(mixer, first, end, s, d, gains, left, right);
  }
}

inline constexpr PsKernels kPsKernels = {PsFilter,         PsPower, PsSplit, PsAllPass,
                                         PsTransientGains, PsSweep, PsMix};
