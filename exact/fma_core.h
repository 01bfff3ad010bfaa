// The exact core of the software fused multiply-adds: x * y + z with one rounding, on
// integer significands held in limbs (32-bit limbs for tier ex and the extended form, 64-bit
// for tier e7), for the float, double and extended formats.
//
// Operands come unpacked as m * 2^e with m's top bit at bit p-1 (subnormals normalised).
// The product X*Y (up to 2p bits) and Z are each placed with their top bit at bit T of a
// window of B bits (T = B - 2, the bit above left for a carry).  The smaller of the two
// magnitudes is shifted right by the gap between them, its dropped bits OR-ed into bit 0
// (a sticky bit), and added to or taken from the larger.  The window is wide enough for
// this to round correctly: when the gap is 2 or more the difference keeps its top bit at
// T - 1 or T, far above bit 0 where the sticky bit lies (T - 1 - p > 2 in every format);
// when the gap is 0 or 1 nothing is dropped (2p + 1 <= T), the difference is exact and
// may cancel to any depth.
//
// Rounding follows x86 exactly: the result's last place is that of a p-bit significand,
// or of the subnormal range below 2^emin; tininess is judged after rounding (a value just
// below 2^emin that rounds to it at p bits and unbounded exponent is not tiny), and
// underflow is signalled only when the result is also inexact.
#pragma once
#include <cstdint>
#include <type_traits>

namespace tsr::fma {
namespace {

// Rounding-direction field of the MXCSR (bits 13-14) and of the x87 control word (10-11).
enum : int { kNearest = 0, kDown = 1, kUp = 2, kZero = 3 };

template <class L, int N>
struct Wide {
    static constexpr int kLimb = 8 * sizeof(L);
    static constexpr int kBits = N * kLimb;
    using D = std::conditional_t<sizeof(L) == 4, uint64_t, unsigned __int128>;
    L w[N];  // least significant limb first

    static Wide from64(uint64_t v) {
        Wide r{};
        for (int i = 0; i < N && i * kLimb < 64; ++i) r.w[i] = L(v >> (i * kLimb));
        return r;
    }
    // The full product of two 64-bit significands, by limbs (schoolbook).
    static Wide product(uint64_t x, uint64_t y) {
        constexpr int K = 64 / kLimb;  // limbs of one factor
        L a[K], b[K];
        for (int i = 0; i < K; ++i) {
            a[i] = L(x >> (i * kLimb));
            b[i] = L(y >> (i * kLimb));
        }
        Wide r{};
        for (int i = 0; i < K; ++i) {
            D carry = 0;
            for (int j = 0; j < K && i + j < N; ++j) {
                D t = D(a[i]) * b[j] + r.w[i + j] + carry;
                r.w[i + j] = L(t);
                carry = t >> kLimb;
            }
            if (i + K < N) r.w[i + K] = L(carry);
        }
        return r;
    }
    int msb() const {
        for (int i = N - 1; i >= 0; --i)
            if (w[i]) return i * kLimb + (kLimb - 1 - (sizeof(L) == 4 ? __builtin_clz(uint32_t(w[i]))
                                                                      : __builtin_clzll(uint64_t(w[i]))));
        return -1;
    }
    bool bit(int i) const { return (w[i / kLimb] >> (i % kLimb)) & 1; }
    // Whether any bit below bit n is set.
    bool any_below(int n) const {
        if (n <= 0) return false;
        if (n >= kBits) n = kBits;
        int q = n / kLimb, r = n % kLimb;
        for (int i = 0; i < q; ++i)
            if (w[i]) return true;
        return r && (w[q] & ((L(1) << r) - 1));
    }
    // Bits s to s + 63 (s >= 0), as one word.
    uint64_t get64(int s) const {
        uint64_t v = 0;
        int q = s / kLimb, r = s % kLimb;
        for (int i = 0; q + i < N; ++i) {
            int pos = i * kLimb - r;  // where limb q + i's bit 0 lands
            if (pos >= 64) break;
            uint64_t part = uint64_t(w[q + i]);
            v |= pos >= 0 ? part << pos : part >> -pos;
        }
        return v;
    }
    void shl(int s) {
        int q = s / kLimb, r = s % kLimb;
        for (int i = N - 1; i >= 0; --i) {
            L hi = i - q >= 0 ? w[i - q] : 0;
            L lo = i - q - 1 >= 0 ? w[i - q - 1] : 0;
            w[i] = r ? L((hi << r) | (lo >> (kLimb - r))) : hi;
        }
    }
    // Shift right by s, the dropped bits OR-ed into bit 0.
    void shr_jam(int s) {
        if (s <= 0) return;
        bool sticky = any_below(s);
        if (s >= kBits) {
            *this = Wide{};
        } else {
            int q = s / kLimb, r = s % kLimb;
            for (int i = 0; i < N; ++i) {
                L lo = i + q < N ? w[i + q] : 0;
                L hi = i + q + 1 < N ? w[i + q + 1] : 0;
                w[i] = r ? L((lo >> r) | (hi << (kLimb - r))) : lo;
            }
        }
        w[0] |= L(sticky);
    }
    void add(const Wide &o) {
        D carry = 0;
        for (int i = 0; i < N; ++i) {
            D t = D(w[i]) + o.w[i] + carry;
            w[i] = L(t);
            carry = t >> kLimb;
        }
    }
    void sub(const Wide &o) {  // *this >= o
        L borrow = 0;
        for (int i = 0; i < N; ++i) {
            L a = w[i], b = o.w[i];
            L d = L(a - b - borrow);
            borrow = (a < b) || (a == b && borrow);
            w[i] = d;
        }
    }
    bool less(const Wide &o) const {
        for (int i = N - 1; i >= 0; --i)
            if (w[i] != o.w[i]) return w[i] < o.w[i];
        return false;
    }
};

// An operand m * 2^e, m with its top bit at bit p-1.
struct Op {
    uint64_t m;
    int e;
};

// The rounded result: sign, and magnitude M * 2^lsb with M at most 2^p (2^p when the
// rounding carried out of the top); or an exact cancellation.
struct Rounded {
    bool neg;
    bool cancel;
    bool inexact;
    bool tiny;  // below 2^emin after rounding to p bits at unbounded exponent
    int er;     // exponent of the exact value's top bit, 2^er <= |v| < 2^(er+1)
    int lsb;
    unsigned __int128 M;
};

inline bool round_up(int rc, bool neg, bool odd, bool half, bool sticky) {
    switch (rc) {
    case kNearest: return half && (sticky || odd);
    case kDown: return neg && (half || sticky);
    case kUp: return !neg && (half || sticky);
    default: return false;
    }
}

// x * y + z for nonzero finite operands; P = p, emin of the format.
template <int P, int EMIN, class L, int N>
inline Rounded core(bool np, Op x, Op y, bool nz, Op z, int rc) {
    using W = Wide<L, N>;
    constexpr int T = W::kBits - 2;
    static_assert(2 * P + 1 <= T, "the window holds the product with room for exactness");

    W prod = W::product(x.m, y.m);
    int sp = T - prod.msb();
    prod.shl(sp);
    int ep = x.e + y.e - sp;  // exponent of bit 0 of the placed product
    W zz = W::from64(z.m);
    int sz = T - (P - 1);
    zz.shl(sz);
    int ez = z.e - sz;

    bool pbig = ep > ez || (ep == ez && !prod.less(zz));
    W &a = pbig ? prod : zz;
    W &b = pbig ? zz : prod;
    int e0 = pbig ? ep : ez;
    int gap = pbig ? ep - ez : ez - ep;
    b.shr_jam(gap > W::kBits ? W::kBits : gap);

    Rounded r{};
    r.neg = pbig ? np : nz;
    if (np == nz) a.add(b);
    else a.sub(b);
    int k = a.msb();
    if (k < 0) {
        r.cancel = true;
        return r;
    }
    int er = e0 + k;
    r.er = er;
    int lsb = er - P + 1 < EMIN - P + 1 ? EMIN - P + 1 : er - P + 1;
    int sh = lsb - e0;  // bit of a that becomes the result's last place
    uint64_t m;
    bool half = false, sticky = false;
    if (sh <= 0) {
        m = a.get64(0) << -sh;  // exact (only a deep cancellation comes here)
    } else {
        m = a.get64(sh);
        half = sh - 1 < W::kBits && a.bit(sh - 1);
        sticky = a.any_below(sh - 1);
    }
    r.inexact = half || sticky;
    r.M = (unsigned __int128)m + round_up(rc, r.neg, m & 1, half, sticky);
    r.lsb = lsb;
    if (r.inexact && er < EMIN) {
        r.tiny = true;
        if (er == EMIN - 1) {
            // Rounded to p bits, one place further down: tiny unless that carries to 2^emin.
            int s1 = sh - 1;
            uint64_t m1 = a.get64(s1);
            bool h1 = s1 > 0 && s1 - 1 < W::kBits && a.bit(s1 - 1), t1 = a.any_below(s1 - 1);
            unsigned __int128 r1 = (unsigned __int128)m1 + round_up(rc, r.neg, m1 & 1, h1, t1);
            r.tiny = r1 != ((unsigned __int128)1 << P);
        }
    }
    return r;
}

}  // namespace
}  // namespace tsr::fma
