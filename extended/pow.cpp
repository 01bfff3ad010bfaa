// x^y in extended precision.
//
// Special operands follow C99 (x^+-0 = 1 and 1^y = 1 even for a NaN; a signalling NaN there
// raises invalid; -1^+-inf = 1; zeros and infinities by the parity of y), with the reports:
// 0 to a negative power (pole, 21), a negative base with a non-integer power (domain, 22), a
// NaN to the power 0 (23), overflow (18) and underflow (19).
//
// y = 1/2: the unit's square root (correctly rounded).  Integer y with |y| < 46: |x| = 2^e m,
// m^|y| by repeated squaring on exact pairs (so exact powers come out exact), the reciprocal
// of the pair for negative y, one rounding, then the scale 2^(e y).
// Otherwise: log2|x| as a pair (the logarithm core and 1/ln2 as a pair, about 2^-80
// relative), its product with y as an exact pair, and 2^z by the exponential core, which
// rounds once: below 0.6 ulp for results far from the range ends.
#include "extended/ext_common.h"

using namespace tsr;
using namespace tsr::x80;

#if TSR_TIER_EX
namespace {

enum YType { kNotInt, kOdd, kEven };

// Whether finite non-zero y (field f, significand m) is an integer, and its parity.
inline YType ytype(uint32_t f, uint64_t m) {
    if (f < 0x3fff) return kNotInt;
    int sh = int(f) - 0x3fff;
    if (sh >= 63) return kEven;
    if (m << (sh + 1)) return kNotInt;
    return ((m >> (63 - sh)) & 1) ? kOdd : kEven;
}

inline bool is_snan(const Ext &v) { return (v.se & 0x7fff) == 0x7fff && (v.m >> 63) && !(v.m & 0x4000000000000000ull) && (v.m << 1); }

// The product of pairs (ah + al)(bh + bl) as a pair.
inline void mul_pair(LD ah, LD al, LD bh, LD bl, LD &h, LD &l) {
    LD p, e;
    two_prod<true>(ah, bh, p, e);
    e += ah * bl + al * bh;
    fast_two_sum(p, e, h, l);
}

// y (sign `neg`) times 2^k with the reports: y is in about [1, 2) and already rounded.
// lo is the rounding error of y where known (0 otherwise).
inline LD finish(X87Frame &fr, LD x, LD y, LD z, int k, LD lo = 0.0L) {
    Ext v = ext(y);
    int ey = int(v.se & 0x7fff) - 0x3fff;
    int ke = k + ey;
    ke = ke > 30000 ? 30000 : ke < -30000 ? -30000 : ke;
    LD r = scale_pair(y * pow2l(-ey), lo * pow2l(-ey), ke);
    r = fr.finish(r);
    if (__builtin_expect(ke >= 16384, 0)) return report(x, z, r, code::powl_overflow);
    if (__builtin_expect(ke < -16382, 0)) return report(x, z, r, code::powl_underflow);
    return r;
}

// |x|^n for a positive integer n < 46 as a pair, with x = m in [1, 2).
inline void ipow(LD m, int n, LD &h, LD &l) {
    LD bh = m, bl = 0.0L;
    h = 1.0L;
    l = 0.0L;
    for (;;) {
        if (n & 1) mul_pair(h, l, bh, bl, h, l);
        n >>= 1;
        if (!n) break;
        mul_pair(bh, bl, bh, bl, bh, bl);
    }
}

LD special(LD x, LD y, const Ext &vx, const Ext &vy) {
    uint32_t fx = vx.se & 0x7fff, fy = vy.se & 0x7fff;
    bool xneg = vx.se >> 15, yneg = vy.se >> 15;
    bool xnan = (fx == 0x7fff && vx.m != kOne64) || invalid_encoding(vx);
    bool ynan = (fy == 0x7fff && vy.m != kOne64) || invalid_encoding(vy);
    if (fy == 0 && vy.m == 0) {
        if (xnan) {
            if (is_snan(vx) || invalid_encoding(vx)) force(opaque(x) + opaque(x));
            return report(x, y, 1.0L, code::powl_nan_to_the_power_0);
        }
        return 1.0L;
    }
    if (!xneg && fx == 0x3fff && vx.m == kOne64) {
        if (ynan && (is_snan(vy) || invalid_encoding(vy))) force(opaque(y) + opaque(y));
        return 1.0L;
    }
    if (xnan || ynan) return x + y;
    bool xzero = fx == 0 && vx.m == 0, xinf = fx == 0x7fff;
    if (fy == 0x7fff) {  // y = +-inf
        if (fx == 0x3fff && vx.m == kOne64) return 1.0L;  // x = -1
        bool big = fx >= 0x3fff;                            // |x| > 1 (|x| = 1 done)
        if (!xzero || !yneg) return (big != yneg) ? __builtin_infl() : 0.0L;
    }
    YType yt = fy == 0x7fff ? kEven : ytype(fy, vy.m);
    if (xzero) {
        if (yneg) {
            LD r = opaque(1.0L) / (yt == kOdd ? opaque(x) : opaque(0.0L));
            return report(x, y, r, code::powl_0_to_a_negative_power);
        }
        return yt == kOdd ? x : 0.0L;
    }
    if (xinf) {
        bool s = xneg && yt == kOdd;
        LD r = yneg ? 0.0L : __builtin_infl();
        return s ? -r : r;
    }
    // x negative, finite, non-zero, y not an integer
    return report(x, y, default_nan(), code::powl_negative_base_non_integer_power);
}

}  // namespace

TSR_BODY(long double, powl, (long double x, long double y)) {
    Ext vx = ext_in(x), vy = ext_in(y);
    uint32_t fx = vx.se & 0x7fff, fy = vy.se & 0x7fff;
    bool xneg = vx.se >> 15;
    // Special unless x is finite, non-zero and not +1, and y finite, non-zero, with proper
    // significands.
    bool ordinary = fx != 0x7fff && fy != 0x7fff && (fy != 0 || vy.m != 0) && (fx != 0 || vx.m != 0) &&
                    !invalid_encoding(vx) && !invalid_encoding(vy) && !(vx.se == 0x3fff && vx.m == kOne64);
    YType yt = kNotInt;
    if (ordinary) {
        yt = ytype(fy, vy.m);
        if (xneg && yt == kNotInt) ordinary = false;
    }
    if (__builtin_expect(!ordinary, 0)) return special(x, y, vx, vy);
    bool neg = xneg && yt == kOdd;
    bool yneg = vy.se >> 15;
    Unpacked ux = unpack(vx);
    X87Frame fr;
    x = opaque(load(x));
    y = opaque(load(y));
    if (vy.m == kOne64 && fy == 0x3ffe && !yneg) {  // y = 1/2
        LD r = fsqrt(opaque(from_ext(ux.m, 0x3fff) * (ux.e & 1 ? 2.0L : 1.0L)));
        return finish(fr, x, r, y, (ux.e - (ux.e & 1)) / 2);
    }
    if (yt != kNotInt && fy <= 0x4004 && (fy < 0x4004 || (vy.m >> 48) < 0xb800)) {  // |y| < 46
        int n = int(vy.m >> (63 - (fy - 0x3fff)));
        LD h, l;
        ipow(from_ext(ux.m, 0x3fff), n, h, l);
        if (neg) {
            h = -h;
            l = -l;
        }
        LD r;
        if (yneg) {
            LD q = 1.0L / h, p, pe;
            two_prod<true>(h, q, p, pe);
            r = q + q * (((1.0L - p) - pe) - l * q);
        } else {
            r = h + l;
        }
        long k = long(ux.e) * n;
        return finish(fr, x, r, y, int(yneg ? -k : k));
    }
    LD hi, lo, lh, ll;
    LD ax = __builtin_fabsl(x);
    Ext vax = vx;
    vax.se = uint16_t(fx);
    int e = log_parts(ax, vax, hi, lo);
    log2_pair(e, hi, lo, lh, ll);
    if (fy > 0x4100) {  // |y| > 2^258 and |log2 x| >= 2^-64: far beyond the range
        bool over = (lh > 0) != yneg;
        LD r = over ? opaque(0x1p16383L) * 0x1p16383L : opaque(0x1p-16382L) * 0x1p-16382L;
        r = fr.finish(neg ? -r : r);
        return report(x, y, r, over ? code::powl_overflow : code::powl_underflow);
    }
    LD zh, ze, z, zl;
    two_prod(y, lh, zh, ze);
    fast_two_sum(zh, ze + y * ll, z, zl);
    if (__builtin_expect(!(z < 16500.0L && z > -16600.0L), 0)) {
        bool over = z > 0;
        LD r = over ? opaque(0x1p16383L) * 0x1p16383L : opaque(0x1p-16382L) * 0x1p-16382L;
        r = fr.finish(neg ? -r : r);
        return report(x, y, r, over ? code::powl_overflow : code::powl_underflow);
    }
    ExpPair p = exp2_pair(z, zl, neg);
    return finish(fr, x, p.hi, y, p.k, p.lo);
}
#endif
