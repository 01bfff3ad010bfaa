// Double-double arithmetic: a value carried as an unevaluated sum h + l of two doubles with
// |l| <= ulp(h)/2, worth about 106 bits.  Every family that needs more than a double between
// its steps (the accurate reductions, the final sums of the table methods, the accurate phase
// of the correctly rounded functions) takes its pieces from here.
//
// The error-free transformations are exact in round-to-nearest, which every caller holds
// (under a rounding guard or by its own design); in a directed mode they still give a sum or
// product to within a couple of ulps of the low part.
//
// Products come in two forms chosen at compile time: with a fused multiply-add (the tiers that
// have one) or by Veltkamp's split at 27 bits and Dekker's product (tier ex).  The split needs
// the operands below 2^995 (no overflow of a·(2^27 + 1)) and the product above 2^-969 (no
// piece falls into the subnormal range); callers outside that band scale first.
#pragma once

namespace tsr::dd {
// Internal linkage: compiled once per tier with each tier's instruction set, a copy left out
// of line must not become one the linker could take from another tier's object.
namespace {

struct DD {
    double h, l;
};

constexpr double kSplit = 0x1.0000002p+27;  // 2^27 + 1: Veltkamp's splitter for 53-bit doubles

// a + b = s + e exactly, when |a| >= |b| or a = 0 (three operations).
inline DD fast_two_sum(double a, double b) {
    double s = a + b;
    return {s, b - (s - a)};
}

// a + b = s + e exactly, whatever the order of magnitude (six operations).
inline DD two_sum(double a, double b) {
    double s = a + b;
    double bb = s - a;
    return {s, (a - (s - bb)) + (b - bb)};
}

// v = hi + lo with hi holding the leading 26 bits, exactly.
inline DD split(double v) {
    double t = v * kSplit;
    double hi = t - (t - v);
    return {hi, v - hi};
}

// v = hi + lo with hi the leading 26 bits kept by truncation: no multiplication, so no
// overflow for any finite v, but lo may hold 27 bits.
inline DD split_cut(double v) {
    double hi = __builtin_bit_cast(double, __builtin_bit_cast(unsigned long long, v) & 0xfffffffff8000000ull);
    return {hi, v - hi};
}

// a·b = p + e to about 2^-104 relative with truncated halves (split_cut): every partial
// product is exact but the last, of two 27-bit halves, which may round.
inline DD two_prod_cut(double a, double b) {
    double p = a * b;
    DD x = split_cut(a), y = split_cut(b);
    return {p, ((x.h * y.h - p) + x.h * y.l + x.l * y.h) + x.l * y.l};
}

// a·b = p + e exactly.
template <bool Fma = false>
inline DD two_prod(double a, double b) {
    double p = a * b;
    if constexpr (Fma) {
        return {p, __builtin_fma(a, b, -p)};
    } else {
        DD x = split(a), y = split(b);
        return {p, ((x.h * y.h - p) + x.h * y.l + x.l * y.h) + x.l * y.l};
    }
}

// a·k = p + e exactly for a constant k whose 26-bit halves are given (k_halves = split(k)):
// only a is split, so a zero a raises nothing and two multiplications are saved.
template <bool Fma = false>
inline DD two_prod_k(double a, double k, DD k_halves) {
    double p = a * k;
    if constexpr (Fma) {
        return {p, __builtin_fma(a, k, -p)};
    } else {
        DD x = split(a);
        return {p, ((x.h * k_halves.h - p) + x.h * k_halves.l + x.l * k_halves.h) + x.l * k_halves.l};
    }
}

// a·b + c in one rounding where the tier has the instruction, two roundings where not.
template <bool Fma = false>
inline double mul_add(double a, double b, double c) {
    if constexpr (Fma) return __builtin_fma(a, b, c);
    else return a * b + c;
}

inline DD neg(DD a) { return {-a.h, -a.l}; }

// (a.h + a.l) + (b.h + b.l), relative error about 2^-105 unless the sum cancels.
inline DD add(DD a, DD b) {
    DD s = two_sum(a.h, b.h);
    return fast_two_sum(s.h, s.l + a.l + b.l);
}

// (a.h + a.l) + b.
inline DD add(DD a, double b) {
    DD s = two_sum(a.h, b);
    return fast_two_sum(s.h, s.l + a.l);
}

// (a.h + a.l)·(b.h + b.l), relative error about 2^-104 (the a.l·b.l term is dropped).
template <bool Fma = false>
inline DD mul(DD a, DD b) {
    DD p = two_prod<Fma>(a.h, b.h);
    return fast_two_sum(p.h, p.l + (a.h * b.l + a.l * b.h));
}

// (a.h + a.l)·b, relative error about 2^-104.
template <bool Fma = false>
inline DD mul(DD a, double b) {
    DD p = two_prod<Fma>(a.h, b);
    return fast_two_sum(p.h, p.l + a.l * b);
}

// x·(ch + cl) without renormalising: a head and a tail within 2^-104 relative of the product,
// for the caller that adds the result into a larger sum next.
template <bool Fma = false>
inline DD mul_raw(double x, DD c) {
    DD p = two_prod<Fma>(x, c.h);
    return {p.h, p.l + x * c.l};
}

// (a.h + a.l)/(b.h + b.l): the quotient of the heads and one correction, relative error about
// 2^-104.
template <bool Fma = false>
inline DD div(DD a, DD b) {
    double q = a.h / b.h;
    DD p = two_prod<Fma>(q, b.h);
    double e = (((a.h - p.h) - p.l) + a.l - q * b.l) / b.h;
    return fast_two_sum(q, e);
}

}  // namespace
}  // namespace tsr::dd
