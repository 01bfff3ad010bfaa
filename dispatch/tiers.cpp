// Tier names, and whether this processor can run a tier's code.
#include "tsr/tiers.h"

#include <initializer_list>

#include "features.h"

namespace tsr {

const char *tier_name(Tier t) {
    static const char *const names[] = {"ex", "e7", "y8", "e9", "l9", "z0", "d1"};
    return names[int(t)];
}

bool tier_runnable(Tier t) {
    uint64_t w[2];
    if (detect_features(hardware_probe(), nullptr, w) != 0) return false;
    auto all = [&](std::initializer_list<int> bits) {
        for (int b : bits)
            if (!has_feature(w, b)) return false;
        return true;
    };
    switch (t) {
    case Tier::ex:
    case Tier::e9: return all({6});
    case Tier::e7: return all({6, 7});
    case Tier::y8: return all({6, 7, 8, 9});
    case Tier::l9: return all({16, 18, 19, 20, 23});     // AVX, FMA, BMI (+BMI2), LZCNT, AVX2
    case Tier::z0:
    case Tier::d1: return all({16, 18, 19, 20, 23, 27, 24, 38, 37});  // + AVX-512 F DQ VL BW
    }
    return false;
}

}  // namespace tsr
