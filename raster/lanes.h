// Vector lanes for the hot loops (the compiler's vector extension: SSE2 on x86-64,
// 128-bit SIMD or plain code on other targets). Each lane does exactly the operations of
// the scalar code it stands for, so the results are the same on every build.
#pragma once
#include <cstdint>

// The hot loops (the fillers' drawing, the light equation) are built in one of two forms,
// chosen at start-up by LanesChoose: "plain", for the vectors the build targets (SSE2 on
// x86-64, SIMD128 in a browser, NEON on arm64), and on x86-64 also "wide", for processors
// with AVX2 (eight 32-bit lanes, four doubles, a 32-bit lane multiply), in functions that
// carry INVITRO_WIDE_TARGET. Both forms give the same results, bit for bit.
#if defined(__x86_64__)
#define INVITRO_WIDE_TARGET __attribute__((target("avx2")))
constexpr bool kLanesWideBuilt = true;
constexpr bool kPlainLaneMultiply = false;  // SSE2 has no 32-bit lane multiply
#elif defined(__wasm__)
#define INVITRO_WIDE_TARGET
constexpr bool kLanesWideBuilt = false;
// SIMD128 has the multiply, but browsers run the lit pixel rule in lanes slower than the
// scalar rule (measured in Chromium), so the build keeps the scalar rule there.
constexpr bool kPlainLaneMultiply = false;
#else
#define INVITRO_WIDE_TARGET
constexpr bool kLanesWideBuilt = false;
constexpr bool kPlainLaneMultiply = true;
#endif

struct LanesPlain {
    static constexpr bool kWide = false;
    static constexpr bool kMultiply = kPlainLaneMultiply;
    static constexpr bool kLanes = true;
};
struct LanesWide {
    static constexpr bool kWide = true;
    static constexpr bool kMultiply = true;
    static constexpr bool kLanes = true;
};

// Takes the wide form from now on when `wide` is 1, the build has it and the processor has
// AVX2 (with the operating system saving its registers); else the plain one. Returns 1 when
// the wide form is in use. AppInit asks for it; tests run both.
int LanesChoose(int wide);
// 1 while the wide form is in use.
int LanesWideInUse();

typedef int32_t Int4 __attribute__((vector_size(16)));
typedef int32_t Int8 __attribute__((vector_size(32)));
typedef double Double2 __attribute__((vector_size(16)));
typedef float Float2 __attribute__((vector_size(8)));
typedef uint64_t Word2 __attribute__((vector_size(16)));

// The unsigned and the double lanes of a signed lane type (Int4 or Int8).
template <class V>
struct LaneTypes;
template <>
struct LaneTypes<Int4> {
    typedef uint32_t Words __attribute__((vector_size(16)));
    typedef double Doubles __attribute__((vector_size(32)));
};
template <>
struct LaneTypes<Int8> {
    typedef uint32_t Words __attribute__((vector_size(32)));
    typedef double Doubles __attribute__((vector_size(64)));
};
template <class V>
using WordsOf = typename LaneTypes<V>::Words;
template <class V>
using DoublesOf = typename LaneTypes<V>::Doubles;

// Lane-wise a + b, a - b and a * b that wrap like the machine's 32-bit arithmetic.
template <class V>
[[gnu::always_inline]] inline V AddWrap(const V& a, const V& b) {
    return reinterpret_cast<V>(reinterpret_cast<WordsOf<V>>(a) + reinterpret_cast<WordsOf<V>>(b));
}
template <class V>
[[gnu::always_inline]] inline V SubWrap(const V& a, const V& b) {
    return reinterpret_cast<V>(reinterpret_cast<WordsOf<V>>(a) - reinterpret_cast<WordsOf<V>>(b));
}
template <class V>
[[gnu::always_inline]] inline V MulWrap(const V& a, int32_t b) {
    return reinterpret_cast<V>(reinterpret_cast<WordsOf<V>>(a) * static_cast<uint32_t>(b));
}

// The double just above 1 / d: its bit pattern one up from that of 1 / d rounded.
constexpr double ReciprocalUp(int32_t d) {
    return __builtin_bit_cast(double, __builtin_bit_cast(uint64_t, 1.0 / d) + 1);
}

// ReciprocalUp of every d below kReciprocalCount, worked out by the compiler.
constexpr int32_t kReciprocalCount = 1024;
struct ReciprocalTable {
    double up[kReciprocalCount];
};
constexpr ReciprocalTable ReciprocalTableMake() {
    ReciprocalTable t = {};
    for (int32_t d = 1; d < kReciprocalCount; ++d) t.up[d] = ReciprocalUp(d);
    return t;
}
inline constexpr ReciprocalTable kReciprocals = ReciprocalTableMake();

// Divisors from here on take the integer division.
constexpr int32_t kDivideExactLimit = 1 << 20;

// n / d lane by lane, truncated toward zero as the integer division does. For
// 1 <= d < 2^20 it is one multiplication: with m the double just above 1 / d, the
// product n m (|n| <= 2^31) is never below n / d in magnitude and at most 2^-20 / d +
// 2^-23 above it, less than the 1 / d that separates a quotient that is not whole from
// the next whole number, so truncating it gives the integer quotient exactly.
template <class V>
[[gnu::always_inline]] inline V DivideExact(const V& n, int32_t d) {
    double m;
    if (d >= 1 && d < kReciprocalCount) {
        m = kReciprocals.up[d];
    } else if (d >= 1 && d < kDivideExactLimit) {
        m = ReciprocalUp(d);
    } else {
        V q;
        for (unsigned i = 0; i < sizeof(V) / 4; ++i) q[i] = n[i] / d;
        return q;
    }
    return __builtin_convertvector(__builtin_convertvector(n, DoublesOf<V>) * m, V);
}
