#include "Platform/UTF8Blocks.h"

#include <cstdint>

#if defined(__x86_64__) || defined(__i386__)
#define ORVANE_AVX2 1
#include <atomic>
#include <cpuid.h>
#include <immintrin.h>
#endif

namespace orvane {

namespace {

constexpr std::size_t kMalformed = std::string_view::npos;

/// Whether no character that began before the place can reach to it.
bool isBehindASCII(const unsigned char* at) {
    return ((at[-3] | at[-2] | at[-1]) & 0x80) == 0;
}

// ---- Any processor ---------------------------------------------------------------------------------------------

constexpr std::size_t kWidth = 16;

using Vector = unsigned char __attribute__((vector_size(kWidth)));
using Signed = signed char __attribute__((vector_size(kWidth)));

bool isZero(const Vector* vector) {
    std::uint64_t words[kWidth / sizeof(std::uint64_t)];
    __builtin_memcpy(words, vector, kWidth);
    std::uint64_t all = 0;
    for (const std::uint64_t word : words) {
        all |= word;
    }
    return all == 0;
}

/// Compares every byte of a block with the three before it, and adds what is wrong.
void checkBlock(const unsigned char* at, Vector* malformed) {
    Vector current;
    Vector before1;
    Vector before2;
    Vector before3;
    __builtin_memcpy(&current, at, kWidth);
    __builtin_memcpy(&before1, at - 1, kWidth);
    __builtin_memcpy(&before2, at - 2, kWidth);
    __builtin_memcpy(&before3, at - 3, kWidth);
    // Continuation bytes are 0x80 to 0xBF, the lowest when taken as signed. They stand behind leading bytes and
    // nowhere else.
    const Signed order = reinterpret_cast<const Signed&>(current);
    const auto expected = (before1 >= 0xC0) | (before2 >= 0xE0) | (before3 >= 0xF0);
    const auto continuation = order < static_cast<signed char>(0xC0);
    // The second byte is what tells overlong forms, surrogates and values above U+10FFFF.
    const auto below90 = order < static_cast<signed char>(0x90);
    const auto belowA0 = order < static_cast<signed char>(0xA0);
    const auto wrong = (expected ^ continuation) | ((before1 == 0xE0) & belowA0) | ((before1 == 0xED) & ~belowA0) |
                       ((before1 == 0xF0) & below90) | ((before1 == 0xF4) & ~below90) | (current >= 0xF5) |
                       ((current & 0xFE) == 0xC0);
    *malformed |= reinterpret_cast<const Vector&>(wrong);
}

std::size_t checkBlocks(const unsigned char* bytes, std::size_t size) {
    constexpr std::size_t kStride = 4 * kWidth;
    if (size < kWidth) {
        return 0;
    }
    // Nothing stands before the first block.
    unsigned char first[3 + kWidth] = {};
    __builtin_memcpy(first + 3, bytes, kWidth);
    Vector malformed = {};
    checkBlock(first + 3, &malformed);
    std::size_t done = kWidth;
    while (done + kWidth <= size) {
        if (done + kStride <= size && isBehindASCII(bytes + done)) {
            Vector all = {};
            for (std::size_t offset = 0; offset < kStride; offset += kWidth) {
                Vector some;
                __builtin_memcpy(&some, bytes + done + offset, kWidth);
                all |= some;
            }
            all &= 0x80;
            if (isZero(&all)) {
                done += kStride;
                continue;
            }
        }
        checkBlock(bytes + done, &malformed);
        done += kWidth;
    }
    return isZero(&malformed) ? done : kMalformed;
}

#ifdef ORVANE_AVX2

// ---- AVX2 ------------------------------------------------------------------------------------------------------

constexpr std::size_t kWideWidth = 32;

/// What may be wrong with a byte and the one before it, a bit each. Every table answers what is possible for half a
/// byte; what all three agree on is wrong.
enum Fault : unsigned char {
    kTooShort = 0x01,        ///< a leading byte without its continuation
    kTooLong = 0x02,         ///< ASCII and a continuation
    kOverlong3 = 0x04,       ///< E0 and below A0
    kTooLarge = 0x08,        ///< F4 and above 8F, or F5 and more
    kSurrogate = 0x10,       ///< ED and above 9F
    kOverlong2 = 0x20,       ///< C0 or C1
    kOverlong4 = 0x40,       ///< F0 and below 90; F5 and more too
    kTwoContinuations = 0x80 ///< right only as the third or fourth byte, which is looked at apart
};

constexpr unsigned char kAnyLow = kTooShort | kTooLong | kTwoContinuations;
constexpr unsigned char kLargeLow = kAnyLow | kTooLarge | kOverlong4;
constexpr unsigned char kAnySecond = kTooLong | kOverlong2 | kTwoContinuations;

alignas(16) constexpr unsigned char kFirstHigh[16] = {
    kTooLong,
    kTooLong,
    kTooLong,
    kTooLong,
    kTooLong,
    kTooLong,
    kTooLong,
    kTooLong,
    kTwoContinuations,
    kTwoContinuations,
    kTwoContinuations,
    kTwoContinuations,
    kTooShort | kOverlong2,
    kTooShort,
    kTooShort | kOverlong3 | kSurrogate,
    kTooShort | kTooLarge | kOverlong4,
};
alignas(16) constexpr unsigned char kFirstLow[16] = {
    kAnyLow | kOverlong2 | kOverlong3 | kOverlong4,
    kAnyLow | kOverlong2,
    kAnyLow,
    kAnyLow,
    kAnyLow | kTooLarge,
    kLargeLow,
    kLargeLow,
    kLargeLow,
    kLargeLow,
    kLargeLow,
    kLargeLow,
    kLargeLow,
    kLargeLow,
    kLargeLow | kSurrogate,
    kLargeLow,
    kLargeLow,
};
alignas(16) constexpr unsigned char kSecondHigh[16] = {
    kTooShort,
    kTooShort,
    kTooShort,
    kTooShort,
    kTooShort,
    kTooShort,
    kTooShort,
    kTooShort,
    kAnySecond | kOverlong3 | kOverlong4,
    kAnySecond | kOverlong3 | kTooLarge,
    kAnySecond | kSurrogate | kTooLarge,
    kAnySecond | kSurrogate | kTooLarge,
    kTooShort,
    kTooShort,
    kTooShort,
    kTooShort,
};

__attribute__((target("avx2"))) inline __m256i load(const unsigned char* from) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

__attribute__((target("avx2"))) inline __m256i table(const unsigned char* from) {
    return _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(from)));
}

__attribute__((target("avx2"))) inline __m256i highHalves(__m256i bytes) {
    return _mm256_and_si256(_mm256_srli_epi16(bytes, 4), _mm256_set1_epi8(0x0F));
}

__attribute__((target("avx2"))) inline __m256i faults(const unsigned char* at) {
    const __m256i before1 = load(at - 1);
    const __m256i lowHalves = _mm256_and_si256(before1, _mm256_set1_epi8(0x0F));
    const __m256i pairs = _mm256_and_si256(_mm256_and_si256(_mm256_shuffle_epi8(table(kFirstHigh), highHalves(before1)),
                                                            _mm256_shuffle_epi8(table(kFirstLow), lowHalves)),
                                           _mm256_shuffle_epi8(table(kSecondHigh), highHalves(load(at))));
    // The highest bit where a third or a fourth byte has to stand, the one case for two continuations.
    const __m256i third = _mm256_subs_epu8(load(at - 2), _mm256_set1_epi8(0xE0 - 0x80));
    const __m256i fourth = _mm256_subs_epu8(load(at - 3), _mm256_set1_epi8(0xF0 - 0x80));
    const __m256i expected = _mm256_and_si256(_mm256_or_si256(third, fourth), _mm256_set1_epi8(-0x80));
    return _mm256_xor_si256(pairs, expected);
}

__attribute__((target("avx2"))) std::size_t checkWideBlocks(const unsigned char* bytes, std::size_t size) {
    constexpr std::size_t kStride = 4 * kWideWidth;
    if (size < kWideWidth) {
        return checkBlocks(bytes, size);
    }
    unsigned char first[3 + kWideWidth] = {};
    __builtin_memcpy(first + 3, bytes, kWideWidth);
    __m256i malformed = faults(first + 3);
    std::size_t done = kWideWidth;
    while (done + kWideWidth <= size) {
        const unsigned char* const at = bytes + done;
        if (done + kStride <= size && isBehindASCII(at)) {
            const __m256i all = _mm256_or_si256(_mm256_or_si256(load(at), load(at + 32)),
                                                _mm256_or_si256(load(at + 64), load(at + 96)));
            if (_mm256_movemask_epi8(all) == 0) {
                done += kStride;
                continue;
            }
        }
        malformed = _mm256_or_si256(malformed, faults(at));
        done += kWideWidth;
    }
    return _mm256_testz_si256(malformed, malformed) != 0 ? done : kMalformed;
}

/// Asked of the processor itself, and only once there is something to check: the compiler's own question would be
/// asked at every start of a program, and costs what a start can do without.
bool askForAVX2() {
    constexpr unsigned kSavedByTheSystem = 0x6; // the registers' both halves, in XCR0
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    if (__get_cpuid(1, &a, &b, &c, &d) == 0 || (c & bit_OSXSAVE) == 0) {
        return false;
    }
    unsigned low = 0;
    unsigned high = 0;
    __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return (low & kSavedByTheSystem) == kSavedByTheSystem && __get_cpuid_count(7, 0, &a, &b, &c, &d) != 0 &&
           (b & bit_AVX2) != 0;
}

bool hasAVX2() {
    enum : int { unknown, no, yes };
    static constinit std::atomic<int> answer = unknown;
    int known = answer.load(std::memory_order_relaxed);
    if (known == unknown) {
        known = askForAVX2() ? yes : no;
        answer.store(known, std::memory_order_relaxed);
    }
    return known == yes;
}

#endif

} // namespace

std::size_t checkUTF8Blocks(std::string_view bytes) {
    const auto* const start = reinterpret_cast<const unsigned char*>(bytes.data());
#ifdef ORVANE_AVX2
    // A short text is not worth the question to the processor, which a virtual machine answers slowly.
    constexpr std::size_t kWorthAsking = 256;
    if (bytes.size() >= kWorthAsking && hasAVX2()) {
        return checkWideBlocks(start, bytes.size());
    }
#endif
    return checkBlocks(start, bytes.size());
}

std::size_t checkUTF8BlocksAnywhere(std::string_view bytes) {
    return checkBlocks(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
}

} // namespace orvane
