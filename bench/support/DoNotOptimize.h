#pragma once

namespace Mivora::bench {

/// Makes the compiler compute `value`, as if something outside the program read it.
template <class T>
inline void doNotOptimize(const T& value) {
    asm volatile("" : : "r,m"(value) : "memory");
}

}  // namespace Mivora::bench
