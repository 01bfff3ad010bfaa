// `tessera bench-bwr [NAME...]`: speed of each reproducible form (or of the named ones)
// against its dispatched function (the tier its slot selects on this processor, called
// through its public entry) and its ex body, side by side in one process: time-stamp-counter
// ticks per call, reciprocal throughput and latency, as the markdown table of
// docs/performance/bwr.md.  The timing frame and the call shapes are those of `tessera bench`
// (bench.cpp), with three sides instead of two.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "tool.h"

namespace tool {
namespace {

using tsr_gen::Function;

// Where each function is usually called (the first operand, and the second for two).
constexpr Range kRanges[] = {
    {"log", 1e-300, 1e300, true, 0, 0},   {"log1p", -0.9, 100, false, 0, 0},
    {"exp", -700, 700, false, 0, 0},      {"exp2", -1000, 1000, false, 0, 0},
    {"exp10", -300, 300, false, 0, 0},    {"pow", 0.1, 10, false, -50, 50},
    {"ceil", -1e6, 1e6, false, 0, 0},     {"acosh", 1, 1e6, true, 0, 0},
    {"sqrt", 1e-300, 1e300, true, 0, 0},  {"invsqrt", 1e-300, 1e300, true, 0, 0},
    {"cbrt", -1e6, 1e6, false, 0, 0},     {"hypot", -1e6, 1e6, false, -1e6, 1e6},
    {"acos", -1, 1, false, 0, 0},         {"atanh", -0.99, 0.99, false, 0, 0},
};
Range range_of(std::string name, bool single) {
    name = name.substr(6);  // less __bwr_
    if (single && name.back() == 'f') name.pop_back();
    if (name == "log2" || name == "log10") name = "log";
    if (name == "logb") return {"", -10, 10, false, 0, 0};
    if (name == "scalb") return {"", -10, 10, false, -10, 10, false, true};
    for (const char *r : {"floor", "trunc", "round", "rint", "nearbyint", "lrint", "llrint", "lround", "llround"})
        if (name == r) return kRanges[6];
    if (name == "asin") return kRanges[12];
    for (const Range &r : kRanges)
        if (name == r.name) {
            Range x = r;
            if (single && x.log) x.lo = std::max(x.lo, 1e-37), x.hi = std::min(x.hi, 1e37);
            if (single && x.name == std::string("exp")) x.lo = -87, x.hi = 88;
            if (single && x.name == std::string("exp2")) x.lo = -126, x.hi = 127;
            if (single && x.name == std::string("exp10")) x.lo = -37, x.hi = 38;
            return x;
        }
    return {"", -10, 10, false, -10, 10};
}

// One row: the reproducible form, the dispatched entry and the ex body side by side.
bool row(const Function &bwr, const Function &plain) {
    if (!timeable(bwr)) return false;
    Range r = range_of(bwr.name, bwr.prec == 'f');
    tsr_gen::AnyFn ex = plain.entry;
    if (const tsr_gen::TierEntry *t = find_tier(plain, "ex")) ex = t->fn;
    settle_slot(plain.name);
    const tsr_gen::AnyFn sides[3] = {bwr.entry, plain.entry, ex};
    Figures m = time_sides(bwr, sides, 3, r, 64, 4);
    std::string tier = slot_tier(plain.name);
    if (tier.empty()) tier = plain.bound ? "ex (bound)" : "-";
    std::printf("| %s | %s | %s | %.2f | %.2f | %.2f | %.2f | %.2f | %.2f | %.2f | %.2f |\n", bwr.name, tier.c_str(),
                range_text(r, bwr).c_str(), m.thr[0], m.thr[1], m.thr_ratio, m.lat[0], m.lat[1], m.lat_ratio,
                m.thr[2], m.lat[2]);
    std::fflush(stdout);
    return true;
}

}  // namespace

int cmd_bench_bwr(int argc, char **argv) {
    std::printf("| reproducible form | dispatched tier | inputs | throughput bwr | throughput dispatched | ratio "
                "| latency bwr | latency dispatched | ratio | throughput ex | latency ex |\n"
                "|---|---|---|---:|---:|---:|---:|---:|---:|---:|---:|\n");
    int missed = 0;
    for (const Function &f : tsr_gen::tsr_functions) {
        if (std::strncmp(f.name, "__bwr_", 6) != 0) continue;
        const std::string name = f.name, base = name.substr(6);
        bool wanted = argc == 0;
        for (int i = 0; i < argc; ++i) wanted |= argv[i] == name || argv[i] == base;
        if (!wanted) continue;
        // The plain function, or the merged name it is built under (ldexpf as __quill_ldexpf).
        const Function *p = find_function(base);
        if (!p) p = find_function("__quill_" + base);
        bool done = p && row(f, *p);
        if (!done) std::fprintf(stderr, "%s (%s): not measured\n", f.name, f.shape), ++missed;
    }
    return missed ? 1 : 0;
}

}  // namespace tool
