// `tessera eval FUNC ARG...`: one call, with everything it leaves behind: the result bits,
// the exception flags of both units, errno and the error code the function reported.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "tool.h"
#include "tsr/tiers.h"

extern "C" {
// The error interpreter's observation hook: called with each reported code while set.
// Weak, so the tool links whether or not the error module is part of the library.
extern void (*__libm_error_observer)(int) __attribute__((weak));
}

namespace tool {

namespace {

struct Mode {
    const char *name;
    uint32_t rc;  // rounding control, as MXCSR bits 13-14 and x87 control-word bits 10-11
};
constexpr Mode kModes[] = {{"nearest", 0}, {"downward", 1}, {"upward", 2}, {"towardzero", 3}};

// Control and status words, touched directly so that the library's own fenv functions
// (which may replace the C library's in this program) play no part.
inline uint32_t mxcsr() { uint32_t v; asm volatile("stmxcsr %0" : "=m"(v) : : "memory"); return v; }
inline void set_mxcsr(uint32_t v) { asm volatile("ldmxcsr %0" : : "m"(v) : "memory"); }
inline uint16_t x87_cw() { uint16_t v; asm volatile("fnstcw %0" : "=m"(v) : : "memory"); return v; }
inline void set_x87_cw(uint16_t v) { asm volatile("fldcw %0" : : "m"(v) : "memory"); }
inline uint16_t x87_sw() { uint16_t v; asm volatile("fnstsw %0" : "=a"(v) : : "memory"); return v; }

int g_code = -1;
void record_code(int code) { g_code = code; }

struct Outcome {
    Result r;
    unsigned flags;  // MXCSR | x87 status, low six bits: IE DE ZE OE UE PE
    int err;
    int code;
};

Outcome run(const tsr_gen::Function &f, tsr_gen::AnyFn fn, const std::vector<Value> &args, const Mode &m) {
    const uint32_t saved_mxcsr = mxcsr();
    const uint16_t saved_cw = x87_cw();
    if (&__libm_error_observer) __libm_error_observer = record_code;
    g_code = -1;
    set_mxcsr((saved_mxcsr & ~0x603fu) | (m.rc << 13));
    set_x87_cw(uint16_t((saved_cw & ~0xc00u) | (m.rc << 10)));
    asm volatile("fnclex" : : : "memory");
    errno = 0;
    Outcome o;
    o.r = call(f, fn, args);
    o.err = errno;
    o.flags = (mxcsr() | x87_sw()) & 0x3f;
    o.code = g_code;
    set_mxcsr(saved_mxcsr);
    set_x87_cw(saved_cw);
    asm volatile("fnclex" : : : "memory");
    if (&__libm_error_observer) __libm_error_observer = nullptr;
    return o;
}

std::string flag_names(unsigned f) {
    static const char *const names[] = {"invalid", "denormal", "divbyzero", "overflow", "underflow", "inexact"};
    std::string s;
    for (int b = 0; b < 6; ++b)
        if (f & (1u << b)) s += std::string(s.empty() ? "" : ",") + names[b];
    return s.empty() ? "none" : s;
}

std::string errno_name(int e) {
    if (e == 0) return "0";
    if (e == EDOM) return "EDOM";
    if (e == ERANGE) return "ERANGE";
    return std::to_string(e);
}

}  // namespace

int cmd_eval(int argc, char **argv) {
    std::vector<std::string> pos;
    std::string tier, mode = "nearest";
    bool all_tiers = false;
    for (int i = 0; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "--tier") {
            if (!option_value("eval", argc, argv, i, tier)) return 2;
        } else if (a == "--mode") {
            if (!option_value("eval", argc, argv, i, mode)) return 2;
        } else if (a == "--all-tiers") {
            all_tiers = true;
        } else if (a.rfind("--", 0) == 0) {
            std::fprintf(stderr, "tessera eval: unknown option %s\n", a.c_str());
            return 2;
        } else {
            pos.push_back(a);
        }
    }
    if (pos.empty()) {
        std::fprintf(stderr, "tessera eval: name a function\n");
        return 2;
    }
    const tsr_gen::Function *f = find_function(pos[0]);
    if (!f && tier.empty()) {
        // A tier's own name, such as __libm_ceil_y8: that tier of that function.
        size_t cut = pos[0].rfind('_');
        if (cut != std::string::npos && (f = find_function(pos[0].substr(0, cut))) != nullptr) {
            if (find_tier(*f, pos[0].substr(cut + 1))) tier = pos[0].substr(cut + 1);
            else f = nullptr;
        }
    }
    if (!f) {
        std::fprintf(stderr, "tessera eval: %s is not a built function\n", pos[0].c_str());
        return 2;
    }
    Form form = form_of(*f);
    if (form == Form::unsupported) {
        std::fprintf(stderr, "tessera eval: %s has the form %s (%s), which the tool cannot call\n", f->name,
                     f->shape, prec_name(f->prec));
        return 2;
    }
    size_t nargs = size_t(operand_count(form));
    if (pos.size() - 1 != nargs) {
        std::fprintf(stderr, "tessera eval: %s takes %zu operand%s (%s)\n", f->name, nargs, nargs == 1 ? "" : "s",
                     f->shape);
        return 2;
    }
    std::vector<Value> args(nargs);
    for (size_t k = 0; k < nargs; ++k) {
        std::string err;
        char prec = (form == Form::r_ri && k == 1) ? 'i' : f->prec;
        if (!parse_value(pos[k + 1], prec, args[k], err)) {
            std::fprintf(stderr, "tessera eval: %s\n", err.c_str());
            return 2;
        }
    }

    std::vector<const Mode *> modes;
    for (const Mode &m : kModes)
        if (mode == "all" || mode == m.name) modes.push_back(&m);
    if (modes.empty()) {
        std::fprintf(stderr, "tessera eval: unknown rounding mode %s\n", mode.c_str());
        return 2;
    }

    // What to call: the entry (through its slot when dispatched), one tier, or all.
    struct Target {
        std::string label;
        tsr_gen::AnyFn fn;
        bool runnable;
    };
    std::vector<Target> targets;
    if (tier.empty() || all_tiers) targets.push_back({"entry", f->entry, true});
    for (int i = 0; i < f->ntiers; ++i) {
        const auto &t = f->tiers[i];
        if (all_tiers || tier == t.name) targets.push_back({t.name, t.fn, tsr::tier_runnable(t.tier)});
    }
    if (!tier.empty() && !all_tiers && targets.empty()) {
        std::fprintf(stderr, "tessera eval: %s has no tier %s\n", f->name, tier.c_str());
        return 2;
    }

    std::printf("%s %s (%s)\n", f->name, f->shape, prec_name(f->prec));
    for (size_t k = 0; k < nargs; ++k) std::printf("  arg %zu: %s\n", k + 1, show_value(args[k]).c_str());
    for (const Mode *m : modes) {
        if (modes.size() > 1) std::printf("mode %s\n", m->name);
        for (const Target &t : targets) {
            std::string label = t.label;
            if (label == "entry" && f->dispatched) {
                // The first call settles the slot; run it first so the label is true.
                run(*f, t.fn, args, kModes[0]);
                label += " (" + slot_tier(f->name) + ")";
            } else if (label == "entry" && f->bound) {
                label += " (ex)";
            }
            if (!t.runnable) {
                std::printf("  %-12s not run: this processor lacks the tier's instruction set\n", label.c_str());
                continue;
            }
            Outcome o = run(*f, t.fn, args, *m);
            std::printf("  %-12s = %s\n", label.c_str(), show_value(o.r.v).c_str());
            std::printf("  %-12s   flags: %s  errno: %s  code: %s\n", "", flag_names(o.flags).c_str(),
                        errno_name(o.err).c_str(), !&__libm_error_observer ? "unobservable (no error module)"
                        : o.code < 0 ? "none" : std::to_string(o.code).c_str());
        }
    }
    return 0;
}

}  // namespace tool
