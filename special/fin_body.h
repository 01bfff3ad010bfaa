// The entry bodies of annuity and compound in each precision: the table of special values
// with its reports, the core, and the reports of the result (double: an infinite result is an
// overflow, a zero one an underflow; single: a subnormal or zero result is an underflow as
// well, raised here since the double result may have been exact; extended: a zero exponent
// field is an underflow, all ones an overflow).  What the handler leaves in the result slot is
// returned.
#pragma once
#include "special/fin_common.h"
#include "special/fin_ext.h"

namespace tsr::fin {
namespace {

template <Fn F, double (*Core)(double, double)>
inline double entry(double x, double y, const Codes &kCodes) {
    double r;
    int c = 0;
    if (__builtin_expect(special_value<F>(x, y, is_nan(x), is_nan(y), r, c, kCodes), 0))
        return c ? report(x, y, r, c) : r;
    r = Core(x, y);
    if (__builtin_expect((bits(r) & Format<double>::abs) - 1 >= Format<double>::inf - 1, 0)) {
        if (r == 0.0) return report(x, y, r, kCodes.under);
        return report(x, y, r, kCodes.over);
    }
    return r;
}

template <Fn F, double (*Core)(double, double)>
inline float entry_f(float x, float y, const Codes &kCodesF) {
    float r;
    int c = 0;
    if (__builtin_expect(special_value<F>(x, y, is_nan(x), is_nan(y), r, c, kCodesF), 0)) {
        if (!c) return r;
        r = report(x, y, r, c);
        // At annuityf's pole the value is +inf whatever the handler left.
        return F == Fn::annuity && c == kCodesF.pole ? Format<float>::from(Format<float>::inf) : r;
    }
    r = float(Core(double(x), double(y)));
    uint32_t m = bits(r) & Format<float>::abs;
    if (__builtin_expect(m < 0x00800000u, 0)) {
        // Subnormal or zero: an underflow unless the value is exactly r, raised here as the
        // double result is a normal double.
        double e;
        bool exact = (F == Fn::compound ? exact_compound(x, y, &e) : exact_annuity(x, y, &e)) && double(r) == e;
        if (!exact) force(opaque(0x1p-100f) * 0x1p-100f);
        return report(x, y, r, kCodesF.under);
    }
    if (__builtin_expect(m == Format<float>::inf, 0)) return report(x, y, r, kCodesF.over);
    return r;
}

template <Fn F, long double (*Core)(long double, long double)>
inline long double entry_l(long double x, long double y, const Codes &kCodesL) {
    long double r;
    int c = 0;
    // An encoding the x87 unit refuses (an unnormal) counts as a NaN: the sum makes one.
    bool xn = x80::is_nan(ext(x)), yn = x80::is_nan(ext(y));
    if (__builtin_expect(special_value<F>(x, y, xn, yn, r, c, kCodesL), 0))
        return c ? report(x, y, r, c) : r;
    r = Core(x, y);
    Ext e = ext(r);
    if (__builtin_expect((e.se & 0x7fff) == 0 || (e.se & 0x7fff) == 0x7fff, 0)) {
        // A zero exponent field (zero or subnormal) is an underflow, all ones an overflow.
        return report(x, y, r, (e.se & 0x7fff) == 0 ? kCodesL.under : kCodesL.over);
    }
    return r;
}

}  // namespace
}  // namespace tsr::fin
