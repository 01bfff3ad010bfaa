// The error interpreter.  A body that meets an error condition leaves its own result in a
// cell and reports a code; what happens next is data: the code's record names a class,
// precision and function, the class names an action for each mode, and the action names
// a value, an errno and a program of 4-bit steps.  Values travel as 16-bit words, so one
// interpreter serves every precision.
//
// Also here: the default handler (matherr, matherrf and matherrl are one body returning
// 1), the handler installers, the wrappers for callers holding values, and the test hook.
#include "tessera.h"
#include "tsr/common.h"
#include "tsr/report.h"
#include "error/message.h"
#include "error/report_data.h"

using namespace tsr::err;

extern "C" {
void (*__libm_error_observer)(int code) TSR_HIDDEN = nullptr;
}

// Read through the exported symbol (see report_mode.cpp).
extern "C" int _LIB_VERSIONQVT TSR_PUBLIC;

// ---- handlers -----------------------------------------------------------------------
TSR_BODY(int, matherr, (struct tessera_exception *)) { return 1; }

namespace {
using HandlerF = int (*)(struct tessera_exceptionf *);
using HandlerD = int (*)(struct tessera_exception *);
using HandlerL = int (*)(struct tessera_exceptionl *);

// The default handler is the library's own entry (matherr, matherrf and matherrl are one
// address) through its hidden name, never a `matherr` the program defines: a handler
// takes effect only when installed.
HandlerF g_handler_f = matherrf_local;
HandlerD g_handler_d = matherr_local;
HandlerL g_handler_l = matherrl_local;
}  // namespace

TSR_DEFINE(void, __libm_setusermatherr, (HandlerD h)) {
    __atomic_store_n(&g_handler_d, h ? h : matherr_local, __ATOMIC_RELAXED);
}
TSR_DEFINE(void, __libm_setusermatherrf, (HandlerF h)) {
    __atomic_store_n(&g_handler_f, h ? h : matherrf_local, __ATOMIC_RELAXED);
}
TSR_DEFINE(void, __libm_setusermatherrl, (HandlerL h)) {
    __atomic_store_n(&g_handler_l, h ? h : matherrl_local, __ATOMIC_RELAXED);
}

// ---- values as 16-bit words -------------------------------------------------------------
extern "C" void __libm_copy_value(void *dst, const void *src, int count) {
    auto *d = static_cast<unsigned char *>(dst);
    auto *s = static_cast<const unsigned char *>(src);
    for (int i = 0; i < count; ++i) {
        uint16_t w;
        __builtin_memcpy(&w, s + 2 * i, 2);
        __builtin_memcpy(d + 2 * i, &w, 2);
    }
}

namespace {

uint16_t word(const void *cell, int i) {
    uint16_t w;
    __builtin_memcpy(&w, static_cast<const unsigned char *>(cell) + 2 * i, 2);
    return w;
}

// The function's name and its precision's suffix, cut to the 20-byte buffer.
void make_name(char (&buf)[20], const char *name, const char *suffix) {
    int n = 0;
    for (const char *s = name; *s && n < 19; ++s) buf[n++] = *s;
    for (const char *s = suffix; *s && n < 19; ++s) buf[n++] = *s;
    buf[n] = 0;
}

// Builds the record in the precision's own types and calls its handler; returns the
// handler's answer.  Binary128 has no handler: its codes never reach this step, and one
// that did would go on with its program.
template <class Rec, class H>
int call(H h, int type, char *name, const void *a1, const void *a2, const void *res, int bytes) {
    Rec rec{};
    rec.type = type;
    rec.name = name;
    __builtin_memcpy(&rec.arg1, a1, bytes);
    __builtin_memcpy(&rec.arg2, a2, bytes);
    __builtin_memcpy(&rec.retval, res, bytes);
    return h(&rec);
}

}  // namespace

extern "C" void __libm_error_support(const void *arg1, const void *arg2, void *result,
                                     int code) {
    if (void (*observe)(int) = __libm_error_observer) observe(code);
    __libm_dynamic_RT_init();
    int mode = __atomic_load_n(&_LIB_VERSIONQVT, __ATOMIC_RELAXED);
    // -1 does nothing; modes outside -1..3 and codes outside the table are treated alike.
    if (mode < 0 || mode > 3 || code < 0 || code >= kCodes) return;
    HandlerF hf = __atomic_load_n(&g_handler_f, __ATOMIC_RELAXED);
    HandlerD hd = __atomic_load_n(&g_handler_d, __ATOMIC_RELAXED);
    HandlerL hl = __atomic_load_n(&g_handler_l, __ATOMIC_RELAXED);

    uint32_t record = __libm_error_records[code];
    uint32_t cls = __libm_error_classes[record & 0x7f];
    int prec = (record >> 7) & 3;
    int name = (record >> 9) & 0x7f;
    uint32_t action = __libm_error_actions[(cls >> (6 + 6 * mode)) & 0x3f];
    uint64_t program = __libm_error_programs[(action >> 5) & 0x1f];
    const ErrorPrecision &p = __libm_error_precisions[prec];
    const int words = p.words;

    int value = action & 7;
    int err = (action >> 3) & 3;
    const void *sign_source = nullptr;
    int sign_state = 0;

    auto set_result = [&] {
        __libm_copy_value(result, &__libm_error_values[p.first + value * p.stride], words);
    };
    auto apply_sign = [&] {
        if (sign_source) sign_state |= word(sign_source, p.sign_word) >> 15;
        value ^= sign_state;
    };

    for (; program; program >>= 4) {
        switch (unsigned(program & 15)) {
        case SET_ERRNO:
            __libm_dynamic_RT_set_errno(__libm_error_errno[err]);
            break;
        case ERRNO_IF_ZERO: {
            // The magnitude bits of the cell's first (up to) eight bytes.
            uint64_t v = 0;
            __builtin_memcpy(&v, result, words * 2 < 8 ? words * 2 : 8);
            if ((v << p.shift) == 0) {
                err = 0;
                __libm_dynamic_RT_set_errno(__libm_error_errno[err]);
            }
            break;
        }
        case SET_RESULT:
            set_result();
            break;
        case COPY_ARG1:
            __libm_copy_value(result, arg1, words);
            break;
        case SOURCE_ARG1:
            sign_source = arg1;
            break;
        case SOURCE_RESULT:
            sign_source = result;
            break;
        case APPLY_SIGN:
            apply_sign();
            break;
        case SIGNED_BY_ARG1:
            sign_source = arg1;
            apply_sign();
            set_result();
            break;
        case SIGNED_NONPOSITIVE_ARG1: {
            bool all_zero = true;
            for (int i = 0; i < words; ++i) all_zero &= word(arg1, i) == 0;
            if (all_zero) sign_state = 1;
            sign_source = arg1;
            apply_sign();
            set_result();
            break;
        }
        case SIGNED_BY_RESULT:
            sign_source = result;
            apply_sign();
            set_result();
            break;
        case WRITE_MESSAGE:
            __libm_write_message((cls >> 3) & 7, __libm_error_names[name], p.suffix,
                                 __libm_error_types[cls & 7]);
            break;
        case CALL_HANDLER: {
            char buf[20];
            make_name(buf, __libm_error_names[name], p.suffix);
            int type = int(cls & 7), r = 0;
            if (prec == 0)
                r = call<tessera_exceptionf>(hf, type, buf, arg1, arg2, result, 4);
            else if (prec == 1)
                r = call<tessera_exception>(hd, type, buf, arg1, arg2, result, 8);
            else if (prec == 2)
                r = call<tessera_exceptionl>(hl, type, buf, arg1, arg2, result, 10);
            if (r != 0) return;
            break;
        }
        default:
            break;
        }
    }
}

extern "C" void __libm128_error_support(const void *arg1, const void *arg2, void *result,
                                        int code) {
    __libm_error_support(arg1, arg2, result, code);
}

extern "C" double __libm_error_support_wrapper_x64(double result, double arg1, double arg2,
                                                   int code) {
    double r = result, a = arg1, b = arg2;
    __libm_error_support(&a, &b, &r, code);
    return r;
}

extern "C" float __libm_error_support_wrapper_x64f(float result, float arg1, float arg2,
                                                   int code) {
    float r = result, a = arg1, b = arg2;
    __libm_error_support(&a, &b, &r, code);
    return r;
}
