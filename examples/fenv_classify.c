/* A C program using tessera's environment and classification functions together with the
 * system's <fenv.h> and <math.h>. Build: cc fenv_classify.c -ltessera -lm */
#include <fenv.h>
#include <math.h>
#include <stdio.h>

#include "tessera.h"

static int failures;

static void check(int ok, const char *what) {
    if (!ok) {
        printf("FAILED: %s\n", what);
        ++failures;
    }
}

int main(void) {
    volatile double one = 1.0, tiny = 0x1p-60, zero = 0.0;
    fenv_t saved;
    double r;

    check(fegetenv(&saved) == 0, "fegetenv");

    check(fesetround(FE_UPWARD) == 0, "fesetround(FE_UPWARD) succeeds");
    check(fegetround() == FE_UPWARD, "fegetround() == FE_UPWARD");
    check(__libm_flt_rounds() == 2, "rounding upward is FLT_ROUNDS 2");
    check(fesetround(FE_UPWARD | 1) != 0, "an unknown mode is refused");

    check(feclearexcept(FE_ALL_EXCEPT) == 0, "feclearexcept");
    r = one + tiny;
    check(r > 1.0, "1 + 2^-60 rounds upward");
    check(fetestexcept(FE_ALL_EXCEPT) == FE_INEXACT, "only inexact raised");
    r = one / zero;
    check(fetestexcept(FE_DIVBYZERO | FE_INVALID) == FE_DIVBYZERO, "1/0 raises divbyzero");

    check(__fpclassify(0x1p-1074) == FP_SUBNORMAL, "__fpclassify(0x1p-1074)");
    check(__fpclassify(-0.0) == FP_ZERO, "__fpclassify(-0.0)");
    check(__fpclassify(1.0) == FP_NORMAL, "__fpclassify(1.0)");
    check(__fpclassify(r) == FP_INFINITE, "__fpclassify(inf)");
    check(__fpclassify(zero / zero) == FP_NAN, "__fpclassify(nan)");
    check(__isinf(-r) == -1, "__isinf(-inf) == -1");
    check(__signbit(-0.0) != 0, "__signbit(-0.0)");

    check(fesetenv(FE_DFL_ENV) == 0, "fesetenv(FE_DFL_ENV)");
    check(fegetround() == FE_TONEAREST && fetestexcept(FE_ALL_EXCEPT) == 0, "default environment");
    check(fesetenv(&saved) == 0, "fesetenv(saved)");
    check(fegetround() == FE_TONEAREST, "saved environment back");

    if (failures == 0) printf("ok\n");
    return failures != 0;
}
