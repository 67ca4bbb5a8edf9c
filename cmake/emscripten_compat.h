// Library pieces that the web toolchain's libc++ lacks; force-included in the web build.
#pragma once
#include <bit>

#if defined(__cplusplus) && !defined(__cpp_lib_bit_cast)
namespace std {
template <class To, class From>
constexpr To bit_cast(const From& from) noexcept {
    return __builtin_bit_cast(To, from);
}
}  // namespace std
#endif
