// The sine and cosine kernels, compiled once (no tiers).
//
// __libm_sincos_k64 runs the 64-row core of sin (trig_common.h) on the rows j and j + 16
// and keeps its head and tail apart, renormalised: about 2^-62 of the value.  Arguments of
// 2^17 and more take the octant reduction first.
#include "elementary/trig_kernels.h"
#include "elementary/trig_common.h"

using namespace tsr;
using namespace tsr::trig;

namespace {
inline void two(double h, double t, double out[2]) {
    double v = h + t;
    out[0] = v;
    out[1] = t - (v - h);
}
}  // namespace

extern "C" void __libm_sincos_k64(double x, double s[2], double c[2]) noexcept {
    uint32_t E = uint32_t(bits(x) >> 52) & 0x7ff;
    if (E == 2047) {
        s[0] = c[0] = x - x;
        s[1] = c[1] = 0.0;
        return;
    }
    if (E < 771) {  // |x| < 2^-252: sin x = x and cos x = 1 to far below a double-double's reach
        s[0] = x;
        c[0] = 1.0;
        s[1] = c[1] = 0.0;
        return;
    }
    double tail = 0;
    int off = 0;
    if (E >= 0x410) {  // |x| >= 2^17
        Reduced h = reduce_huge<3>(x);
        x = h.y;
        tail = h.t;
        off = 8 * h.n;
    }
    int k = k32_trunc(x);
    Red64 d = red64(x, k);
    d.e -= tail;
    double ts, tc;
    double hs = rows64_sum(sincos_rows64[(k + off) & 63], d, ts);
    double hc = rows64_sum(sincos_rows64[(k + off + 16) & 63], d, tc);
    two(hs, ts, s);
    two(hc, tc, c);
}
