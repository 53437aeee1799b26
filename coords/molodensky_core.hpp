#pragma once
// The arithmetic of the Molodensky shift after its sines and cosines, written once for a double
// and for a vector of doubles. Included only by the shift kernels (coords/molodensky_shift*.cpp);
// the AVX2 one includes it after switching its target, so that its copies are AVX2 code.

#include "coords/molodensky_shift.hpp"
#include "core/angles.hpp"

namespace pixtrail::molodensky {

// Written as the program always has: degrees * pi * (1/180) and radians * 180 * (1/pi).
template <typename V>
inline V toRadians(V deg) { return deg * kPi * (1 / kHalfTurnDeg); }
template <typename V>
inline V toDegrees(V rad) { return rad * kHalfTurnDeg * (1 / kPi); }

// The formula after the sines and cosines, for a double or a vector of doubles. Divisions
// dominate its cost, so N, M and both quotients share two of them.
template <typename V, typename Sqrt>
inline void shiftCore(const MolodenskyParams& p, V phi, V lam, V sinPhi2, V sinPhi, V cosPhi, V sinLam, V cosLam,
               Sqrt sqrtOf, V& latDeg, V& lonDeg) {
  const V w = 1 - p.e2 * sinPhi2;
  const V invSqrtW = 1 / sqrtOf(w);
  const V n = p.a * invSqrtW;
  const V m = p.a * (1 - p.e2) * (invSqrtW * invSqrtW * invSqrtW);
  const V sinCos = sinPhi * cosPhi;
  const V num = -p.dx * sinPhi * cosLam - p.dy * sinPhi * sinLam + p.dz * cosPhi +
                p.da * (p.e2 * sinCos * invSqrtW)  // da * N e^2 sin cos / a
                + p.df * (m / (1 - p.f) + n * (1 - p.f)) * sinCos;
  const V nCosPhi = n * cosPhi;
  const V inv = 1 / (m * nCosPhi);
  latDeg = toDegrees<V>(phi + num * nCosPhi * inv);
  lonDeg = toDegrees<V>(lam + (-p.dx * sinLam + p.dy * cosLam) * m * inv);
}

}  // namespace pixtrail::molodensky

