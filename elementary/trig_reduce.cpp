// The reductions by a quarter period as routines, compiled once (no tiers):
//
//   __libm_reduce_pio2d     x - n·pi/2,             |y| <= pi/4, returns n & 3
//   __libm_reduce_pio2ln2   x - n·(pi/2)/ln 2       (x·ln 2 reduced by pi/2 without forming it)
//   __libm_reduce_pio2ln10  x - n·(pi/2)/ln 10
//   __libm_reduce_pi04d     x - m·pi/4 for x >= 2^29, m of the parity of the caller's count n
//                           so that n + m is even (returned)
//
// Below 2^30 the count comes from the product with the multiplier 4c/pi and the remainder from
// a Cody-Waite sum of the octant (pi/4)/c in signed pieces: the first piece's product with
// the even count d is exact and so is its subtraction (x and d·piece lie within a factor 2),
// the next ones' products are exact too and their subtractions keep their errors; the last
// piece, of 53 bits, only adds below 2^-105 of the octant.  The pieces miss the octant by
// less than 2^-140 of it, so y + t is within d·2^-140 <= 2^-108 of the true remainder.
//
// From 2^30 on: x·(4c/pi) by the 25-bit chunks of 4c/pi times 2^200 (x is scaled by 2^-200 to
// match, so that no product of the far chunks falls below the normal range).  x is split into
// 26 and 27 bits, so every product of a chunk with a half is exact.  The chunks are numbered
// by the place of their bits: row r, the first that matters, is the one whose products with
// the earlier rows are all multiples of 8 octants (a whole period) and fall away.  The four
// products that carry the integer part are taken modulo 8 one by one, exactly, and added
// exactly (they lie on a grid of 2^-47 and below 32); the later products, largest first, go
// into a three-part expansion, so that nothing is lost when the fraction cancels down to
// 2^-62 (the closest a double comes to a multiple of pi/2).  The nearest count of the wanted
// parity is taken from the expansion's head and subtracted exactly; the fraction, in
// [-1, 1] octants, is multiplied by the octant in two parts.
#include <cstdint>

#include "elementary/trig_data.h"
#include "elementary/trig_kernels.h"
#include "tsr/common.h"
#include "tsr/dd.h"

using namespace tsr;
using namespace tsr::trig;
using tsr::dd::DD;

namespace {

constexpr uint64_t kSign = 0x8000000000000000ull;

// v modulo 8 for v >= 0 below 2^54 whose last bit is worth at least 2^-1074: v - 8·floor(v/8)
// is on v's grid and below 8, hence exact.
inline double mod8(double v) { return v - 8.0 * double(int64_t(v * 0.125)); }

// a·K less the nearest integer k of the parity par, for a >= 2^29 finite (exponent field
// 0x41c on): returns k mod 8 and the fraction f in [-1, 1] as a double-double, within 2^-150.
inline int chunk_fraction(double a, const double *ch, int par, DD &f) {
    uint64_t b = bits(a);
    int E = int(b >> 52);
    double xs = f64(b - (uint64_t(200) << 52));          // a·2^-200
    double xh = f64(bits(xs) & 0xfffffffff8000000ull);  // its top 26 bits
    double xl = xs - xh;                                 // the other 27
    const double *c = ch + (E - 1052) / 25;              // row r
    double S = (mod8(c[0] * xl) + mod8(c[1] * xh)) + (mod8(c[1] * xl) + mod8(c[2] * xh));
    double h = mod8(S), m = 0, l = 0;
    for (int i = 2; i < 8; i++) {
        double p[2] = {c[i] * xl, c[i + 1] * xh};
        for (double v : p) {
            DD s = dd::two_sum(h, v);
            DD t = dd::two_sum(m, s.l);
            h = s.h;
            m = t.h;
            l += t.l;
        }
    }
    // h lies in [0, 32) on a grid of 2^-48 at least: the rounding to the nearest count of the
    // parity and the subtraction are exact.
    double k = 2.0 * double(int64_t((h - par) * 0.5 + 0.5)) + par;
    h -= k;
    DD s = dd::two_sum(h, m);
    f = dd::fast_two_sum(s.h, s.l + l);
    return int(int64_t(k) & 7);
}

// y[0] + y[1] = x - n·(pi/2)/c with the constants K of c; returns n & 3.
inline int reduce_period(double x, double y[2], const ReduceConsts &K, const double *chunks) {
    uint64_t b = bits(x);
    uint64_t sign = b & kSign;
    double a = f64(b ^ sign);
    uint32_t E = uint32_t(b >> 52) & 0x7ff;
    int n;
    double hi, lo;
    if (E <= 0x41c) {  // |x| < 2^30 (and NaN-free: the callers pass finite x)
        int64_t q = int64_t(a * K.mult);  // octants, truncated
        int64_t m = q + (q & 1);          // rounded up to even: a - m·octant in [-1, 1] octants
        n = int(m >> 1);
        double d = double(m);
        const double *P = E <= 0x415 ? K.below : K.above;  // below 2^23: counts below 2^25
        int last = E <= 0x415 ? 3 : 4;
        hi = a - d * P[0];
        lo = 0;
        for (int i = 1; i < last; i++) {
            DD s = dd::two_sum(hi, -d * P[i]);
            hi = s.h;
            lo += s.l;
        }
        lo -= d * P[last];
    } else {
        DD f;
        n = chunk_fraction(a, chunks, 0, f) >> 1;
        // f·octant: the head cut to 26 bits, so that its product with the short first part
        // of the octant is exact; the rest within 2^-78 of y.
        DD fs = dd::split(f.h);
        hi = fs.h * K.fin[0];
        lo = (fs.l + f.l) * K.fin[0] + f.h * K.fin[1];
    }
    DD r = dd::fast_two_sum(hi, lo);
    if (sign) {
        r = dd::neg(r);
        n = -n;
    }
    y[0] = r.h;
    y[1] = r.l;
    return n & 3;
}

}  // namespace

extern "C" {

int __libm_reduce_pio2d(double x, double y[2]) noexcept {
    return reduce_period(x, y, reduce_pio2, fouropi_chunks);
}

int __libm_reduce_pio2ln2(double x, double y[2]) noexcept {
    return reduce_period(x, y, reduce_ln2, foln2_chunks);
}

int __libm_reduce_pio2ln10(double x, double y[2]) noexcept {
    return reduce_period(x, y, reduce_ln10, foln10_chunks);
}

// x >= 2^29: y = x - m·pi/4 in [-pi/4, pi/4] with n + m even; returns n + m (modulo 8 in m).
int __libm_reduce_pi04d(double x, double *y, int n) noexcept {
    DD f;
    int m = chunk_fraction(x, fouropi_chunks, n & 1, f);
    *y = f.h * reduce_pio2.fin[0] + (f.h * reduce_pio2.fin[1] + f.l * reduce_pio2.fin[0]);
    return n + m;
}

}  // extern "C"
