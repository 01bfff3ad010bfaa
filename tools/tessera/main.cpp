#include <cstdio>
int main() { std::puts("tessera"); return 0; }
