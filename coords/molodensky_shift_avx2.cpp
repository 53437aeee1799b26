// The many-positions Molodensky path for processors with AVX2: four positions per call through
// glibc's vector sine and cosine (libmvec). Only this file is compiled for AVX2, and it is called
// only after the processor has been asked; everything it includes that the rest of the program
// also uses comes before the target switch, so no AVX2 copy of shared inline code is emitted.

#include "coords/molodensky_shift.hpp"
#include "core/angles.hpp"

#if PIXTRAIL_VECTOR_SHIFT
#include <immintrin.h>

#pragma GCC push_options
#pragma GCC target("avx2,fma")

#include "coords/molodensky_core.hpp"

namespace pixtrail {

namespace {
typedef double V4 __attribute__((vector_size(32)));
}  // namespace

extern "C" __m256d _ZGVdN4v_sin(__m256d);
extern "C" __m256d _ZGVdN4v_cos(__m256d);

namespace {
V4 vsin(V4 x) { return V4(_ZGVdN4v_sin(__m256d(x))); }
V4 vcos(V4 x) { return V4(_ZGVdN4v_cos(__m256d(x))); }
V4 vsqrt(V4 x) { return V4(_mm256_sqrt_pd(__m256d(x))); }
}  // namespace

// With a real ellipsoid (e^2 <= 1) and finite input, w >= 0: no check needed here.
void molodenskyShiftFourAvx2(const MolodenskyParams& p, TCoord* c) {
  const V4 phi = molodensky::toRadians<V4>(V4{c[0].lat, c[1].lat, c[2].lat, c[3].lat});
  const V4 lam = molodensky::toRadians<V4>(V4{c[0].lon, c[1].lon, c[2].lon, c[3].lon});
  V4 lat, lon;
  molodensky::shiftCore<V4>(p, phi, lam, vsin(phi * phi), vsin(phi), vcos(phi), vsin(lam), vcos(lam), vsqrt,
                            lat, lon);
  for (int i = 0; i < 4; ++i) c[i].lat = lat[i], c[i].lon = lon[i];
}

}  // namespace pixtrail

#pragma GCC pop_options
#endif
