#!/usr/bin/env python3
"""The catalogue as a whole, against the interface's published counts and rules."""
import os
import re
import sys
import unittest
from collections import Counter

BUILD = sys.argv.pop(1) if len(sys.argv) > 1 else "build"
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "tools"))
import catalogue  # noqa: E402

CAT = catalogue.parse(os.path.join(ROOT, "dispatch", "catalogue.txt"))
UNITS, COUNTS = catalogue.build_units(CAT)
ALL = set(n for u in UNITS.values() for n in u.exported)


class Catalogue(unittest.TestCase):
    def test_tier_names_by_precision_and_tier(self):
        want = {("d", "ex"): 109, ("d", "e7"): 56, ("d", "y8"): 8, ("d", "e9"): 1, ("d", "l9"): 41,
                ("d", "z0"): 21, ("d", "d1"): 21, ("f", "ex"): 107, ("f", "e7"): 49, ("f", "y8"): 5,
                ("f", "l9"): 39, ("f", "z0"): 14, ("f", "d1"): 14, ("l", "ex"): 44}
        got = Counter()
        for u in UNITS.values():
            if u.uid.startswith("__libm_cr_"):
                continue
            for t in u.exported_tiers:
                got[(u.prec, t)] += 1
        self.assertEqual(dict(got), want)

    def test_dispatch_counts(self):
        dispatched = [u for u in UNITS.values() if u.kind == "dispatch"]
        self.assertEqual(len(dispatched), 221)
        self.assertEqual(sum(u.hidden for u in dispatched), 24)
        self.assertEqual(sum(u.kind == "bound" for u in UNITS.values()), 125)
        forms = Counter(len(set(u.pattern)) for u in dispatched)
        self.assertTrue(forms)

    def test_irregular_names(self):
        self.assertNotIn("ldexpf", ALL)
        for n in ("__quill_ldexpf", "__libm_ldexpf", "__bwr_acos", "__libm_acos", "acos",
                  "__libm_sincosd_e7", "__libm_sincosf_d1", "__gammaq_r", "__lgammaq_r",
                  "pow_di_val", "__libm_pow_di_val", "fpclassifyd", "__isnand", "signgamq",
                  "exp2m1f", "log2p1f", "__bwr_exp2m1f", "__bwr_log2p1f"):
            self.assertIn(n, ALL)
        for n in ("__bwr_acosl", "__libm_cotpi", "__libm_exp2m1", "__libm_cr_exp", "__acospiq",
                  "__libm_atan2pi_z0", "__libm_expf_d1", "__libm_cr_coshf_d1", "rsqrtf"):
            self.assertNotIn(n, ALL)

    def test_entry_names_of_dispatched_functions(self):
        self.assertEqual(UNITS["acos"].entry_names, ["acos", "__libm_acos"])
        self.assertEqual(UNITS["frexp"].entry_names, ["__libm_frexp"])
        self.assertEqual(UNITS["__acosq"].entry_names, ["__acosq"])
        self.assertEqual(UNITS["__libm_cr_expf"].entry_names, ["__libm_cr_expf"])
        self.assertEqual(UNITS["ceil"].pattern, ["ex"] * 4 + ["e7"] * 2 + ["y8"] * 6)
        self.assertEqual(UNITS["rint"].pattern, ["ex"] * 6 + ["y8"] * 6)
        self.assertEqual(UNITS["cexp"].pattern, ["ex"] * 8 + ["e9"] * 4)
        self.assertEqual(UNITS["__libm_sse2_sincos"].pattern, ["e7"] * 9 + ["l9"] * 3)
        self.assertEqual(UNITS["__quill_ldexpf"].entry_names, ["__quill_ldexpf", "__libm_ldexpf"])

    def test_every_dispatch_row_tier_is_a_body_of_the_function(self):
        for u in UNITS.values():
            if u.kind == "dispatch":
                self.assertTrue(set(u.pattern) <= set(u.tiers), u.uid)

    def test_signatures_of_shapes(self):
        self.assertEqual(catalogue.decl("f", "R(R,I*)", "l"), "long double f(long double, int *)")
        self.assertEqual(catalogue.decl("g", "C(C)", "f"), "float _Complex g(float _Complex)")
        self.assertEqual(catalogue.decl("h", "R(R,X)", "q"), "__float128 h(__float128, __float128)")


if __name__ == "__main__":
    unittest.main(verbosity=1)
