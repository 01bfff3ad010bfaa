// tessera: look inside the library on this machine.
//   tessera info [--tiers]      processor features, dispatch level, the tier of every slot
//   tessera eval FUNC ARG...    one call: result bits, flags, errno, reported error code
//   tessera bench [FUNC...]     cycles per call against the system libm, side by side
//   tessera bench-bwr [NAME...] the reproducible forms against their dispatched functions
#include <cstdio>
#include <cstring>

#include "tool.h"

static void usage(FILE *to) {
    std::fputs(
        "usage: tessera info [--tiers]\n"
        "       tessera eval FUNC ARG... [--tier T | --all-tiers] [--mode nearest|upward|downward|towardzero|all]\n"
        "       tessera bench [FUNC...] [--tier T|selected] [--reps N] [--passes N] [--range LO HI]\n"
        "                     [--range2 LO HI] [--plt] [--markdown] [--table-only]\n"
        "       tessera bench-bwr [NAME...]\n"
        "       tessera --version\n"
        "Operands: decimal or hex floating constants (1.5, 0x1.8p+0), inf, nan, snan (signed),\n"
        "raw bits as raw:0x... (16 hex digits for double, 8 for float, 20 for long double),\n"
        "integers in C syntax for int operands.\n",
        to);
}

int main(int argc, char **argv) {
    if (argc < 2 || !std::strcmp(argv[1], "-h") || !std::strcmp(argv[1], "--help")) {
        usage(argc < 2 ? stderr : stdout);
        return argc < 2 ? 2 : 0;
    }
    if (!std::strcmp(argv[1], "--version")) {
        std::printf("tessera %s\n", TSR_VERSION);
        return 0;
    }
    if (!std::strcmp(argv[1], "info")) return tool::cmd_info(argc - 2, argv + 2);
    if (!std::strcmp(argv[1], "eval")) return tool::cmd_eval(argc - 2, argv + 2);
    if (!std::strcmp(argv[1], "bench")) return tool::cmd_bench(argc - 2, argv + 2);
    if (!std::strcmp(argv[1], "bench-bwr")) return tool::cmd_bench_bwr(argc - 2, argv + 2);
    std::fprintf(stderr, "tessera: unknown command %s\n", argv[1]);
    usage(stderr);
    return 2;
}
