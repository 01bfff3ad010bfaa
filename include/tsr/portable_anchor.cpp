// Keeps the test-only library of portable AVX-512 tiers non-empty while no family has one.
namespace tsr {
int portable_anchor;
}
