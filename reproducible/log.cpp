// The reproducible logarithms: __bwr_log, __bwr_log2, __bwr_log10 and __bwr_log1pf.
//
// The ex bodies of log, log2 and log10 take their reduction factor from the processor's
// reciprocal estimate, whose last bits differ between makers.  Here the mantissa's top bits
// pick a row of bwr_log_rows instead: r = 1/(2 + i/128) with 25 significant bits and
// ln(2r) = Lhi + Llo.  With y = 2*mantissa in [2, 4) cut into yh (27 bits) and yl,
// yh*r - 1 is exact and yl*r is one rounding, so t = y*r - 1 is known to about 2^-105
// relative to |t| <= 2^-8.5, and
//     ln x = n ln2 - ln(2r) + ln(1 + t),   ln(1 + t) = t - t^2/2 + t^3 P(t)
// with the polynomial of bwr_log_poly (|t| <= 0x1.001p-9, relative error 2^-61.35).  n ln2 - Lhi
// is summed with t by Fast-Two-Sum steps, so the result is the head S plus a tail that
// carries everything else: ln x = S + tail to about 2^-64 relative, rounded once in the
// caller's mode at the end.  At x just below a power of two the row is 256, whose
// (Lhi, Llo) is the split of -ln 2 itself, so n ln2 - Lhi cancels exactly and the result
// keeps its relative accuracy near 1.
//
// log2 and log10 multiply S + tail by the constant as three words: the head of S (26 bits)
// times the constant's 26-bit head is exact, the cross products of 26 and 27 bits are
// exact, and what rounds is below 2^-78 of the result.  Exact results (log2 of a power of
// two, log10 of a power of ten, and 1) are returned as such.  Every operation is a plain
// double operation, rounded on its own: the same bits on every processor.
#include "elementary/log_common.h"
#include "reproducible/bwr_data.h"
#include "tsr_decls.h"

using namespace tsr;

namespace {

// ln 2 split: the high part has 11 low zero bits, so n*kLn2Hi is exact for every n.
constexpr double kLn2Hi = 0x1.62e42fefa38p-1;
constexpr double kLn2Lo = 0x1.ef35793c768p-45;

struct LnParts {
    double S, tail;  // ln x = S + tail, |tail| <= 2^-50 |S| or so
};

// ln of a positive finite x as a head and a tail (the reduction of the file's comment).
inline LnParts ln_parts(double x) {
    uint64_t b = bits(x);
    int adj = 0;
    if ((b >> 52) == 0) {  // subnormal: moved up by 2^52 by integer work (exact)
        b = bits(scale_subnormal(x, 52));
        adj = -52;
    }
    double n = double(int(b >> 52) + adj - 1023);
    uint64_t m = b & 0x000fffffffffffffull;
    double y = f64(0x4000000000000000ull | m);
    int i = int((m + (uint64_t(1) << 43)) >> 44);
    const bwr::LogRow &row = bwr::bwr_log_rows[i];
    double yh = f64(bits(y) & 0x400ffffffc000000ull);
    double yl = y - yh;             // exact: the low 26 bits of y
    double h = yh * row.r - 1.0;    // exact: 27 x 25 bits, within 2^-8 of 1
    double l = yl * row.r;
    double t = h + l;
    double l2 = l - (t - h);        // what t lost of l (|h| >= |l| or h = 0)
    const double *c = bwr::bwr_log_poly;  // c3 .. c6; c2 = -1/2
    double P = (((c[3] * t + c[2]) * t + c[1]) * t + c[0]) * t - 0.5;
    double Q = (t * t) * P;
    double tail = (l2 - t * l2) + Q;  // l2 times d ln(1+t)/dt, plus the polynomial
    double A = n * kLn2Hi;          // exact
    double s = A - row.hi;
    double S = s + t;
    double e = (s - S) + t;
    double B = (n * kLn2Lo - row.lo) + ((A - s) - row.hi);
    return {S, (e + B) + tail};
}

// (S + tail) * c for a constant c given as three words (head of 26 bits, middle of 27).
inline double times_const(LnParts p, const double c[3]) {
    double Sh = f64(bits(p.S) & 0xfffffffff8000000ull);
    double Sl = p.S - Sh;  // exact: the low 27 bits of S
    double rest = (Sh * c[1] + Sl * c[0]) + (Sl * c[1] + (p.S * c[2] + p.tail * (c[0] + c[1])));
    return Sh * c[0] + rest;  // Sh * c[0]: exact
}

// NaN: x - x (quiet, invalid for a signalling one); +inf: x.
inline double log_nonfinite(double x) { return (bits(x) << 1) > 0xffe0000000000000ull ? x - x : x; }

}  // namespace

TSR_DEFINE(double, __bwr_log, (double x)) {
    uint64_t b = bits(x);
    // ln 1 is +0 in every rounding mode (rounding downward, 0 - 0 would give -0).
    if (b == 0x3ff0000000000000ull) return 0.0;
    if (b - 1 >= 0x7fefffffffffffffull) {  // not positive and finite
        if ((b << 1) == 0) return logk::pole(x, code::log_argument_0);
        if (b < 0x8000000000000000ull || (b << 1) > 0xffe0000000000000ull) return log_nonfinite(x);
        // Negative: invalid, with the positive quiet NaN for a finite x and x - x for -inf.
        double nan_result = b == 0xfff0000000000000ull ? x - x : (raise_invalid(), f64(0x7ff8000000000000ull));
        return report(x, nan_result, code::log_argument_negative);
    }
    LnParts p = ln_parts(x);
    return p.S + p.tail;
}

TSR_DEFINE(double, __bwr_log2, (double x)) {
    uint64_t b = bits(x);
    if (b - 1 >= 0x7fefffffffffffffull) {
        if ((b << 1) == 0) return logk::pole(x, code::log2_argument_0);
        if (b < 0x8000000000000000ull || (b << 1) > 0xffe0000000000000ull) return log_nonfinite(x);
        return logk::domain(x, code::log2_argument_negative);
    }
    // A power of two: its exponent, exact (subnormal powers included).
    if ((b & 0x000fffffffffffffull) == 0) return double(int(b >> 52) - 1023);
    if ((b >> 52) == 0 && (b & (b - 1)) == 0) return double(-1074 + __builtin_ctzll(b));
    return times_const(ln_parts(x), bwr::bwr_log2e);
}

TSR_DEFINE(double, __bwr_log10, (double x)) {
    uint64_t b = bits(x);
    if (b == 0x3ff0000000000000ull) return 0.0;
    if (b - 1 >= 0x7fefffffffffffffull) {
        if ((b << 1) == 0) return logk::pole(x, code::log10_argument_0);
        if (b < 0x8000000000000000ull || (b << 1) > 0xffe0000000000000ull) return log_nonfinite(x);
        return logk::domain(x, code::log10_argument_negative);
    }
    double k;
    if (logk::log10_exact(b, &k)) return k;
    return times_const(ln_parts(x), bwr::bwr_log10e);
}

// log1pf as its ex body, with the reproducible logarithm of 1 + x in double.
TSR_DEFINE(float, __bwr_log1pf, (float x)) {
    float r;
    if (logk::log1pf_front(x, &r)) return r;
    return float(__bwr_log_local(1.0 + double(x)));
}
