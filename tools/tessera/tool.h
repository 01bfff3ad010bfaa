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

int cmd_info(int argc, char **argv);
int cmd_eval(int argc, char **argv);
int cmd_bench(int argc, char **argv);
int cmd_bench_bwr(int argc, char **argv);

}  // namespace tool
