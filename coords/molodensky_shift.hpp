#pragma once
// The table's Molodensky shift on bare numbers: one position, or many at once. The datum table
// (TListaDatums) decides when it applies; these functions only compute it.
// Method: standard Molodensky (DMA TR 8350.2, 3rd ed., 1997, eq. 7-5, 7-6) with h = 0 and the
// table's w = 1 - e^2 sin(phi*phi). Accuracy: at the equator, where the formula reduces by hand,
// equal to it to 1e-12 degrees (tests/coords/TListaDatums_test.cpp); within 3e-5 degrees of
// PROJ's Helmert with the same parameters for every shipped datum; the many-at-once path agrees
// with the single one to 1e-12 degrees (its sine and cosine may differ in the last place).

#include <cstdlib>  // __GLIBC__, __GLIBC_PREREQ
#include <span>

#include "core/TCoord.hpp"

// 1 where glibc's vector sine and cosine (libmvec, AVX2) can serve the many-positions path.
#if defined(__x86_64__) && defined(__GLIBC__) && defined(__GNUC__) && !defined(__clang__)
#if __GLIBC_PREREQ(2, 22)
#define PIXTRAIL_VECTOR_SHIFT 1
#endif
#endif
#ifndef PIXTRAIL_VECTOR_SHIFT
#define PIXTRAIL_VECTOR_SHIFT 0
#endif

namespace pixtrail {

struct MolodenskyParams {
  double a = 0, f = 0, e2 = 0;  // source ellipsoid; e2 = 2f - f^2
  double da = 0, df = 0;        // target minus source
  double dx = 0, dy = 0, dz = 0;  // source shift minus target shift, metres
};

MolodenskyParams molodenskyParams(double srcA, double srcF, double srcDx, double srcDy, double srcDz,
                                  double dstA, double dstF, double dstDx, double dstDy, double dstDz);

// False (position untouched) when w is not >= 0 or the longitude is not finite.
bool molodenskyShift(const MolodenskyParams& p, TCoord& position);

// Shifts every position; they must all be finite. Uses the processor's vector units when it has
// them. Returns the number of positions that failed (and were left untouched).
int molodenskyShiftMany(const MolodenskyParams& p, std::span<TCoord> positions);

#if PIXTRAIL_VECTOR_SHIFT
// Four positions at once; only on a processor with AVX2 and FMA, all coordinates finite.
void molodenskyShiftFourAvx2(const MolodenskyParams& p, TCoord* four);
#endif

}  // namespace pixtrail
