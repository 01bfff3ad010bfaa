// `tessera info`: what the library found on this processor and what each slot chose.
//
// The feature word and the level are the library's own (published by its detection, which
// reads QUILL_ISA_DISABLE); the tool runs the same detection once more without the variable
// to show what the variable took away.  Every dispatched slot is settled exactly as its
// first call would settle it.
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "dispatch/features.h"
#include "dispatch/frame.h"
#include "tool.h"
#include "tsr/tiers.h"
#include "tsr_dispatch.inc"

namespace tool {

static std::string row_names(const uint64_t w[2]) {
    std::string s;
    for (int row = 1; row <= tsr::kFeatureRows; ++row) {
        int bit = tsr::feature_row_bit(row);
        if (bit >= 0 && tsr::has_feature(w, bit)) s += std::string(s.empty() ? "" : " ") + tsr::feature_row_name(row);
    }
    return s.empty() ? "(none)" : s;
}

// Prints `label` and then the words of `text`, wrapped under one another.
static void print_wrapped(const char *label, const std::string &text) {
    const size_t width = 96, indent = std::strlen(label);
    std::string line = label;
    size_t pos = 0;
    bool first = true;
    while (pos < text.size()) {
        size_t sp = text.find(' ', pos);
        std::string word = text.substr(pos, sp == std::string::npos ? std::string::npos : sp - pos);
        pos = sp == std::string::npos ? text.size() : sp + 1;
        if (!first && line.size() + 1 + word.size() > width) {
            std::puts(line.c_str());
            line.assign(indent, ' ');
            first = true;
        }
        line += (first ? "" : " ") + word;
        first = false;
    }
    std::puts(line.c_str());
}

int cmd_info(int argc, char **argv) {
    bool tiers = false;
    for (int i = 0; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--tiers")) {
            tiers = true;
        } else {
            std::fprintf(stderr, "tessera info: unknown option %s\n", argv[i]);
            return 2;
        }
    }

    // Settle every slot as its first call does; with no dispatched function built, choose
    // the level the way a stub would.
    for (const auto &d : tsr_dispatch_info) __libm_dispatch_settle(d.table, d.slot);
    while (__atomic_load_n(&__libm_feature_flag, __ATOMIC_ACQUIRE) == 0) __libm_feature_flag_zeb_init();
    const uint64_t word[2] = {__atomic_load_n(&__libm_cpu_features[0], __ATOMIC_ACQUIRE),
                              __atomic_load_n(&__libm_cpu_features[1], __ATOMIC_ACQUIRE)};
    const int level = __atomic_load_n(&__libm_feature_flag, __ATOMIC_ACQUIRE);

    uint64_t raw[2] = {0, 0};
    int rc = tsr::detect_features(tsr::hardware_probe(), nullptr, raw);
    const char *env = std::getenv("QUILL_ISA_DISABLE");

    std::printf("tessera %s\n", TSR_VERSION);
    std::printf("feature word: 0x%016" PRIx64 "_%016" PRIx64 "  (high half, low half)\n", word[1], word[0]);
    print_wrapped("features: ", row_names(word));
    std::printf("level: %d\n", level);
    if (!env) {
        std::printf("QUILL_ISA_DISABLE: unset\n");
    } else {
        uint64_t mask[2];
        int accepted = tsr::feature_disable_mask(env, mask);
        std::printf("QUILL_ISA_DISABLE: \"%s\" (%d word%s recognised)\n", env, accepted < 0 ? 0 : accepted,
                    accepted == 1 ? "" : "s");
        if (accepted > 0) {
            uint64_t removed[2] = {raw[0] & mask[0], raw[1] & mask[1]};
            uint64_t absent[2] = {mask[0] & ~raw[0], mask[1] & ~raw[1]};
            print_wrapped("  names:   ", row_names(mask));
            print_wrapped("  removed: ", row_names(removed));
            if (absent[0] | absent[1]) print_wrapped("  already absent: ", row_names(absent));
        }
    }
    if (env) {
        // Each word by name: the library takes exact lower-case feature words and ignores
        // the rest silently, so say which were which.
        std::string known, ignored;
        for (const char *p = env; *p;) {
            const char *e = std::strchr(p, ',');
            std::string w(p, e ? size_t(e - p) : std::strlen(p));
            p = e ? e + 1 : p + w.size();
            if (w.empty()) continue;
            uint64_t m[2];
            std::string &list = tsr::feature_disable_mask(w.c_str(), m) > 0 ? known : ignored;
            list += (list.empty() ? "" : " ") + w;
        }
        print_wrapped("  recognised: ", known.empty() ? "(none)" : known);
        print_wrapped("  ignored:    ", ignored.empty() ? "(none)" : ignored);
    }
    // What each level needs, and which words would lower the level from where it stands.
    std::printf("levels (each needs all of its features; the highest level met is chosen):\n");
    for (int l = 12; l >= 2; --l) {
        int bits[5];
        int n = tsr::level_requirements(l, bits);
        std::string need;
        for (int i = 0; i < n; ++i)
            for (int row = 1; row <= tsr::kFeatureRows; ++row)
                if (tsr::feature_row_bit(row) == bits[i]) {
                    const char *w = tsr::feature_row_word(row);
                    need += std::string(need.empty() ? "" : ", ") + tsr::feature_row_name(row) + " (" +
                            (w ? w : "-") + (tsr::has_feature(word, bits[i]) ? ", present)" : ", absent)");
                    break;
                }
        std::printf("  %2d%s %s\n", l, l == level ? "*" : " ", need.c_str());
    }
    std::string lower;
    for (int row = 2; row <= tsr::kFeatureRows; ++row) {
        const char *w = tsr::feature_row_word(row);
        int bit = tsr::feature_row_bit(row);
        if (!w || bit < 0 || !tsr::has_feature(word, bit)) continue;
        uint64_t m[2], less[2];
        if (tsr::feature_disable_mask(w, m) <= 0) continue;
        less[0] = word[0] & ~m[0];
        less[1] = word[1] & ~m[1];
        int to = tsr::level_from_features(less);
        if (to < level) lower += (lower.empty() ? "" : " ") + std::string(w) + "->" + std::to_string(to);
    }
    print_wrapped("words that lower the level from here: ", lower.empty() ? "(none)" : lower);
    if (rc == 0) {
        std::printf("level without QUILL_ISA_DISABLE: %d\n", tsr::level_from_features(raw));
        std::printf("processor feature word: 0x%016" PRIx64 "_%016" PRIx64 "\n", raw[1], raw[0]);
    } else {
        std::printf("detection without QUILL_ISA_DISABLE failed (%d)\n", rc);
    }
    if (tsr::level_from_features(word) != level)
        std::printf("warning: the level does not follow from the feature word (%d)\n",
                    tsr::level_from_features(word));

    std::printf("dispatched functions (%zu), the tier each slot reaches:\n",
                sizeof tsr_dispatch_info / sizeof tsr_dispatch_info[0]);
    for (const auto &d : tsr_dispatch_info) {
        std::string rows;
        for (const char *r : d.rows) rows += std::string(rows.empty() ? "" : " ") + r;
        std::printf("  %-24s %-9s (rows 1-12: %s)\n", d.name, slot_tier(d.name).c_str(), rows.c_str());
    }
    if (tiers) {
        std::printf("built functions (%zu), their tiers (* = this processor runs it):\n",
                    sizeof tsr_gen::tsr_functions / sizeof tsr_gen::tsr_functions[0]);
        for (const auto &f : tsr_gen::tsr_functions) {
            std::string t;
            for (int i = 0; i < f.ntiers; ++i)
                t += std::string(" ") + f.tiers[i].name + (tsr::tier_runnable(f.tiers[i].tier) ? "*" : "");
            std::printf("  %-24s %-10s %-12s %s%s\n", f.name, f.shape, prec_name(f.prec),
                        f.dispatched ? "dispatched" : f.bound ? "bound" : "direct", t.c_str());
        }
    }
    return 0;
}

}  // namespace tool
