// ln x, log2 x, log10 x and ln(1 + x) in extended precision: the short logarithm of
// ext_common.h gives ln x = s + t (s the head, its sum with the exponent's ln 2 exact), and
// one final sum per base.
//
//   ln x     s + t;
//   log2 x   (s + t) times 1/ln2 as a pair (its 32-bit head times the 32-bit head of s is
//            exact); powers of two exact;
//   log10 x  (s + t) times 1/ln10 as a pair;
//   ln(1+x)  the series in x itself for |x| < 2^-7; else s' + t' = 1 + x exactly and
//            ln s' + t'/s' (from 2^64 on, ln x).
//
// The last addition rounds once: the error is 0.5 ulp plus about 2^-9 ulp in
// round-to-nearest.  Zero, negative arguments (and -1, below -1 for ln(1 + x)) are reported
// after the caller's control word is back; domain errors give the default quiet NaN with
// invalid raised.
#include "extended/ext_common.h"

using namespace tsr;
using namespace tsr::x80;

#if TSR_TIER_EX
namespace {

// Zero, negative values, infinities, NaNs and refused encodings: true with *r set.
inline bool log_special(LD x, const Ext &v, int zero_code, int neg_code, LD *r) {
    uint32_t f = v.se & 0x7fff;
    if (f == 0x7fff || invalid_encoding(v)) {
        if (v.m == kOne64 && !(v.se >> 15)) *r = x;  // +inf
        else if (v.m == kOne64) *r = report(x, default_nan(), neg_code);
        else *r = x + x;
        return true;
    }
    if (f == 0 && v.m == 0) {
        LD d = opaque(-1.0L) / opaque(0.0L);  // divide-by-zero
        *r = report(x, d, zero_code);
        return true;
    }
    if (v.se >> 15) {
        *r = report(x, default_nan(), neg_code);
        return true;
    }
    return false;
}

inline bool positive_finite(const Ext &v) { return key(v) - 0x00008000u < 0x7fff0000u - 0x00008000u && (v.m >> 63); }

}  // namespace

TSR_BODY(long double, logl, (long double x)) {
    Ext v = ext_in(x);
    LD r;
    if (__builtin_expect(!positive_finite(v), 0)) {
        if (log_special(x, v, code::logl_argument_0, code::logl_argument_negative, &r)) return r;
    }
    if (__builtin_expect(key(v) == 0x3fff8000u && v.m == kOne64, 0)) return 0.0L;
    X87Frame fr;
    LD s, t;
    log_short(unpack(v), s, t);
    return fr.finish(s + t);
}

TSR_DEFINE(long double, log2l, (long double x)) {
    Ext v = ext_in(x);
    LD r;
    if (__builtin_expect(!positive_finite(v), 0)) {
        if (log_special(x, v, code::log2l_argument_0, code::log2l_argument_negative, &r)) return r;
    }
    Unpacked u = unpack(v);
    if (__builtin_expect(u.m == kOne64, 0)) return LD(u.e);  // powers of two, exactly
    X87Frame fr;
    LD s, t, h, l;
    log_short(u, s, t);
    mul_const(s, t, kLog2e_32, h, l);
    return fr.finish(h + l);
}

TSR_DEFINE(long double, log10l, (long double x)) {
    Ext v = ext_in(x);
    LD r;
    if (__builtin_expect(!positive_finite(v), 0)) {
        if (log_special(x, v, code::log10l_argument_0, code::log10l_argument_negative, &r)) return r;
    }
    if (__builtin_expect(key(v) == 0x3fff8000u && v.m == kOne64, 0)) return 0.0L;
    X87Frame fr;
    LD s, t, h, l;
    log_short(unpack(v), s, t);
    mul_const(s, t, kLog10e_32, h, l);
    return fr.finish(h + l);
}

TSR_BODY(long double, log1pl, (long double x)) {
    Ext v = ext_in(x);
    uint32_t f = v.se & 0x7fff;
    bool neg = v.se >> 15;
    if (__builtin_expect(f >= 0x7fff || invalid_encoding(v) || (neg && f >= 0x3fff), 0)) {
        if (f == 0x7fff && v.m == kOne64 && !neg) return x;
        if (f == 0x7fff || invalid_encoding(v)) {
            if (v.m != kOne64) return x + x;
            return report(x, default_nan(), code::log1pl_argument_below_minus_1);
        }
        if (f == 0x3fff && v.m == kOne64) {
            LD d = opaque(-1.0L) / opaque(0.0L);
            return report(x, d, code::log1pl_argument_minus_1);
        }
        return report(x, default_nan(), code::log1pl_argument_below_minus_1);
    }
    if (f < 0x3fbe) {
        if (f == 0 && v.m == 0) return x;
        X87Frame fr;
        x = opaque(load(x));
        return fr.finish(x - x * x * 0.5L);
    }
    X87Frame fr;
    LD hi, lo;
    if (f < 0x3ff8) {
        log1p_series(opaque(load(x)), hi, lo);
        return fr.finish(hi + lo);
    }
    // s + t = 1 + x exactly; ln(s + t) = ln s + t/s.  From 2^64 on, t/s is below 2^-64 of
    // ln x's last place (and 1 + x might overflow in the upward mode): ln x alone, from x's
    // own bits.
    LD s = opaque(load(x)), t = 0.0L;
    Ext e = v;
    if (__builtin_expect(f < 0x403f, 1)) {
        two_sum(1.0L, s, s, t);
        e = ext_in(s);  // the words read within the stored value, so that they forward
    }
    log_short(unpack(e), hi, lo);
    lo += t / s;
    return fr.finish(hi + lo);
}
#endif
