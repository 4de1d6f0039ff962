// A program that knows the library only through its installed package.
#include <quoraccelerate/quoraccelerate.h>

#include <cstdio>
#include <cstdint>

int main() {
    namespace qu = quoraccelerate::utility;
    constexpr unsigned int n = 37;
    float* a = qu::Malloc_Float(n);
    float* d = qu::Malloc_Float(n);
    if (a == nullptr || d == nullptr || reinterpret_cast<std::uintptr_t>(a) % 64 != 0) return 1;
    for (unsigned int i = 0; i < n; ++i) a[i] = -static_cast<float>(i);
    qu::Abs(n, a, d);
    qu::Add(n, d, d, a);
    for (unsigned int i = 0; i < n; ++i) {
        if (a[i] != 2.0f * static_cast<float>(i)) return 2;
    }
    qu::Free(a);
    qu::Free(d);
    std::puts("consumer: ok");
    return 0;
}
