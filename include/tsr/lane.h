// A scalar as lane 0 of a vector register, the other lanes left as they are.
//
// The scalar vector operations read and write lane 0 alone, so whatever the upper lanes hold
// never matters (where a 64-bit or packed operation would see them, the caller clears them by
// a mask).  _mm_set_ss/_mm_set_sd would have to zero them, which costs a move or a blend on
// the path, sometimes a trip through a general register and back.
#pragma once
#include <emmintrin.h>

namespace tsr {

inline __m128 lane(float x) {
    __m128 v;
    asm("" : "=x"(v) : "0"(x));
    return v;
}
inline __m128d lane(double x) {
    __m128d v;
    asm("" : "=x"(v) : "0"(x));
    return v;
}

}  // namespace tsr
