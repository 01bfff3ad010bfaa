// The tessera command-line tool: shared pieces of its commands.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "tsr_functions.inc"

namespace tool {

// The call forms the tool can drive, by the catalogue's shape strings.
enum class Form { r_r, r_rr, r_ri, r_rrr, l_r, ll_r, i_r, i_rr, unsupported };
inline bool two_operands(Form f) { return f == Form::r_rr || f == Form::r_ri || f == Form::i_rr; }
inline int operand_count(Form f) { return f == Form::r_rrr ? 3 : two_operands(f) ? 2 : 1; }

Form form_of(const tsr_gen::Function &f);
const char *prec_name(char prec);

// A built function by its own name or its `__libm_` name.
const tsr_gen::Function *find_function(const std::string &name);
// The tier that a dispatched function's slot holds now ("" if none / not dispatched).
std::string slot_tier(const char *name);
// Settles a dispatched function's slot as its first call would.
void settle_slot(const char *name);
// The tier body of `f` named `tier`, or null.
const tsr_gen::TierEntry *find_tier(const tsr_gen::Function &f, const std::string &tier);

// One operand, read in the precision of the function it is for.
struct Value {
    char prec = 'd';   // d f l, or 'i' for an integer operand
    double d = 0;
    float f = 0;
    long double l = 0;
    long long i = 0;
};
// Reads an operand: decimal or hexadecimal floating constants, inf, nan, snan (each with a
// sign), or raw bits written `raw:0x...` (16, 8 or 20 hex digits for double, float and
// long double: sign/exponent word first).  Integer operands take C integer syntax.
bool parse_value(const std::string &text, char prec, Value &out, std::string &err);
std::string show_value(const Value &v);

// A result of any form.
struct Result {
    bool integral = false;
    Value v;
};
// Calls fn (the entry or a tier body of f) on the operands.
Result call(const tsr_gen::Function &f, tsr_gen::AnyFn fn, const std::vector<Value> &args);

// Strict option values: each prints "tessera CMD: ..." to stderr and returns false on a
// missing or malformed value, so that a command can stop before printing anything.
// The value after argv[i] (advancing i), or false when the option ends the line.
bool option_value(const char *cmd, int argc, char **argv, int &i, std::string &out);
// A whole decimal count in [lo, hi].
bool parse_count(const char *cmd, const std::string &opt, const std::string &text, long lo, long hi, int &out);
// A finite decimal or hexadecimal floating constant.
bool parse_finite(const char *cmd, const std::string &opt, const std::string &text, double &out);

// ---- timing (bench.cpp), one frame for `bench` and `bench-bwr` ------------------------------
// Where operands are drawn: the first from [lo, hi] (log-uniform when `log`), a second real
// or integer operand, or a complex operand's imaginary part, from [lo2, hi2]; `integral2`
// makes the second real operand an integer value (scalb's count).
struct Range {
    const char *name;
    double lo, hi;
    bool log;
    double lo2, hi2;
    bool log2 = false;
    bool integral2 = false;
};
constexpr int kMaxSides = 3;
struct Figures {
    double thr[kMaxSides], lat[kMaxSides];  // ticks per call of each side
    double thr_ratio, lat_ratio;            // side 0 over side 1
    // Run-to-run spread of each ratio: half the interquartile range of the repetitions'
    // log ratios, as a fraction.  A ratio is called slower only beyond it.
    double thr_spread, lat_spread;
};
// Whether f's shape and precision can be timed (every shape of a real precision but the
// environment and error-handler forms).
bool timeable(const tsr_gen::Function &f);
// The operands of f drawn from r, as text.
std::string range_text(const Range &r, const tsr_gen::Function &f);
// Times `sides` (at most kMaxSides) callees of f's shape and precision, side by side in
// `reps` repetitions of `passes` passes over 1024 operands: reciprocal throughput and
// latency, in time-stamp-counter ticks per call.
Figures time_sides(const tsr_gen::Function &f, const tsr_gen::AnyFn *fns, int sides, const Range &r, int reps,
                   int passes);

int cmd_info(int argc, char **argv);
int cmd_eval(int argc, char **argv);
int cmd_bench(int argc, char **argv);
int cmd_bench_bwr(int argc, char **argv);

}  // namespace tool
