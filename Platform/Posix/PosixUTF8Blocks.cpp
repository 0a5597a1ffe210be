#include "Platform/UTF8Blocks.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace orvane {

namespace {

struct Narrow {
    using Vector = unsigned char __attribute__((vector_size(16)));
    using Signed = signed char __attribute__((vector_size(16)));
};

struct Wide {
    using Vector = unsigned char __attribute__((vector_size(32)));
    using Signed = signed char __attribute__((vector_size(32)));
};

/// Compares every byte with the three before it, a vector at a time; an always-inline template so that each
/// caller compiles it for its own processor.
template <typename Vectors>
__attribute__((always_inline)) inline std::size_t checkBlocks(const unsigned char* bytes, std::size_t size) {
    using Vector = typename Vectors::Vector;
    using Signed = typename Vectors::Signed;
    constexpr std::size_t kWidth = sizeof(Vector);
    using Words = std::array<std::uint64_t, kWidth / sizeof(std::uint64_t)>;
    constexpr std::size_t kStride = 4 * kWidth;

    if (size < kWidth) {
        return 0;
    }
    Vector malformed = {};
    const auto load = [](Vector& vector, const unsigned char* from) { std::memcpy(&vector, from, kWidth); };
    const auto isZero = [](const Vector& vector) {
        Words words;
        std::memcpy(words.data(), &vector, kWidth);
        std::uint64_t all = 0;
        for (const std::uint64_t word : words) {
            all |= word;
        }
        return all == 0;
    };
    const auto check = [&](const unsigned char* at) {
        Vector current;
        Vector before1;
        Vector before2;
        Vector before3;
        load(current, at);
        load(before1, at - 1);
        load(before2, at - 2);
        load(before3, at - 3);
        // Continuation bytes are 0x80 to 0xBF, the lowest when taken as signed. They stand behind leading
        // bytes and nowhere else.
        const Signed order = reinterpret_cast<Signed&>(current);
        const auto expected = (before1 >= 0xC0) | (before2 >= 0xE0) | (before3 >= 0xF0);
        const auto continuation = order < static_cast<signed char>(0xC0);
        // The second byte is what tells overlong forms, surrogates and values above U+10FFFF.
        const auto below90 = order < static_cast<signed char>(0x90);
        const auto belowA0 = order < static_cast<signed char>(0xA0);
        const auto wrong = (expected ^ continuation) | ((before1 == 0xE0) & belowA0) | ((before1 == 0xED) & ~belowA0) |
                           ((before1 == 0xF0) & below90) | ((before1 == 0xF4) & ~below90) | (current >= 0xF5) |
                           ((current & 0xFE) == 0xC0);
        malformed |= reinterpret_cast<const Vector&>(wrong);
    };

    // Nothing stands before the first block.
    std::array<unsigned char, 3 + kWidth> first = {};
    std::memcpy(first.data() + 3, bytes, kWidth);
    check(first.data() + 3);
    std::size_t done = kWidth;
    while (done + kWidth <= size) {
        if (done + kStride <= size && ((bytes[done - 3] | bytes[done - 2] | bytes[done - 1]) & 0x80) == 0) {
            Vector all = {};
            for (std::size_t offset = 0; offset < kStride; offset += kWidth) {
                Vector some;
                load(some, bytes + done + offset);
                all |= some;
            }
            if (isZero(all & 0x80)) {
                done += kStride;
                continue;
            }
        }
        check(bytes + done);
        done += kWidth;
    }
    return isZero(malformed) ? done : std::string_view::npos;
}

#if defined(__x86_64__) || defined(__i386__)

#define ORVANE_WIDE_VECTORS 1

__attribute__((target("avx2"))) std::size_t checkWideBlocks(const unsigned char* bytes, std::size_t size) {
    return checkBlocks<Wide>(bytes, size);
}

bool hasWideVectors() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") != 0;
}

#endif

std::size_t checkNarrowBlocks(const unsigned char* bytes, std::size_t size) {
    return checkBlocks<Narrow>(bytes, size);
}

} // namespace

std::size_t checkUTF8Blocks(std::string_view bytes) {
    const auto* const start = reinterpret_cast<const unsigned char*>(bytes.data());
#ifdef ORVANE_WIDE_VECTORS
    static const bool wide = hasWideVectors();
    if (wide) {
        return checkWideBlocks(start, bytes.size());
    }
#endif
    return checkNarrowBlocks(start, bytes.size());
}

} // namespace orvane
