// The built functions as the tool sees them: lookup by name, call forms, operands.
#include <bit>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "dispatch/frame.h"
#include "tool.h"
#include "tsr_dispatch.inc"

namespace tool {

Form form_of(const tsr_gen::Function &f) {
    if (f.prec != 'd' && f.prec != 'f' && f.prec != 'l') return Form::unsupported;
    std::string s = f.shape;
    if (s == "R(R)") return Form::r_r;
    if (s == "R(R,R)") return Form::r_rr;
    if (s == "R(R,I)") return Form::r_ri;
    if (s == "R(R,R,R)") return Form::r_rrr;
    if (s == "L(R)") return Form::l_r;
    if (s == "LL(R)") return Form::ll_r;
    if (s == "I(R)") return Form::i_r;
    if (s == "I(R,R)") return Form::i_rr;
    return Form::unsupported;
}

const char *prec_name(char prec) {
    switch (prec) {
    case 'd': return "double";
    case 'f': return "float";
    case 'l': return "long double";
    case 'h': return "_Float16";
    case 'q': return "binary128";
    }
    return "?";
}

const tsr_gen::Function *find_function(const std::string &name) {
    for (const auto &f : tsr_gen::tsr_functions)
        if (name == f.name || name == std::string("__libm_") + f.name) return &f;
    return nullptr;
}

std::string slot_tier(const char *name) {
    for (const auto &d : tsr_dispatch_info) {
        if (std::strcmp(d.name, name) != 0) continue;
        void *held = __atomic_load_n(d.slot, __ATOMIC_ACQUIRE);
        for (int r = 1; r <= 12; ++r)
            if (d.table[r] == held) return d.rows[r - 1];
        return "unsettled";
    }
    return "";
}

void settle_slot(const char *name) {
    for (const auto &d : tsr_dispatch_info)
        if (std::strcmp(d.name, name) == 0) __libm_dispatch_settle(d.table, d.slot);
}

const tsr_gen::TierEntry *find_tier(const tsr_gen::Function &f, const std::string &tier) {
    for (int i = 0; i < f.ntiers; ++i)
        if (tier == f.tiers[i].name) return &f.tiers[i];
    return nullptr;
}

// ---- operands ----------------------------------------------------------------------------
static bool parse_hex_bits(const char *s, int digits, uint64_t &hi, uint64_t &lo) {
    if (std::strncmp(s, "0x", 2) == 0 || std::strncmp(s, "0X", 2) == 0) s += 2;
    size_t n = std::strlen(s);
    if (n == 0 || n > size_t(digits)) return false;
    hi = lo = 0;
    for (size_t k = 0; k < n; ++k) {
        char c = s[k];
        int v = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10
                : c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
        if (v < 0) return false;
        hi = (hi << 4) | (lo >> 60);
        lo = (lo << 4) | uint64_t(v);
    }
    return true;
}

bool parse_value(const std::string &text, char prec, Value &out, std::string &err) {
    out = Value{};
    out.prec = prec;
    const char *s = text.c_str();
    if (prec == 'i') {
        char *end;
        errno = 0;
        out.i = std::strtoll(s, &end, 0);
        if (*s == 0 || *end || errno) {
            err = "not an integer: " + text;
            return false;
        }
        return true;
    }
    if (text.rfind("raw:", 0) == 0) {
        uint64_t hi, lo;
        int digits = prec == 'd' ? 16 : prec == 'f' ? 8 : 20;
        if (!parse_hex_bits(s + 4, digits, hi, lo)) {
            err = "raw bits need at most " + std::to_string(digits) + " hex digits: " + text;
            return false;
        }
        if (prec == 'd') out.d = std::bit_cast<double>(lo);
        if (prec == 'f') out.f = std::bit_cast<float>(uint32_t(lo));
        if (prec == 'l') {
            __builtin_memcpy(&out.l, &lo, 8);
            uint16_t se = uint16_t(hi);
            __builtin_memcpy(reinterpret_cast<char *>(&out.l) + 8, &se, 2);
        }
        return true;
    }
    bool neg = s[0] == '-';
    const char *m = (s[0] == '-' || s[0] == '+') ? s + 1 : s;
    if (std::strcmp(m, "snan") == 0 || std::strcmp(m, "sNaN") == 0) {
        // Quiet bit clear, lowest payload bit set.
        out.d = std::bit_cast<double>(0x7ff0000000000001ull | (uint64_t(neg) << 63));
        out.f = std::bit_cast<float>(0x7f800001u | (uint32_t(neg) << 31));
        uint64_t mant = 0x8000000000000001ull;
        uint16_t se = uint16_t(0x7fff | (neg << 15));
        __builtin_memcpy(&out.l, &mant, 8);
        __builtin_memcpy(reinterpret_cast<char *>(&out.l) + 8, &se, 2);
        return true;
    }
    char *end;
    errno = 0;
    // Each precision reads the text itself, so that no value is rounded twice.
    if (prec == 'd') out.d = std::strtod(s, &end);
    else if (prec == 'f') out.f = std::strtof(s, &end);
    else out.l = std::strtold(s, &end);
    if (*s == 0 || *end) {
        err = "not a number: " + text;
        return false;
    }
    // Out of the format's range: say so rather than call with an infinity or a zero the
    // user did not write (strtod also reports ERANGE for subnormal results, which are kept).
    const bool overflow = prec == 'd' ? __builtin_isinf(out.d) : prec == 'f' ? __builtin_isinf(out.f)
                                                                             : __builtin_isinf(out.l);
    const bool to_zero = prec == 'd' ? out.d == 0 : prec == 'f' ? out.f == 0 : out.l == 0;
    if (errno == ERANGE && (overflow || to_zero)) {
        err = text + (overflow ? " is beyond the largest " : " is below the smallest subnormal ") +
              prec_name(prec) + (overflow ? " (write inf for infinity)" : " (write 0 for zero)");
        return false;
    }
    return true;
}

bool option_value(const char *cmd, int argc, char **argv, int &i, std::string &out) {
    if (i + 1 >= argc) {
        std::fprintf(stderr, "tessera %s: option %s needs a value\n", cmd, argv[i]);
        return false;
    }
    out = argv[++i];
    return true;
}

bool parse_count(const char *cmd, const std::string &opt, const std::string &text, long lo, long hi, int &out) {
    char *end;
    errno = 0;
    long v = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end || errno || v < lo || v > hi) {
        std::fprintf(stderr, "tessera %s: %s takes a whole number from %ld to %ld, not '%s'\n", cmd, opt.c_str(), lo,
                     hi, text.c_str());
        return false;
    }
    out = int(v);
    return true;
}

bool parse_finite(const char *cmd, const std::string &opt, const std::string &text, double &out) {
    char *end;
    errno = 0;
    out = std::strtod(text.c_str(), &end);
    if (text.empty() || *end || !__builtin_isfinite(out) || (errno == ERANGE && __builtin_fabs(out) > 1)) {
        std::fprintf(stderr, "tessera %s: %s takes finite numbers, not '%s'\n", cmd, opt.c_str(), text.c_str());
        return false;
    }
    return true;
}

std::string show_value(const Value &v) {
    char buf[160];
    switch (v.prec) {
    case 'd':
        std::snprintf(buf, sizeof buf, "0x%016" PRIx64 "  %a  %.17g", std::bit_cast<uint64_t>(v.d), v.d, v.d);
        break;
    case 'f':
        std::snprintf(buf, sizeof buf, "0x%08" PRIx32 "  %a  %.9g", std::bit_cast<uint32_t>(v.f),
                      double(v.f), double(v.f));
        break;
    case 'l': {
        uint64_t m;
        uint16_t se;
        __builtin_memcpy(&m, &v.l, 8);
        __builtin_memcpy(&se, reinterpret_cast<const char *>(&v.l) + 8, 2);
        std::snprintf(buf, sizeof buf, "0x%04x%016" PRIx64 "  %La  %.21Lg", se, m, v.l, v.l);
        break;
    }
    default:
        std::snprintf(buf, sizeof buf, "%lld  (0x%llx)", v.i, static_cast<unsigned long long>(v.i));
    }
    return buf;
}

// ---- calls -------------------------------------------------------------------------------
template <class T> static T get(const Value &v);
template <> double get<double>(const Value &v) { return v.d; }
template <> float get<float>(const Value &v) { return v.f; }
template <> long double get<long double>(const Value &v) { return v.l; }
static void put(Value &v, double x) { v.prec = 'd', v.d = x; }
static void put(Value &v, float x) { v.prec = 'f', v.f = x; }
static void put(Value &v, long double x) { v.prec = 'l', v.l = x; }

template <class T>
static Result call_as(Form form, tsr_gen::AnyFn fn, const std::vector<Value> &a) {
    Result r;
    switch (form) {
    case Form::r_r: put(r.v, reinterpret_cast<T (*)(T)>(fn)(get<T>(a[0]))); break;
    case Form::r_rr: put(r.v, reinterpret_cast<T (*)(T, T)>(fn)(get<T>(a[0]), get<T>(a[1]))); break;
    case Form::r_ri: put(r.v, reinterpret_cast<T (*)(T, int)>(fn)(get<T>(a[0]), int(a[1].i))); break;
    case Form::r_rrr:
        put(r.v, reinterpret_cast<T (*)(T, T, T)>(fn)(get<T>(a[0]), get<T>(a[1]), get<T>(a[2])));
        break;
    case Form::l_r:
        r.integral = true, r.v.prec = 'i';
        r.v.i = reinterpret_cast<long (*)(T)>(fn)(get<T>(a[0]));
        break;
    case Form::ll_r:
        r.integral = true, r.v.prec = 'i';
        r.v.i = reinterpret_cast<long long (*)(T)>(fn)(get<T>(a[0]));
        break;
    case Form::i_rr:
        r.integral = true, r.v.prec = 'i';
        r.v.i = reinterpret_cast<int (*)(T, T)>(fn)(get<T>(a[0]), get<T>(a[1]));
        break;
    case Form::i_r:
        r.integral = true, r.v.prec = 'i';
        r.v.i = reinterpret_cast<int (*)(T)>(fn)(get<T>(a[0]));
        break;
    case Form::unsupported: break;
    }
    return r;
}

Result call(const tsr_gen::Function &f, tsr_gen::AnyFn fn, const std::vector<Value> &args) {
    Form form = form_of(f);
    if (f.prec == 'f') return call_as<float>(form, fn, args);
    if (f.prec == 'l') return call_as<long double>(form, fn, args);
    return call_as<double>(form, fn, args);
}

}  // namespace tool
