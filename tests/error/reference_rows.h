// Reference rows of the error policy, as printed in the policy's description: the
// tests derive every expectation from these, never from the packed words the library
// reads, so a packing mistake shows as a mismatch.
#pragma once

namespace ref {

struct ClassRow { int number; const char *type; int message; int mode[4]; };
struct ActionRow { int row; int program; const char *value; const char *err; };
struct ProgramRow { int number; const char *steps; };
// Codes by function and condition: extended, double, float (-1: none) and the class of each.
struct CodeRow { const char *fn; int code[3]; int cls[3]; };
struct QuadRun { int first, cls; const char *names; };
struct PrecisionRow { const char *type; const char *suffix; int words, stride, first, shift, sign_word; };
struct ValueRow { const char *name; const char *f, *d, *l, *q; };

inline const ClassRow kClasses[] = {
    {0, "SING", 1, {0, 1, 2, 3}},
    {1, "DOMAIN", 1, {0, 1, 4, 4}},
    {2, "OVERFLOW", 1, {5, 6, 7, 3}},
    {3, "UNDERFLOW", 1, {8, 8, 3, 9}},
    {4, "OVERFLOW", 1, {10, 11, 12, 3}},
    {5, "UNDERFLOW", 1, {8, 8, 13, 9}},
    {6, "DOMAIN", 2, {14, 15, 16, 16}},
    {7, "DOMAIN", 3, {14, 1, 4, 4}},
    {8, "DOMAIN", 4, {14, 17, 4, 4}},
    {9, "DOMAIN", 1, {18, 18, 16, 16}},
    {10, "DOMAIN", 1, {14, 19, 16, 4}},
    {11, "DOMAIN", 1, {16, 16, 3, 3}},
    {12, "DOMAIN", 1, {16, 16, 3, 16}},
    {13, "DOMAIN", 1, {3, 3, 3, 3}},
    {14, "DOMAIN", 1, {3, 3, 3, 16}},
    {15, "DOMAIN", 1, {14, 17, 4, 4}},
    {16, "OVERFLOW", 1, {20, 20, 21, 3}},
    {17, "UNDERFLOW", 1, {22, 22, 23, 9}},
    {18, "DOMAIN", 1, {14, 19, 4, 4}},
    {19, "DOMAIN", 1, {0, 1, 24, 4}},
    {20, "TLOSS", 1, {25, 8, 13, 16}},
    {21, "SING", 1, {26, 27, 4, 3}},
    {22, "DOMAIN", 1, {16, 16, 16, 16}},
    {23, "DOMAIN", 1, {28, 17, 4, 4}},
    {24, "DOMAIN", 1, {29, 17, 4, 4}},
    {25, "OVERFLOW", 1, {30, 31, 2, 3}},
    {27, "SING", 1, {29, 17, 4, 3}},
    {28, "DOMAIN", 1, {3, 3, 3, 9}},
    {29, "DOMAIN", 1, {16, 16, 4, 4}},
    {30, "DOMAIN", 1, {16, 16, 7, 3}},
    {31, "DOMAIN", 1, {16, 16, 3, 9}},
    {32, "DOMAIN", 1, {16, 16, 16, 4}},
    {33, "DOMAIN", 1, {16, 16, 16, 3}},
    {34, "DOMAIN", 1, {16, 16, 16, 9}},
    {35, "DOMAIN", 1, {4, 4, 4, 4}},
    {36, "DOMAIN", 1, {3, 3, 12, 3}},
    {37, "DOMAIN", 1, {3, 3, 13, 9}},
    {38, "SING", 1, {29, 17, 4, 4}},
    {39, "SING", 1, {33, 34, 4, 3}},
    {40, "OVERFLOW", 1, {37, 35, 36, 3}},
    {41, "DOMAIN", 1, {38, 38, 38, 38}},
};

inline const ActionRow kActions[] = {
    {0, 0, "-MAX", "EDOM"},
    {1, 1, "-inf", "EDOM"},
    {2, 2, "-inf", "ERANGE"},
    {3, 3, "+0", "ERANGE"},
    {4, 3, "+0", "EDOM"},
    {5, 1, "+MAX", "ERANGE"},
    {6, 1, "+inf", "ERANGE"},
    {7, 2, "+inf", "ERANGE"},
    {8, 1, "+0", "ERANGE"},
    {9, 4, "+0", "ERANGE"},
    {10, 5, "+MAX", "ERANGE"},
    {11, 5, "+inf", "ERANGE"},
    {12, 6, "+inf", "ERANGE"},
    {13, 2, "+0", "ERANGE"},
    {14, 0, "+0", "EDOM"},
    {15, 7, "+1", "ERANGE"},
    {16, 8, "+0", "ERANGE"},
    {17, 9, "+0", "EDOM"},
    {18, 10, "+0", "EDOM"},
    {19, 1, "+0", "EDOM"},
    {20, 11, "+inf", "ERANGE"},
    {21, 12, "+inf", "ERANGE"},
    {22, 11, "+0", "ERANGE"},
    {23, 12, "+0", "ERANGE"},
    {24, 2, "-inf", "EDOM"},
    {25, 0, "+0", "ERANGE"},
    {26, 0, "+MAX", "EDOM"},
    {27, 1, "+inf", "EDOM"},
    {28, 13, "+0", "EDOM"},
    {29, 14, "+0", "EDOM"},
    {30, 1, "-MAX", "ERANGE"},
    {31, 1, "-inf", "ERANGE"},
    {32, 11, "+MAX", "ERANGE"},
    {33, 15, "+0", "ERANGE"},
    {34, 16, "+0", "ERANGE"},
    {35, 17, "+inf", "ERANGE"},
    {36, 18, "+inf", "ERANGE"},
    {37, 17, "+MAX", "ERANGE"},
    {38, 8, "+inf", "EDOM"},
};

inline const ProgramRow kPrograms[] = {
    {0, "SET_RESULT CALL_HANDLER WRITE_MESSAGE SET_ERRNO"},
    {1, "SET_RESULT CALL_HANDLER SET_ERRNO"},
    {2, "SET_RESULT SET_ERRNO"},
    {3, "SET_ERRNO"},
    {4, "ERRNO_IF_ZERO"},
    {5, "SIGNED_BY_RESULT CALL_HANDLER SET_ERRNO"},
    {6, "SIGNED_BY_RESULT SET_ERRNO"},
    {7, "SET_RESULT"},
    {8, ""},
    {9, "CALL_HANDLER SET_ERRNO"},
    {10, "COPY_ARG1 CALL_HANDLER SET_ERRNO"},
    {11, "SIGNED_BY_ARG1 CALL_HANDLER SET_ERRNO"},
    {12, "SIGNED_BY_ARG1 SET_ERRNO"},
    {13, "COPY_ARG1 CALL_HANDLER WRITE_MESSAGE SET_ERRNO"},
    {14, "CALL_HANDLER WRITE_MESSAGE SET_ERRNO"},
    {15, "CALL_HANDLER WRITE_MESSAGE"},
    {16, "CALL_HANDLER"},
    {17, "SIGNED_NONPOSITIVE_ARG1 CALL_HANDLER SET_ERRNO"},
    {18, "SIGNED_NONPOSITIVE_ARG1 SET_ERRNO"},
};

inline const CodeRow kCodes[] = {
    {"log", {0, 2, 4}, {0, 0, 0}},  // argument 0
    {"log", {1, 3, 5}, {1, 1, 1}},  // argument negative
    {"log10", {6, 8, 10}, {0, 0, 0}},  // argument 0
    {"log10", {7, 9, 11}, {1, 1, 1}},  // argument negative
    {"exp", {12, 14, 16}, {2, 2, 2}},  // overflow
    {"exp", {13, 15, 17}, {3, 3, 3}},  // underflow
    {"pow", {18, 24, 30}, {4, 4, 4}},  // overflow
    {"pow", {19, 25, 31}, {5, 5, 5}},  // underflow
    {"pow", {20, 26, 32}, {6, 6, 6}},  // 0 to the power 0
    {"pow", {21, 27, 33}, {7, 7, 7}},  // 0 to a negative power
    {"pow", {22, 28, 34}, {8, 8, 8}},  // negative base, non-integer power
    {"pow", {23, 29, 35}, {9, 9, 9}},  // NaN to the power 0
    {"atan2", {36, 37, 38}, {10, 10, 10}},  // both arguments 0
    {"expm1", {39, 41, 43}, {11, 13, 13}},  // overflow
    {"expm1", {40, 42, 44}, {12, 14, 14}},  // underflow
    {"hypot", {45, 46, 47}, {2, 2, 2}},  // overflow
    {"sqrt", {48, 49, 50}, {15, 15, 15}},  // argument negative
    {"scalb", {51, 53, 55}, {16, 16, 16}},  // overflow
    {"scalb", {52, 54, 56}, {17, 17, 17}},  // underflow
    {"acos", {57, 58, 59}, {18, 18, 18}},  // magnitude above 1
    {"asin", {60, 61, 62}, {18, 18, 18}},  // magnitude above 1
    {"cosh", {63, 64, 65}, {2, 2, 2}},  // overflow
    {"y0", {66, 69, 72}, {19, 19, 19}},  // argument 0
    {"y0", {67, 70, 73}, {19, 19, 19}},  // argument negative
    {"y0", {68, 71, 74}, {20, 20, 20}},  // argument too large
    {"y1", {75, 78, 81}, {19, 19, 19}},  // argument 0
    {"y1", {76, 79, 82}, {19, 19, 19}},  // argument negative
    {"y1", {77, 80, 83}, {20, 20, 20}},  // argument too large
    {"yn", {84, 87, 90}, {19, 19, 19}},  // argument 0
    {"yn", {85, 88, 91}, {19, 19, 19}},  // argument negative
    {"yn", {86, 89, 92}, {20, 20, 20}},  // argument too large
    {"j0", {93, 94, 95}, {20, 20, 20}},  // argument too large
    {"j1", {96, 97, 98}, {20, 20, 20}},  // argument too large
    {"jn", {99, 100, 101}, {20, 20, 20}},  // argument too large
    {"lgamma", {102, 105, 108}, {2, 2, 2}},  // overflow
    {"lgamma", {103, 106, 109}, {21, 21, 21}},  // pole
    {"lgamma", {104, 107, 110}, {22, 22, 22}},  // no action
    {"gamma", {111, 114, 117}, {2, 2, 2}},  // overflow
    {"gamma", {112, 115, 118}, {21, 21, 21}},  // pole
    {"gamma", {113, 116, 119}, {22, 22, 22}},  // no action
    {"fmod", {120, 121, 122}, {23, 23, 23}},  // divisor 0
    {"remainder", {123, 124, 125}, {24, 24, 24}},  // divisor 0
    {"sinh", {126, 127, 128}, {25, 40, 40}},  // overflow
    {"atanh", {129, 131, 133}, {24, 24, 24}},  // magnitude above 1
    {"atanh", {130, 132, 134}, {27, 27, 27}},  // magnitude exactly 1
    {"acosh", {135, 136, 137}, {24, 24, 24}},  // argument below 1
    {"log1p", {138, 140, 142}, {0, 0, 0}},  // argument -1
    {"log1p", {139, 141, 143}, {1, 1, 1}},  // argument below -1
    {"ldexp", {144, 146, 148}, {13, 13, 13}},  // overflow
    {"ldexp", {145, 147, 149}, {28, 28, 28}},  // underflow
    {"logb", {150, 151, 152}, {29, 29, 29}},  // argument 0
    {"nextafter", {153, 154, 155}, {11, 11, 11}},  // overflow
    {"ilogb", {156, 157, 158}, {11, 11, 11}},  // argument 0
    {"exp2", {159, 161, 163}, {30, 30, 30}},  // overflow
    {"exp2", {160, 162, 164}, {31, 31, 31}},  // underflow
    {"exp10", {165, 166, 167}, {30, 30, 30}},  // overflow
    {"log2", {168, 170, 172}, {0, 0, 0}},  // argument 0
    {"log2", {169, 171, 173}, {1, 1, 1}},  // argument negative
    {"scalbn", {174, 176, 178}, {13, 13, 13}},  // overflow
    {"scalbn", {175, 177, 179}, {28, 28, 28}},  // underflow
    {"remquo", {180, 181, 182}, {32, 32, 32}},  // divisor 0
    {"lrint", {183, 184, 185}, {33, 33, 33}},  // result out of range
    {"llrint", {186, 187, 188}, {33, 33, 33}},  // result out of range
    {"lround", {189, 190, 191}, {33, 33, 33}},  // result out of range
    {"llround", {192, 193, 194}, {33, 33, 33}},  // result out of range
    {"fdim", {195, 196, 197}, {33, 33, 33}},  // overflow
    {"nexttoward", {198, 199, 200}, {11, 11, 11}},  // overflow
    {"scalbln", {201, 203, 205}, {13, 13, 13}},  // overflow
    {"scalbln", {202, 204, 206}, {28, 28, 28}},  // underflow
    {"erfc", {207, 208, 209}, {34, 34, 34}},  // underflow
    {"acosd", {210, 211, 212}, {18, 18, 18}},  // magnitude above 1
    {"asind", {213, 214, 215}, {18, 18, 18}},  // magnitude above 1
    {"atan2d", {216, 217, 218}, {10, 10, 10}},  // both arguments 0
    {"tand", {219, 220, 221}, {13, 13, 13}},  // overflow at a pole
    {"cotd", {222, 223, 224}, {13, 13, 13}},  // overflow at a pole
    {"cot", {225, 226, 227}, {13, 13, 13}},  // overflow at a pole
    {"sinhcosh", {228, 229, 230}, {11, 11, 11}},  // overflow
    {"annuity", {231, 232, 233}, {35, 35, 35}},  // rate at a pole
    {"annuity", {234, 235, 236}, {35, 35, 35}},  // rate below -1
    {"annuity", {237, 238, 239}, {36, 36, 36}},  // overflow
    {"annuity", {240, 241, 242}, {37, 37, 37}},  // underflow
    {"compound", {243, 244, 245}, {35, 35, 35}},  // rate at a pole
    {"compound", {246, 247, 248}, {35, 35, 35}},  // rate below -1
    {"compound", {249, 250, 251}, {36, 36, 36}},  // overflow
    {"compound", {252, 253, 254}, {37, 37, 37}},  // underflow
    {"tgamma", {255, 258, 261}, {2, 2, 2}},  // overflow
    {"tgamma", {256, 259, 262}, {38, 38, 38}},  // pole
    {"tgamma", {257, 260, 263}, {22, 22, 22}},  // no action
    {"exp10", {264, 265, 266}, {31, 31, 31}},  // underflow
    {"nextafter", {267, 268, 269}, {11, 11, 11}},  // underflow
    {"nexttoward", {270, 271, 272}, {11, 11, 11}},  // underflow
    {"erfinv", {273, 275, 277}, {24, 24, 24}},  // magnitude above 1
    {"erfinv", {274, 276, 278}, {39, 39, 39}},  // magnitude exactly 1
    {"erfcx", {-1, 279, 280}, {-1, 33, 33}},  // overflow
    {"cdfnorm", {-1, 281, 282}, {-1, 34, 34}},  // underflow
    {"cdfnorminv", {-1, 283, 284}, {-1, 33, 33}},  // argument exactly 0 or 1
    {"cdfnorminv", {-1, 285, 286}, {-1, 32, 32}},  // argument outside 0 to 1
    {"cdfnorminv", {-1, 287, 288}, {-1, 32, 32}},  // argument infinite
    {"erfcinv", {-1, 289, 290}, {-1, 33, 33}},  // argument exactly 0 or 2
    {"erfcinv", {-1, 291, 292}, {-1, 32, 32}},  // argument outside 0 to 2
    {"powr", {-1, 380, 383}, {-1, 4, 4}},  // overflow
    {"powr", {-1, 381, 384}, {-1, 5, 5}},  // underflow
    {"powr", {-1, 382, 385}, {-1, 35, 35}},  // domain
    {"cospi", {-1, 386, 387}, {-1, 41, 41}},  // no action
    {"sinpi", {-1, 388, 389}, {-1, 41, 41}},  // no action
    {"tanpi", {-1, 390, 391}, {-1, 41, 41}},  // no action
    {"pow3o2", {-1, 392, 395}, {-1, 4, 4}},  // overflow
    {"pow3o2", {-1, 393, 396}, {-1, 5, 5}},  // underflow
    {"pow3o2", {-1, 394, 397}, {-1, 35, 35}},  // domain
    {"acospi", {-1, 398, 399}, {-1, 18, 18}},  // magnitude above 1
    {"asinpi", {-1, 400, 401}, {-1, 18, 18}},  // magnitude above 1
    {"atan2pi", {-1, 402, 403}, {-1, 10, 10}},  // both arguments 0
};

// Codes of binary128 by class: consecutive codes from the first, one function name each.
inline const QuadRun kQuadCodes[] = {
    {293, 35,
     "acosdq acoshq acosq annuityq annuityq asindq asinq atan2dq atan2q atanhq "
     "compoundq compoundq log10q log1pq log2q logbq logq powq powq sqrtq"},
    {313, 13,
     "annuityq annuityq atanhq compoundq compoundq coshq cotdq cotq exp10q exp10q "
     "exp2q exp2q expm1q expq expq fdimq hypotq ilogbq ldexpq ldexpq llrintq llroundq "
     "log10q log1pq log2q logq lrintq lroundq nextafterq nexttowardq powq powq "
     "scalblnq scalblnq scalbnq scalbnq scalbq scalbq sinhcoshq sinhq tandq erfcxq"},
    {355, 22,
     "remainderq erfcq expm1q fmodq gammaq gammaq gammaq j0q j1q jnq lgammaq lgammaq "
     "lgammaq powq powq remquoq y0q y0q y0q y1q y1q y1q ynq ynq ynq"},
};

inline const char *const kNames[] = {
    "acos", "acosd", "acosdq", "acosh", "acoshq", "acosq", "annuity", "annuityq",
    "asin", "asind", "asindq", "asinq", "atan2", "atan2d", "atan2dq", "atan2q",
    "atanh", "atanhq", "cdfnorm", "cdfnorminv", "compound", "compoundq", "cosh", "coshq",
    "cot", "cotd", "cotdq", "cotq", "erfc", "erfcinv", "erfcq", "erfcx",
    "erfcxq", "erfinv", "exp", "exp10", "exp10q", "exp2", "exp2q", "expm1",
    "expm1q", "expq", "fdim", "fdimq", "fmod", "fmodq", "gamma", "gammaq",
    "hypot", "hypotq", "ilogb", "ilogbq", "j0", "j0q", "j1", "j1q",
    "jn", "jnq", "ldexp", "ldexpq", "lgamma", "lgammaq", "llrint", "llrintq",
    "llround", "llroundq", "log", "log10", "log10q", "log1p", "log1pq", "log2",
    "log2q", "logb", "logbq", "logq", "lrint", "lrintq", "lround", "lroundq",
    "nextafter", "nextafterq", "nexttoward", "nexttowardq", "pow", "powq", "remainder", "remainderq",
    "remquo", "remquoq", "scalb", "scalbln", "scalblnq", "scalbn", "scalbnq", "scalbq",
    "sinh", "sinhcosh", "sinhcoshq", "sinhq", "sqrt", "sqrtq", "tand", "tandq",
    "tgamma", "y0", "y0q", "y1", "y1q", "yn", "ynq", "powr",
    "cospi", "sinpi", "tanpi", "pow3o2", "acospi", "asinpi", "atan2pi",
};

inline const char *const kTypes[] = {"__dummy", "DOMAIN", "SING", "OVERFLOW", "UNDERFLOW",
                                     "TLOSS", "PLOSS"};

inline const char *const kFormats[] = {
    "\rUn-used message\n",
    "\r%s%s: %s error\n",
    "\r%s%s(0,0): %s error\n",
    "\r%s%s(0,negative): %s error\n",
    "\r%s%s(negative,non-integer): %s error\n",
};

inline const PrecisionRow kPrecisions[] = {
    {"float", "f", 2, 2, 0, 33, 1},
    {"double", "", 4, 4, 16, 1, 3},
    {"80-bit extended", "l", 5, 8, 48, 0, 4},
    {"binary128", "q", 8, 8, 88, 0, 7},
};

// Each value in its precision's format, most significant digits first; the extended
// column is the sign/exponent word, then the significand.
inline const ValueRow kValues[] = {
    {"+0", "00000000", "0000000000000000", "0000 0000000000000000", "all zero"},
    {"-0", "80000000", "8000000000000000", "8000 0000000000000000", "8000, then zeros"},
    {"+1", "3F800000", "3FF0000000000000", "3FFF 8000000000000000", "3FFF, then zeros"},
    {"-1", "BF800000", "BFF0000000000000", "BFFF 8000000000000000", "BFFF, then zeros"},
    {"+inf", "7F800000", "7FF0000000000000", "7FFF 8000000000000000", "7FFF, then zeros"},
    {"-inf", "FF800000", "FFF0000000000000", "FFFF 8000000000000000", "FFFF, then zeros"},
    {"+MAX", "7F7FFFFF", "7FEFFFFFFFFFFFFF", "7FFE FFFFFFFFFFFFFFFF", "7FFE, then all ones"},
    {"-MAX", "FF7FFFFF", "FFEFFFFFFFFFFFFF", "FFFE FFFFFFFFFFFFFFFF", "FFFE, then all ones"},
};

}  // namespace ref
