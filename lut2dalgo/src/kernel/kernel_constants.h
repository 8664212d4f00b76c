// The kernel's constant tables: the division tables and the two colour-transform records.
// The engine copies these into itself at set-up; the batched kernels compile them in and
// are used only while the engine's copies still hold exactly these values.
#pragma once

#include <array>
#include <cstdint>

#include "kernel_types.h"

namespace lut2d {

// shift[n] = ceil(log2 n) for n >= 2; 0 for n = 0 and 1.
constexpr std::array<uint32_t, kDivTableSize> makeShiftTable() {
    std::array<uint32_t, kDivTableSize> t{};
    for (uint32_t n = 2; n < kDivTableSize; ++n) {
        uint32_t s = 0;
        while ((1u << s) < n) ++s;
        t[n] = s;
    }
    return t;
}

inline constexpr std::array<uint32_t, kDivTableSize> kShiftTable = makeShiftTable();

// reciprocal[n] = ceil(2^(12 + shift[n]) / n) for n >= 1; 4096 for n = 0.
constexpr std::array<uint32_t, kDivTableSize> makeReciprocalTable() {
    std::array<uint32_t, kDivTableSize> t{};
    t[0] = 4096;
    for (uint32_t n = 1; n < kDivTableSize; ++n) {
        const uint32_t num = 1u << (12 + kShiftTable[n]);
        t[n] = (num + n - 1) / n;
    }
    return t;
}

inline constexpr std::array<uint32_t, kDivTableSize> kReciprocalTable = makeReciprocalTable();

static_assert(kShiftTable[2] == 1 && kShiftTable[3] == 2 && kShiftTable[4] == 2);
static_assert(kShiftTable[5] == 3 && kShiftTable[8] == 3 && kShiftTable[1023] == 10);
static_assert(kReciprocalTable[3] == 5462 && kReciprocalTable[5] == 6554);
static_assert(kReciprocalTable[7] == 4682 && kReciprocalTable[9] == 7282);
static_assert(kReciprocalTable[1023] == 4101);

// Reciprocal and shift of each divisor in one word: reciprocal | shift << 16.
constexpr std::array<int32_t, kDivTableSize> makeDivisionWords() {
    std::array<int32_t, kDivTableSize> t{};
    for (uint32_t n = 0; n < kDivTableSize; ++n) {
        t[n] = static_cast<int32_t>(kReciprocalTable[n] | kShiftTable[n] << 16);
    }
    return t;
}

inline constexpr std::array<int32_t, kDivTableSize> kDivisionWords = makeDivisionWords();

// The two colour-transform records, end to end: RGB -> YUV (inputs G, B, R), then
// YUV -> RGB (outputs G, B, R). Full-range BT.601 in Q10.
inline constexpr CST_params kCstParams[2] = {
    {{0, 0, 0},
     {0, 0, 0},
     {1023, 1023, 1023},
     {601, 117, 306, -338, 510, -172, -427, -83, 510},
     {0, 512, 512}},
    {{0, 512, 512},
     {0, 0, 0},
     {1023, 1023, 1023},
     {1024, -354, -734, 1024, 1822, 0, 1024, 0, 1441},
     {0, 0, 0}},
};

}  // namespace lut2d
